#include "tools/check/AccessList.h"

#include <algorithm>

#include <aclapi.h>

#include "tools/check/SecurityNames.h"

namespace kandora::check {

namespace {

constexpr const wchar_t* creatorOwner = L"S-1-3-0";
constexpr const wchar_t* ownerRights = L"S-1-3-4";

/// What an owner may do without being named.
constexpr ACCESS_MASK rightsOfOwners = READ_CONTROL | WRITE_DAC;

ACCESS_MASK RightsOfFile(ACCESS_MASK mask) {
    GENERIC_MAPPING mapping{FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE, FILE_ALL_ACCESS};
    DWORD rights = mask;
    MapGenericMask(&rights, &mapping);
    return rights;
}

bool CountsHere(const AccessEntry& entry) {
    return (entry.flags & INHERIT_ONLY_ACE) == 0;
}

/// A conditional entry counts only when it denies: what its condition comes to is not known here.
std::optional<AccessEntry> EntryOf(const ACE_HEADER& header) {
    const auto& entry = reinterpret_cast<const ACCESS_ALLOWED_ACE&>(header);  // all of these are alike
    const bool allows = header.AceType == ACCESS_ALLOWED_ACE_TYPE;
    if (!allows && header.AceType != ACCESS_DENIED_ACE_TYPE &&
        header.AceType != ACCESS_DENIED_CALLBACK_ACE_TYPE) {
        return std::nullopt;
    }
    const auto* const sid = reinterpret_cast<const BYTE*>(&entry.SidStart);
    return AccessEntry{allows, header.AceFlags, RightsOfFile(entry.Mask), TextOfSid(const_cast<BYTE*>(sid))};
}

/// Smaller numbers are built in, in each domain and on each computer; but a domain's users are a group as any
/// other one on the computer of somebody who is not among them.
bool IsMadeBySomebody(const Text& sid) {
    constexpr std::size_t digits = 4;  // from 1000 on
    const Text number = sid.substr(sid.find_last_of(L'-') + 1);
    return sid.starts_with(L"S-1-12-1-") ||  // of a directory in the cloud
           (sid.starts_with(L"S-1-5-21-") && (number.size() >= digits || number == L"513"));
}

/// The list of a file that somebody makes in the folder, who is its `creatorOwner`.
AccessList ListOfNewFile(const AccessList& folder) {
    AccessList list;
    list.owner = creatorOwner;
    for (AccessEntry entry : folder.entries) {
        if ((entry.flags & OBJECT_INHERIT_ACE) != 0) {
            entry.flags = INHERITED_ACE;
            list.entries.push_back(std::move(entry));
        }
    }
    if (list.entries.empty()) {
        // As the system has it: what somebody makes is his.
        list.entries.push_back({true, 0, FILE_ALL_ACCESS, creatorOwner});
    }
    return list;
}

bool Has(ACCESS_MASK rights, const Sids& who, const AccessList& list) {
    return (RightsOf(who, list) & rights) == rights;
}

}  // namespace

std::optional<AccessList> AccessListOf(const Text& path) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT,
                              OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, nullptr, nullptr,
                              nullptr, nullptr, &descriptor) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    AccessList list = AccessListFrom(descriptor);
    LocalFree(descriptor);
    return list;
}

AccessList AccessListFrom(PSECURITY_DESCRIPTOR descriptor) {
    AccessList list;
    PSID owner = nullptr;
    BOOL isDefault = FALSE;
    if (GetSecurityDescriptorOwner(descriptor, &owner, &isDefault) != FALSE && owner != nullptr) {
        list.owner = TextOfSid(owner);
    }
    BOOL isThere = FALSE;
    ACL* entries = nullptr;
    GetSecurityDescriptorDacl(descriptor, &isThere, &entries, &isDefault);
    list.isOpen = isThere == FALSE || entries == nullptr;
    for (DWORD place = 0; !list.isOpen && place < entries->AceCount; ++place) {
        void* entry = nullptr;
        if (GetAce(entries, place, &entry) != FALSE) {
            if (auto known = EntryOf(*static_cast<const ACE_HEADER*>(entry))) {
                list.entries.push_back(std::move(*known));
            }
        }
    }
    return list;
}

ACCESS_MASK RightsOf(const Sids& who, const AccessList& list) {
    if (list.isOpen) {
        return FILE_ALL_ACCESS;
    }
    const bool isOwner = who.contains(list.owner);
    const bool isOwnerNamed = std::ranges::any_of(
        list.entries, [](const AccessEntry& entry) { return CountsHere(entry) && entry.sid == ownerRights; });
    ACCESS_MASK granted = isOwner && !isOwnerNamed ? rightsOfOwners : 0;
    ACCESS_MASK denied = 0;
    for (const AccessEntry& entry : list.entries) {
        if (!CountsHere(entry) || !(who.contains(entry.sid) || (isOwner && entry.sid == ownerRights))) {
            continue;
        }
        // What one entry has decided, no later one changes.
        if (entry.allows) {
            granted |= entry.rights & ~denied;
        } else {
            denied |= entry.rights & ~granted;
        }
    }
    return granted;
}

bool MayRead(const Sids& who, const AccessList& file) {
    return Has(FILE_READ_DATA, who, file);
}

bool MayLoad(const Sids& who, const AccessList& file) {
    return Has(FILE_READ_DATA | FILE_EXECUTE, who, file);
}

bool MayWriteIn(const Sids& who, const AccessList& folder) {
    Sids maker = who;
    maker.insert(creatorOwner);
    return Has(FILE_ADD_FILE, who, folder) && Has(FILE_APPEND_DATA, maker, ListOfNewFile(folder));
}

std::vector<Text> NamedOnes(Permission permission, const Sids& who, const AccessList& list) {
    std::vector<Text> named;
    for (const AccessEntry& entry : list.entries) {
        Sids member = who;
        member.insert(entry.sid);
        if (IsMadeBySomebody(entry.sid) && permission(member, list) &&
            !std::ranges::count(named, entry.sid)) {
            named.push_back(entry.sid);
        }
    }
    return named;
}

}  // namespace kandora::check
