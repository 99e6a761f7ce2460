#include "tools/check/ClassServer.h"

#include <array>

#include <objbase.h>

#include "tools/check/FileSystem.h"
#include "tools/check/Registry.h"

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

/// A class's default value; the user's classes come before the machine's.
std::optional<Text> ClassText(const Text& path, REGSAM view) {
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        if (auto value = RegistryText(root, L"Software\\Classes\\" + path, nullptr, view);
            value && !value->empty()) {
            return value;
        }
    }
    return std::nullopt;
}

}  // namespace

Text TextOfGuid(REFGUID guid) {
    std::array<wchar_t, 40> text{};
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::optional<Server> ServerOf(const wchar_t* programId) {
    Server server;
    if (FAILED(CLSIDFromProgID(programId, &server.clsid))) {
        return std::nullopt;
    }
    const Text path = L"CLSID\\" + TextOfGuid(server.clsid);
    if (const auto library = ClassText(path + L"\\InprocServer32", ownView)) {
        server.inProcess = true;
        server.file = library->starts_with(L'"') ? ProgramOf(*library) : *library;
    } else {
        auto command = ClassText(path + L"\\LocalServer32", ownView);
        if (!command) {
            command = ClassText(path + L"\\LocalServer32", otherView);  // a process of its own serves both
        }
        if (!command) {
            return std::nullopt;
        }
        server.file = ProgramOf(*command);
    }
    server.architecture = ArchitectureOf(server.file);
    return server;
}

}  // namespace kandora::check
