#include "tools/check/OwnRights.h"

#include <vector>

#include <windows.h>

#include <wtsapi32.h>

#include "tools/check/Handle.h"
#include "tools/check/Registry.h"
#include "tools/check/SecurityNames.h"
#include "tools/check/Spelling.h"

namespace kandora::check {

namespace {

constexpr const wchar_t* administrators = L"S-1-5-32-544";

/// Everybody, and everybody who has logged on here.
constexpr const wchar_t* ordinaryGroups[] = {
    L"S-1-1-0",       // everybody
    L"S-1-2-0",       // logged on at this computer
    L"S-1-5-4",       // interactively
    L"S-1-5-11",      // with a name and a password
    L"S-1-5-15",      // of this organisation
    L"S-1-5-32-545",  // users
};

/// One part of what a token tells; empty when it does not.
std::vector<BYTE> PartOf(const Handle& token, TOKEN_INFORMATION_CLASS part) {
    DWORD size = 0;
    GetTokenInformation(token.Get(), part, nullptr, 0, &size);
    std::vector<BYTE> data(size);
    if (size == 0 || GetTokenInformation(token.Get(), part, data.data(), size, &size) == FALSE) {
        data.clear();
    }
    return data;
}

template <class Value>
Value ValueOf(const Handle& token, TOKEN_INFORMATION_CLASS part) {
    Value value{};
    DWORD size = 0;
    GetTokenInformation(token.Get(), part, &value, sizeof(value), &size);
    return value;
}

/// Whether administrators' programs run without an administrator's rights until they ask for them.
bool IsAccountControlOn() {
    return RegistryNumber(HKEY_LOCAL_MACHINE,
                          L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\System", L"EnableLUA",
                          KEY_WOW64_64KEY)
               .value_or(1) != 0;
}

Text OfSession(WTS_INFO_CLASS part) {
    wchar_t* text = nullptr;
    DWORD size = 0;
    if (WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, WTS_CURRENT_SESSION, part, &text, &size) ==
            FALSE ||
        text == nullptr) {
        return {};
    }
    Text result = text;
    WTSFreeMemory(text);
    return result;
}

Text LoggedOnUser() {
    const Text user = OfSession(WTSUserName);
    return user.empty() ? user : OfSession(WTSDomainName) + L"\\" + user;
}

}  // namespace

bool OwnRights::IsAnothers() const {
    return !loggedOn.empty() && !EqualIgnoringCase(loggedOn, user);
}

OwnRights RightsOfThisProgram() {
    OwnRights rights;
    Handle token;
    OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.Receive());
    if (const std::vector<BYTE> data = PartOf(token, TokenUser); !data.empty()) {
        rights.sid = TextOfSid(reinterpret_cast<const TOKEN_USER*>(data.data())->User.Sid);
        rights.user = NameOfSid(rights.sid);
        rights.groups.insert(rights.sid);
    }
    if (const std::vector<BYTE> data = PartOf(token, TokenGroups); !data.empty()) {
        const auto& groups = *reinterpret_cast<const TOKEN_GROUPS*>(data.data());
        for (DWORD place = 0; place < groups.GroupCount; ++place) {
            const SID_AND_ATTRIBUTES& group = groups.Groups[place];
            const Text sid = TextOfSid(group.Sid);
            rights.isAdministrator = rights.isAdministrator || sid == administrators;
            if ((group.Attributes & SE_GROUP_ENABLED) != 0) {
                rights.groups.insert(sid);
            }
        }
    }
    const bool isAccountControlOn = IsAccountControlOn();
    rights.isElevated = ValueOf<TOKEN_ELEVATION>(token, TokenElevation).TokenIsElevated != 0;
    rights.isSplit = rights.isElevated && isAccountControlOn &&
                     ValueOf<DWORD>(token, TokenElevationType) == TokenElevationTypeFull;
    rights.ignoresUserClasses = rights.isElevated && isAccountControlOn;
    rights.loggedOn = LoggedOnUser();
    return rights;
}

Text Described(const OwnRights& rights) {
    return rights.user +
           (rights.isAdministrator ? L", Mitglied der Administratoren"
                                   : L", nicht Mitglied der Administratoren") +
           (rights.isElevated ? L", mit erhöhten Rechten" : L", ohne erhöhte Rechte");
}

Sids OrdinaryUser(const OwnRights& rights) {
    Sids who(std::begin(ordinaryGroups), std::end(ordinaryGroups));
    if (rights.sid.starts_with(L"S-1-5-21-")) {
        who.insert(rights.sid.substr(0, rights.sid.find_last_of(L'-')) + L"-513");  // the domain's users
    }
    return who;
}

Sids WithoutElevation(const OwnRights& rights) {
    Sids who = OrdinaryUser(rights);
    who.insert(rights.sid);
    return who;
}

}  // namespace kandora::check
