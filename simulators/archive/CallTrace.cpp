#include "simulators/archive/CallTrace.h"

#include <cstdio>

#include "interfaces/CodePages.h"

namespace kandora::simulators {

namespace {

std::wstring Hex(std::int32_t code) {
    wchar_t text[16];
    std::swprintf(text, std::size(text), L"0x%08lX",
                  static_cast<unsigned long>(static_cast<std::uint32_t>(code)));
    return text;
}

std::wstring List(const Arguments& arguments, std::size_t count) {
    std::wstring list = L"(";
    for (std::size_t index = 0; index < count; ++index) {
        list += (index == 0 ? L"" : L", ") + Describe(arguments.Raw(index));
    }
    return list + L")";
}

}  // namespace

CallTrace::CallTrace(const std::wstring& path)
    : file_(CreateFileW(LongPath(path).c_str(), FILE_APPEND_DATA,
                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                        FILE_ATTRIBUTE_NORMAL, nullptr)) {
    if (!file_.IsOpen()) {
        FailWithLastError(L"Das Protokoll kann nicht geschrieben werden", path);
    }
}

void CallTrace::Write(std::wstring_view line) {
    const std::string bytes = Utf8FromText(line) + "\r\n";
    DWORD written = 0;
    WriteFile(file_.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

std::wstring CallTrace::DescribeCall(const Call& call) {
    const std::size_t count = call.arguments.Count();
    switch (call.kind) {
    case CallKind::Method:
        return call.member + List(call.arguments, count);
    case CallKind::Get:
        return count == 0 ? call.member : call.member + List(call.arguments, count);
    case CallKind::Put:
        break;
    }
    return call.member + (count == 1 ? L"" : List(call.arguments, count - 1)) + L" = " +
           Describe(call.arguments.Raw(count - 1));
}

std::wstring CallTrace::DescribeAnswer(const Call& call, const Value& answer) {
    return call.kind == CallKind::Put ? std::wstring() : L" -> " + Describe(answer.Get());
}

std::wstring CallTrace::DescribeFailure(const FailedCall& failed) {
    std::wstring text = L" -> Fehler " + Hex(failed.code);
    if (failed.code == DISP_E_EXCEPTION) {
        text += L", " + Hex(failed.number) + L" " + Quoted(failed.description) + L" (" + failed.source + L")";
    }
    return text;
}

}  // namespace kandora::simulators
