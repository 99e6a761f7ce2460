#pragma once

#include <initializer_list>

#include "automation/Platform.h"
#include "automation/Text.h"
#include "automation/Variant.h"

namespace kandora {

/// What a log line tells in brackets: a text or a value. It refers to one that somebody else holds, so that
/// nothing is copied for the line.
class LogParameter {
public:
    LogParameter(const Text& text) : text_(&text) {}        // NOLINT(google-explicit-constructor)
    LogParameter(const Variant& value) : value_(&value) {}  // NOLINT(google-explicit-constructor)

    void AppendTo(Text& line) const;

private:
    const Text* text_ = nullptr;
    const Variant* value_ = nullptr;
};

/// The text log beside the component: one file per thread and start, named by the moment of its first line.
/// The file is opened and closed for every line; a failing write raises in the caller.
class MSimpleLog {
public:
    explicit MSimpleLog(Platform& platform) : platform_(platform) {}

    /// Appends one line: date and time, the text, then each parameter in brackets.
    void WriteLog(const Text& sText, std::initializer_list<LogParameter> vtParameters);

    /// Full path of the log file; empty until the first line.
    [[nodiscard]] const Text& FileName() const noexcept { return gsLogFile_; }

private:
    void BuildLogFileName();

    Platform& platform_;
    Text gsLogFile_;
};

}  // namespace kandora
