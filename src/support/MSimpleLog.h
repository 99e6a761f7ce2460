#pragma once

#include <vector>

#include "automation/Platform.h"
#include "automation/Text.h"
#include "automation/Variant.h"

namespace kandora {

/// The text log beside the component: one file per thread and start, named by the moment of its first line.
/// The file is opened and closed for every line; a failing write raises in the caller.
class MSimpleLog {
public:
    explicit MSimpleLog(Platform& platform) : platform_(platform) {}

    /// Appends one line: date and time, the text, then each parameter in brackets.
    void WriteLog(const Text& sText, const std::vector<Variant>& vtParameters);

    /// Full path of the log file; empty until the first line.
    [[nodiscard]] const Text& FileName() const noexcept { return gsLogFile_; }

private:
    void BuildLogFileName();

    Platform& platform_;
    Text gsLogFile_;
};

}  // namespace kandora
