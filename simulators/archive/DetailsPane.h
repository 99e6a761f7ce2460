#pragma once

#include <windows.h>

#include <cstdint>

#include "simulators/archive/ListPane.h"
#include "simulators/archive/Store.h"

namespace kandora::simulators {

/// Everything that is known about an entry or a folder, a line for each.
class DetailsPane final : public ListPane {
public:
    /// `store` must outlive it.
    explicit DetailsPane(const ArchiveStore& store) : store_(store) {}

    void Create(HWND parent, int id);
    /// Fits both columns into `width` pixels; the values get what the names leave.
    void FitColumns(int width);

    /// Does nothing when it shows this one already.
    void Show(std::int32_t id);
    /// What it shows may have changed.
    void Forget() noexcept { shown_ = 0; }

private:
    void ShowColumns() override;

    const ArchiveStore& store_;
    std::int32_t shown_ = 0;
};

}  // namespace kandora::simulators
