#pragma once

#include <optional>
#include <set>
#include <vector>

#include <windows.h>

#include "automation/Text.h"

namespace kandora::check {

/// Users and groups in their text form, "S-1-5-32-545".
using Sids = std::set<Text>;

/// One entry of an access list.
struct AccessEntry {
    bool allows = true;      ///< else it denies
    DWORD flags = 0;         ///< for whom below it counts: OBJECT_INHERIT_ACE and its like
    ACCESS_MASK rights = 0;  ///< those of a file; none is generic
    Text sid;
};

/// Who may do what with a file or folder.
struct AccessList {
    Text owner;
    bool isOpen = false;  ///< there is no list: everybody may do everything
    std::vector<AccessEntry> entries;
};

/// The list of a file or folder; none when it cannot be read.
std::optional<AccessList> AccessListOf(const Text& path);
/// The list of a descriptor, which must be a valid one.
AccessList AccessListFrom(PSECURITY_DESCRIPTOR descriptor);

/// All rights that the list gives to somebody who is all of `who`. Without any privileges.
ACCESS_MASK RightsOf(const Sids& who, const AccessList& list);

/// Whether somebody who is all of `who` may do something with what has the list.
using Permission = bool (*)(const Sids& who, const AccessList& list);
bool MayRead(const Sids& who, const AccessList& file);
/// As a part of a program.
bool MayLoad(const Sids& who, const AccessList& file);
/// Make files in the folder and append to them later.
bool MayWriteIn(const Sids& who, const AccessList& folder);

/// Users and groups of the list, made by somebody on a computer or in a domain, that may do it; all of `who`
/// is what they are besides. What is built in is not among them: administrators, services, all users.
std::vector<Text> NamedOnes(Permission permission, const Sids& who, const AccessList& list);

}  // namespace kandora::check
