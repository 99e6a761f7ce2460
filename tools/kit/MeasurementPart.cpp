#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "interfaces/CodePages.h"
#include "tools/kit/Parts.h"

namespace kandora::kit {

namespace {

/// What stands for the folder of the measurements in the files that it begins with.
constexpr std::wstring_view folderMark = L"@ORDNER@";

/// Lays out the archives to search in and the accounting's client, which a kit has as one file.
void LayOut(const fs::path& packed, const fs::path& folder, const Interruption& interruption) {
    const nlohmann::json files = nlohmann::json::parse(ContentOf(packed));
    // As the text of a JSON file has it.
    const Text place = Replaced(folder.wstring(), L"\\", L"\\\\");
    for (const auto& [name, content] : files.items()) {
        interruption.ThrowWhenRaised();
        const std::string text = content.get<std::string>();
        WriteContent((folder / TextFromUtf8(name)).make_preferred(),
                     text.find(Utf8FromText(folderMark)) == std::string::npos
                         ? text
                         : Utf8FromText(Replaced(TextFromUtf8(text), folderMark, place)));
    }
}

/// The path as a program takes it that knows the ANSI code page alone: with the old, short names where it has
/// other letters.
Text PlainPath(const fs::path& path) {
    Text whole = path.wstring();
    constexpr wchar_t lastPlain = 0x7E;
    if (std::ranges::all_of(whole, [](wchar_t letter) { return letter <= lastPlain; })) {
        return whole;
    }
    std::array<wchar_t, 1024> name{};
    const DWORD length = GetShortPathNameW(whole.c_str(), name.data(), static_cast<DWORD>(name.size()));
    return length > 0 && length < name.size() ? Text(name.data(), length) : whole;
}

}  // namespace

Text Measure(const Kit& kit, Steps& steps) {
    const fs::path folder = kit.work / L"Messungen";
    const fs::path archive = kit.Bin(L"ArchiveSimulator.exe");
    const fs::path host = kit.Bin(L"HostSimulator.exe");
    kit.screen.Progress(L"messungen: Archiv zum Suchen anlegen");
    LayOut(kit.folder / L"benchmarks" / L"surroundings.json", folder, kit.interruption);
    steps.Run(L"Archiv eintragen", archive,
              {L"--register", L"--hidden", L"--store", (folder / L"Archiv").wstring()});
    steps.Run(L"Finanzbuchhaltung eintragen", host,
              {L"--register", L"--client", (folder / L"client.json").wstring()});
    Call call;
    call.program = kit.folder / L"benchmarks" / L"kandora_benchmarks.exe";
    call.arguments = {L"--directory", PlainPath(folder),
                      L"--component", PlainPath(kit.Bin(L"Kandora.dll")),
                      L"--empty",     PlainPath(kit.folder / L"benchmarks" / L"empty_server.dll")};
    call.limit = 3600;
    const DWORD code = steps.RunForCode(L"Messen", std::move(call));
    steps.Require(L"alles liess sich messen", code == 0);
    steps.Run(L"Archiv beenden", archive, {L"--stop", L"--store", (folder / L"Archiv").wstring()});
    steps.Run(L"Archiv austragen", archive, {L"--unregister"});
    steps.Run(L"Finanzbuchhaltung austragen", host, {L"--unregister"});
    return L"die Zahlen stehen im Protokoll";
}

}  // namespace kandora::kit
