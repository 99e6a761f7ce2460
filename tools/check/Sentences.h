#pragma once

#include "tools/check/EntryIndex.h"
#include "tools/check/EntryReader.h"
#include "tools/check/TracedRequests.h"

/// What a reader is told of a finding: German sentences.
namespace kandora::check::sentence {

Text Duplicate(const Doubles& doubles, const EntryIndex& index);
Text NoBooking(const Identity& identity);
/// Where the entry lies and where it belongs.
Text OtherKind(const Text& folder, std::int32_t mask, const Text& rightFolder, std::int32_t rightMask);
Text Differing(const std::vector<FieldDifference>& fields);
Text OtherBooking(const std::vector<FieldDifference>& fields);
Text Empty();
/// `hit` counts from 0.
Text Unreachable(std::int32_t hit);
Text Pending(std::int32_t days);
Text NotFiled(const TracedRequest& request);
Text NotDeleted(const TracedRequest& request);

}  // namespace kandora::check::sentence
