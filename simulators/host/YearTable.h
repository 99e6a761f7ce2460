#pragma once

#include <string>
#include <vector>

#include "simulators/host/Driver.h"
#include "simulators/host/StoreReader.h"

namespace kandora::simulators {

/// The size that the tables may have.
struct TableSize {
    /// Entries shown per kind of booking; 0 shows all of them.
    std::size_t rows = 0;
    /// Columns of the screen.
    std::size_t width = 0;
};

/// Describes a whole-year run for a person, line by line: for each kind of booking what was saved, what lies
/// where in the archive with which index fields, what was left out and why; then totals and duration. `store`
/// is the archive read back after the run, null when its folder is not known. `seconds` is the duration.
/// Index fields for which a line has no room are named below the table.
std::vector<std::wstring> RenderYearTable(const ClientFile& client, const std::vector<Outcome>& outcomes,
                                          const StoreReader* store, double seconds, const TableSize& size);

/// True when every voucher that was saved with a barcode lies in the archive.
bool IsEverythingFiled(const std::vector<Outcome>& outcomes, const StoreReader& store);

}  // namespace kandora::simulators
