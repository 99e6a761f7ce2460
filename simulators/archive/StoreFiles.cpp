#include "simulators/archive/StoreFiles.h"

#include <windows.h>

#include <utility>

#include "interfaces/CodePages.h"
#include "simulators/archive/StoreNames.h"
#include "simulators/common/Failure.h"
#include "simulators/common/JsonFile.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

constexpr std::wstring_view folderFile = L"ordner.json";
constexpr std::wstring_view entryExtension = L".json";
constexpr std::wstring_view temporaryExtension = L".tmp";

bool EndsWithIgnoringCase(std::wstring_view text, std::wstring_view end) {
    return text.size() >= end.size() && EqualIgnoringCase(text.substr(text.size() - end.size()), end);
}

}  // namespace

std::optional<std::int32_t> IdOfEntryFile(std::wstring_view name) {
    return EndsWithIgnoringCase(name, entryExtension)
               ? ParseId(name.substr(0, name.size() - entryExtension.size()))
               : std::nullopt;
}

std::optional<std::int32_t> IdOfDocumentFile(std::wstring_view name) {
    return IdOfEntryFile(name) ? std::nullopt : ParseId(name.substr(0, name.find(L'.')));
}

bool IsFolderFile(std::wstring_view name) {
    return EqualIgnoringCase(name, folderFile);
}

bool IsTemporaryFile(std::wstring_view name) {
    return EndsWithIgnoringCase(name, temporaryExtension);
}

std::wstring DocumentExtension(std::wstring_view file) {
    const std::wstring_view name = file.substr(file.find_last_of(L"\\/:") + 1);
    const std::size_t dot = name.rfind(L'.');
    std::wstring extension(dot == std::wstring_view::npos ? std::wstring_view() : name.substr(dot));
    // A document must not pass for an entry or for a temporary file.
    if (EqualIgnoringCase(extension, entryExtension) || EqualIgnoringCase(extension, temporaryExtension)) {
        extension += L".dokument";
    }
    return extension;
}

/// Clocks of file systems tick in steps of up to two seconds.
std::uint64_t SettledTime(std::uint64_t changed) {
    constexpr std::uint64_t step = 20000000;
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return changed + step < (static_cast<std::uint64_t>(now.dwHighDateTime) << 32 | now.dwLowDateTime)
               ? changed
               : 0;
}

std::wstring StoreFiles::TemporaryPath(std::wstring_view name) const {
    return directory_ + L"\\Temp\\" + std::wstring(name) + std::wstring(temporaryExtension);
}

