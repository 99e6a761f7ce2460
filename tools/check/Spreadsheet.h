#pragma once

#include <string>
#include <vector>

#include "tools/check/Reconciled.h"

namespace kandora::check {

/// The findings as a file that a Swiss spreadsheet opens by itself: UTF-8 with a byte order mark, semicolons,
/// CRLF. A finding has a row for each field that differs, and one when there are none; dates stand as
/// "15.11.2026", and no cell is a formula.
std::string SpreadsheetOf(const std::vector<Reconciled>& reconciled);

/// A cell as it stands in the file.
Text Cell(const Text& value);

}  // namespace kandora::check
