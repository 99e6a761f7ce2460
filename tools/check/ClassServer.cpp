#include "tools/check/ClassServer.h"

#include <array>

#include <objbase.h>

#include "tools/check/FileSystem.h"
#include "tools/check/Registry.h"
#include "tools/check/SecurityNames.h"
#include "tools/check/Spelling.h"

namespace kandora::check {

namespace {

/// The program of a command line. Without quotation marks it may hold blanks; as for the system, the shortest
/// path that is a file counts.
Text ProgramOf(const Text& command) {
    if (command.starts_with(L'"')) {
        return command.substr(1, command.find(L'"', 1) - 1);
    }
    for (std::size_t end = command.find(L' '); end != Text::npos; end = command.find(L' ', end + 1)) {
        const Text candidate = command.substr(0, end);
        for (const Text& file : {candidate, candidate + L".exe"}) {
            if (FileExists(file)) {
                return file;
            }
        }
    }
    return command;
}

/// A place of the registry where classes stand.
struct Hive {
    HKEY root;
    Text path;  ///< with a separator at its end, or empty
};
using Hives = std::vector<Hive>;

/// The first hive's that has one.
std::optional<Text> ClassText(const Hives& hives, const Text& path, REGSAM view) {
    for (const Hive& hive : hives) {
        if (auto value = RegistryText(hive.root, hive.path + classesPath + path, nullptr, view);
            value && !value->empty()) {
            return value;
        }
    }
    return std::nullopt;
}

struct Place {
    bool inProcess = false;
    Text file;
};

std::optional<Place> PlaceOf(const Hives& hives, const Text& clsid) {
    const Text path = L"CLSID\\" + clsid;
    if (const auto library = ClassText(hives, path + L"\\InprocServer32", ownView)) {
        return Place{true, library->starts_with(L'"') ? ProgramOf(*library) : *library};
    }
    for (const REGSAM view : {ownView, otherView}) {  // a process of its own serves both
        if (const auto command = ClassText(hives, path + L"\\LocalServer32", view)) {
            return Place{false, ProgramOf(*command)};
        }
    }
    return std::nullopt;
}

/// Users' classes come before the machine's.
Hives SeenBy(const OwnRights& rights) {
    if (rights.ignoresUserClasses) {
        return {{HKEY_LOCAL_MACHINE, {}}};
    }
    return {{HKEY_CURRENT_USER, {}}, {HKEY_LOCAL_MACHINE, {}}};
}

bool IsPerson(const Text& sid) {
    return (sid.starts_with(L"S-1-5-21-") || sid.starts_with(L"S-1-12-1-")) && !sid.ends_with(L"_Classes");
}

}  // namespace

Text TextOfGuid(REFGUID guid) {
    std::array<wchar_t, 40> text{};
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::optional<Server> ServerOf(const wchar_t* programId, const OwnRights& rights) {
    Server server;
    if (FAILED(CLSIDFromProgID(programId, &server.clsid))) {
        return std::nullopt;
    }
    const auto place = PlaceOf(SeenBy(rights), TextOfGuid(server.clsid));
    if (!place) {
        return std::nullopt;
    }
    server.inProcess = place->inProcess;
    server.file = place->file;
    server.architecture = ArchitectureOf(server.file);
    return server;
}

std::vector<HiddenServer> HiddenServers(const wchar_t* programId, const OwnRights& rights) {
    const auto seen = ServerOf(programId, rights);
    std::vector<HiddenServer> hidden;
    const auto look = [&](const Hive& hive, const Text& user, bool isOfThisUser) {
        const auto clsid = ClassText({hive}, programId + Text(L"\\CLSID"), ownView);
        const auto place = clsid ? PlaceOf({hive}, *clsid) : std::nullopt;
        if (place && !(seen && SameFile(place->file, seen->file))) {
            hidden.push_back({user, place->file, isOfThisUser});
        }
    };
    if (rights.ignoresUserClasses) {
        look({HKEY_CURRENT_USER, {}}, rights.user, true);
    }
    for (const Text& sid : RegistryKeys(HKEY_USERS, {}, ownView)) {
        if (IsPerson(sid) && sid != rights.sid) {
            const Text user = NameOfSid(sid);
            look({HKEY_USERS, sid + L"\\"}, user, EqualIgnoringCase(user, rights.loggedOn));
        }
    }
    return hidden;
}

Registrations RegistrationsOf(const Text& clsid) {
    const Text path = L"CLSID\\" + clsid + L"\\InprocServer32";
    return {ClassText({{HKEY_LOCAL_MACHINE, {}}}, path, ownView),
            ClassText({{HKEY_CURRENT_USER, {}}}, path, ownView)};
}

}  // namespace kandora::check