FileHandle StoreFiles::Lock(unsigned patience) const {
    if (!IsFile(SettingsPath())) {
        throw Failure(L"Hier ist kein Archiv: " + directory_ + L" (archiv.json fehlt). " +
                      L"Ein Muster erstellt ArchiveSimulator.exe --create-sample-store VERZEICHNIS.");
    }
    const std::wstring path = LockPath();
    const ULONGLONG end = GetTickCount64() + patience;
    for (;;) {
        FileHandle handle(CreateFileW(LongPath(path).c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        if (handle.IsOpen()) {
            return handle;
        }
        const DWORD error = GetLastError();
        const bool isBusy = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
        if (!isBusy) {
            FailWithLastError(L"Das Archiv kann nicht geöffnet werden", path);
        }
        if (GetTickCount64() >= end) {
            throw Failure(L"Das Archiv ist schon geöffnet: " + directory_);
        }
        Sleep(20);
    }
}

void StoreFiles::CreateMissing() const {
    CreateDirectories(FoldersPath());
    CreateDirectories(directory_ + L"\\Temp");
}

void StoreFiles::CleanTemporaryFiles() const {
    for (const DirectoryItem& item : ListDirectory(directory_ + L"\\Temp")) {
        if (!item.isDirectory) {
            RemoveFile(directory_ + L"\\Temp\\" + item.name);
        }
    }
    for (const DirectoryItem& item : ListDirectory(directory_)) {
        if (!item.isDirectory && IsTemporaryFile(item.name)) {
            RemoveFile(directory_ + L"\\" + item.name);
        }
    }
}

std::optional<std::int32_t> StoreFiles::ReadCounter() const {
    const std::wstring path = CounterPath();
    if (!IsFile(path)) {
        return std::nullopt;
    }
    const JsonFile file = JsonFile::Read(path);
    return file.Integer(file.Required(file.Root(), "naechste"), firstId, highestId);
}

void StoreFiles::WriteCounter(std::int32_t next) const {
    const nlohmann::ordered_json counter{{"naechste", next}};
    WriteFileAtomically(CounterPath(), counter.dump() + "\n", TemporaryPath(L"zaehler"));
}

std::wstring StoreFiles::FolderFilePath(const std::wstring& directory) {
    return directory + L"\\" + std::wstring(folderFile);
}

StoreFiles::FolderFile StoreFiles::ReadFolder(const std::wstring& directory) {
    const JsonFile file = JsonFile::Read(FolderFilePath(directory));
    return {file.Integer(file.Required(file.Root(), "id"), firstId, highestId),
            file.NonEmptyText(file.Required(file.Root(), "name"))};
}

FileStamp StoreFiles::WriteFolder(const std::wstring& directory, const FolderFile& content) const {
    const nlohmann::ordered_json folder{{"id", content.id}, {"name", Utf8FromText(content.name)}};
    return WriteFileAtomically(FolderFilePath(directory), folder.dump(2) + "\n",
                               TemporaryPath(std::to_wstring(content.id)));
}

std::wstring StoreFiles::EntryPath(const std::wstring& directory, std::int32_t id) {
    return directory + L"\\" + std::to_wstring(id) + std::wstring(entryExtension);
}

Entry StoreFiles::ReadEntry(const std::wstring& path, std::int32_t id, bool isTaken) {
    const JsonFile file = JsonFile::Read(path);
    const Json& root = file.Root();
    Entry entry;
    entry.id = file.Integer(file.Required(root, "id"), firstId, highestId);
    if (entry.id != id) {
        file.Fail(file.Required(root, "id"), L"Die Nummer passt nicht zum Dateinamen.");
    }
    if (isTaken) {
        file.Fail(file.Required(root, "id"), L"Die Nummer ist schon vergeben.");
    }
    entry.mask = file.Integer(file.Required(root, "maske"), 0);
    entry.shortName = file.Text(file.Required(root, "kurzbezeichnung"));
    const Json& fields = file.Object(file.Required(root, "felder"));
    for (auto field = fields.begin(); field != fields.end(); ++field) {
        const auto line = ParseId(TextFromUtf8(field.key()));
        if (!line || *line < 1 || *line > 32767) {
            file.FailAtKey(fields, field.key(), L"Hier muss die Nummer einer Indexzeile stehen.");
        }
        entry.fields.emplace(static_cast<std::int16_t>(*line), file.Text(field.value()));
    }
    if (const Json* document = file.Optional(root, "dokument")) {
        entry.document = file.Text(*document);
    }
    if (const Json* filed = file.Optional(root, "abgelegt")) {
        entry.filed = file.Text(*filed);
    }
    return entry;
}

FileStamp StoreFiles::WriteEntry(const std::wstring& path, const Entry& entry) const {
    nlohmann::ordered_json fields = nlohmann::ordered_json::object();
    for (const auto& [line, value] : entry.fields) {
        fields[std::to_string(line)] = Utf8FromText(value);
    }
    const nlohmann::ordered_json json{{"id", entry.id},
                                      {"maske", entry.mask},
                                      {"kurzbezeichnung", Utf8FromText(entry.shortName)},
                                      {"felder", fields},
                                      {"dokument", Utf8FromText(entry.document)},
                                      {"abgelegt", Utf8FromText(entry.filed)}};
    return WriteFileAtomically(path, json.dump(2) + "\n", TemporaryPath(std::to_wstring(entry.id)));
}

}  // namespace kandora::simulators
