#include "support/MSimpleLog.h"

#include <algorithm>

#include "support/MString.h"

namespace kandora {

namespace {

/// In characters. Hardly any line is longer, so that its text is allocated once.
constexpr std::size_t usualLine = 250;

/// "dd.mm.yyyy hh.nn.ss": dots also between the parts of the time.
void AppendLineTime(Text& line, const LocalTime& now) {
    line.append(Digits(now.day, 2)).append(L".").append(Digits(now.month, 2)).append(L".");
    line.append(Digits(now.year, 4)).append(L" ").append(Digits(now.hour, 2)).append(L".");
    line.append(Digits(now.minute, 2)).append(L".").append(Digits(now.second, 2));
}

/// "yyyymmdd_hhnnss".
Text FileTime(const LocalTime& now) {
    return Digits(now.year, 4) + Digits(now.month, 2) + Digits(now.day, 2) + L"_" + Digits(now.hour, 2) +
           Digits(now.minute, 2) + Digits(now.second, 2);
}

/// The names come from the environment, where anything may be set. One that no file can be called by would
/// make every traced request fail, so what a file name cannot hold becomes "_", and what makes it too long is
/// cut off: real names of users and computers are far shorter.
Text FileNamePart(Text name) {
    constexpr std::size_t longestPart = 64;
    constexpr TextView forbidden = L"<>:\"/\\|?*";
    name.resize(std::min(name.size(), longestPart));
    std::ranges::replace_if(
        name, [&](wchar_t unit) { return unit < L' ' || forbidden.find(unit) != TextView::npos; }, L'_');
    return name;
}

}  // namespace

void LogParameter::AppendTo(Text& line) const {
    if (text_ != nullptr) {
        line += *text_;
    } else {
        line += ToText(*value_);
    }
}

void MSimpleLog::WriteLog(const Text& sText, std::initializer_list<LogParameter> vtParameters) {
    if (gsLogFile_.empty()) {
        BuildLogFileName();
    }
    Text line;
    line.reserve(usualLine);
    AppendLineTime(line, platform_.Now());
    line.append(L" | ").append(sText);
    for (const LogParameter& parameter : vtParameters) {
        line += L"  [";
        parameter.AppendTo(line);
        line += L"]";
    }
    if (vtParameters.size() == 0) {
        line += L"[Kein Parameter]";  // no blank before it: the log's readers expect it so
    }
    line += L"\r\n";
    platform_.AppendToFile(gsLogFile_, AnsiFromText(line));
}

void MSimpleLog::BuildLogFileName() {
    // The separator before the extension belongs to the name.
    gsLogFile_ = ComponentFolder(platform_) + L"\\" + FileTime(platform_.Now()) + L"_" +
                 ComponentName(platform_) + L"_" + FileNamePart(platform_.Environment(L"USERNAME")) + L"_" +
                 FileNamePart(platform_.Environment(L"COMPUTERNAME")) + L"_.log";
}

}  // namespace kandora
