#include "simulators/common/Unicode.h"

#include <windows.h>

#include <oleauto.h>

namespace kandora::simulators {

std::string ToUtf8(std::wstring_view text) {
    if (text.empty()) {
        return {};
    }
    const int length = static_cast<int>(text.size());
    const int needed = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), needed, nullptr, nullptr);
    return bytes;
}

std::wstring FromUtf8(std::string_view bytes) {
    if (bytes.empty()) {
        return {};
    }
    const int length = static_cast<int>(bytes.size());
    const int needed = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, text.data(), needed);
    return text;
}

std::wstring FoldCase(std::wstring_view text) {
    std::wstring folded(text);
    CharUpperBuffW(folded.data(), static_cast<DWORD>(folded.size()));
    return folded;
}

bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right) {
    return left.size() == right.size() && FoldCase(left) == FoldCase(right);
}

std::wstring FromBstr(const wchar_t* bstr) {
    if (bstr == nullptr) {
        return {};
    }
    return std::wstring(bstr, SysStringLen(const_cast<BSTR>(bstr)));
}

}  // namespace kandora::simulators
