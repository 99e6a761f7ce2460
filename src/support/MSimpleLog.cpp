#include "support/MSimpleLog.h"

#include <algorithm>

#include "support/MString.h"

namespace kandora {

namespace {

/// "dd.mm.yyyy hh.nn.ss": dots also between the parts of the time.
Text LineTime(const LocalTime& now) {
    return Digits(now.day, 2) + L"." + Digits(now.month, 2) + L"." + Digits(now.year, 4) + L" " +
           Digits(now.hour, 2) + L"." + Digits(now.minute, 2) + L"." + Digits(now.second, 2);
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

void MSimpleLog::WriteLog(const Text& sText, const std::vector<Variant>& vtParameters) {
    if (gsLogFile_.empty()) {
        BuildLogFileName();
    }
    Text line = LineTime(platform_.Now()) + L" | " + sText;
    for (const Variant& parameter : vtParameters) {
        line += L"  [" + ToText(parameter) + L"]";
    }
    if (vtParameters.empty()) {
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
