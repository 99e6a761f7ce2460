#include "tools/check/SecurityNames.h"

#include <array>

#include <sddl.h>

namespace kandora::check {

Text TextOfSid(PSID sid) {
    wchar_t* text = nullptr;
    if (ConvertSidToStringSidW(sid, &text) == FALSE) {
        return {};
    }
    Text result = text;
    LocalFree(text);
    return result;
}

Text NameOfSid(const Text& sid) {
    PSID binary = nullptr;
    if (ConvertStringSidToSidW(sid.c_str(), &binary) == FALSE) {
        return sid;
    }
    std::array<wchar_t, 257> name{};
    std::array<wchar_t, 257> domain{};
    auto nameLength = static_cast<DWORD>(name.size());
    auto domainLength = static_cast<DWORD>(domain.size());
    SID_NAME_USE use = SidTypeUnknown;
    const bool isKnown = LookupAccountSidW(nullptr, binary, name.data(), &nameLength, domain.data(),
                                           &domainLength, &use) != FALSE;
    LocalFree(binary);
    if (!isKnown) {
        return sid;
    }
    return domain[0] == L'\0' ? Text(name.data()) : Text(domain.data()) + L"\\" + name.data();
}

}  // namespace kandora::check
