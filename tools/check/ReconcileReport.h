#pragma once

#include <nlohmann/json_fwd.hpp>

#include "tools/check/Reconciled.h"
#include "tools/check/Reconciliation.h"
#include "tools/check/Report.h"

namespace kandora::check {

/// {"abgleich": {...}} as Reconciled.h tells, or {"abgleiche": [{...}, ...]} of several clients.
nlohmann::ordered_json JsonOf(const std::vector<Reconciled>& reconciled, bool isOfSeveralClients);
/// What a page shows, in UTF-8: the one object, or {"abgleiche": [...]}.
std::string PageData(const std::vector<Reconciled>& reconciled, bool isOfSeveralClients);

/// A finding as a line of the report.
Finding LineFinding(const EntryFinding& finding);
/// How full a mask is, as a line of the report: a warning from 80 % of what the component looks through.
Finding LineFinding(const MaskFill& mask);
/// The last line: how many findings of which kind, and whether the comparison came to its end.
Text SummaryOf(const Reconciled& reconciled);
/// How far a comparison is: mask, entries, findings, and the time that is left when `elapsed` milliseconds
/// have passed.
Text ProgressText(const ReconcileProgress& progress, std::uint64_t elapsed);

}  // namespace kandora::check
