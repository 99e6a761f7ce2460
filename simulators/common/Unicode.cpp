#include "simulators/common/Unicode.h"

#include <windows.h>

#include <oleauto.h>

namespace kandora::simulators {

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
