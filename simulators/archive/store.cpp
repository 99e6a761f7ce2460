#include "simulators/archive/store.h"

#include "simulators/archive/store_names.h"
#include "simulators/common/json_file.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <utility>

namespace simulators {

namespace {

constexpr std::wstring_view FolderFile = L"ordner.json";
constexpr std::wstring_view EntryExtension = L".json";
constexpr std::wstring_view TemporaryExtension = L".tmp";
constexpr std::size_t LongestFileName = 255;

// Numbers of files beyond this one were never given out and are left alone.
constexpr std::int32_t HighestId = 1000000000;

// Ids are reserved in blocks, so that not every filing has to write the counter.
constexpr std::int32_t ReservedBlock = 64;

bool EndsWithIgnoringCase(std::wstring_view text, std::wstring_view end) {
    return text.size() >= end.size() && EqualIgnoringCase(text.substr(text.size() - end.size()), end);
}

// "4711.json" gives 4711, anything else nothing.
std::optional<std::int32_t> IdOfEntryFile(std::wstring_view name) {
    return EndsWithIgnoringCase(name, EntryExtension)
               ? ParseId(name.substr(0, name.size() - EntryExtension.size()))
               : std::nullopt;
}

// "4711.pdf" gives 4711.
std::optional<std::int32_t> IdOfDocumentFile(std::wstring_view name) {
    return IdOfEntryFile(name) ? std::nullopt : ParseId(name.substr(0, name.find(L'.')));
}

// Raises the highest number met so far.
void Raise(std::int32_t& highest, std::int32_t id) {
    if (id <= HighestId) {
        highest = std::max(highest, id);
    }
}

std::wstring FolderKey(std::int32_t parent, std::wstring_view name) {
    return std::to_wstring(parent) + L"/" + FoldCase(name);
}

std::wstring DocumentExtension(std::wstring_view file) {
    const std::wstring_view name = file.substr(file.find_last_of(L"\\/:") + 1);
    const std::size_t dot = name.rfind(L'.');
    std::wstring extension(dot == std::wstring_view::npos ? std::wstring_view() : name.substr(dot));
    // A document must not pass for an entry or for a temporary file.
    if (EqualIgnoringCase(extension, EntryExtension) || EqualIgnoringCase(extension, TemporaryExtension)) {
        extension += L".dokument";
    }
    return extension;
}

std::wstring LocalTimeText() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"%04u-%02u-%02uT%02u:%02u:%02u", static_cast<unsigned>(now.wYear),
                  static_cast<unsigned>(now.wMonth), static_cast<unsigned>(now.wDay),
                  static_cast<unsigned>(now.wHour), static_cast<unsigned>(now.wMinute),
                  static_cast<unsigned>(now.wSecond));
    return text;
}

void InsertSorted(std::vector<std::int32_t>& ids, std::int32_t id) {
    // New ids are the highest, so this is an append nearly always.
    ids.insert(std::upper_bound(ids.begin(), ids.end(), id), id);
}

void EraseSorted(std::vector<std::int32_t>& ids, std::int32_t id) {
    const auto found = std::lower_bound(ids.begin(), ids.end(), id);
    if (found != ids.end() && *found == id) {
        ids.erase(found);
    }
}

}  // namespace

// A directory of the store as it was found on disk.
struct ArchiveStore::Scanned {
    std::wstring path;
    std::wstring directory;
    std::int32_t id = 0;  // 0 when it has no usable ordner.json
    std::wstring name;
    bool needsFile = false;  // ordner.json is missing or no longer right
    std::wstring complaint;
    std::vector<std::int32_t> entries;
    std::vector<std::wstring> documents;
    std::vector<Scanned> children;
};

// --- Opening
// --------------------------------------------------------------------------------------------------

ArchiveStore::ArchiveStore(std::wstring directory, unsigned patience)
    : directory_(std::move(directory)), lock_(Lock(directory_, patience)),
      settings_(ReadArchiveSettings(directory_ + L"\\archiv.json")) {
    CreateDirectories(directory_ + L"\\Ordner");
    CreateDirectories(directory_ + L"\\Temp");
    CleanTemporaryFiles();

    std::int32_t highest = RootId;
    const Scanned root = Scan(directory_ + L"\\Ordner", highest);
    highest = ScanPostbox(highest);
    handedOutBelow_ = reservedUntil_ = ReadCounter();
    nextId_ = std::max({FirstId, reservedUntil_, highest + 1});

    Folder rootFolder;
    rootFolder.id = RootId;
    folders_.emplace(RootId, std::move(rootFolder));
    BuildFolder(root, RootId);
}

ArchiveStore::~ArchiveStore() {
    try {
        WriteCounter(nextId_);
    } catch (...) {
        // The block reserved before stays reserved; ids are skipped, never used twice.
    }
}

FileHandle ArchiveStore::Lock(const std::wstring& directory, unsigned patience) {
    if (!IsFile(directory + L"\\archiv.json")) {
        throw Failure(L"Hier ist kein Archiv: " + directory + L" (archiv.json fehlt). " +
                      L"Ein Muster erstellt ArchiveSimulator.exe --create-sample-store VERZEICHNIS.");
    }
    const std::wstring path = directory + L"\\archiv.lock";
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
            throw Failure(L"Das Archiv ist schon geöffnet: " + directory);
        }
        Sleep(20);
    }
}

void ArchiveStore::CleanTemporaryFiles() const {
    for (const DirectoryItem& item : ListDirectory(directory_ + L"\\Temp")) {
        if (!item.isDirectory) {
            RemoveFile(directory_ + L"\\Temp\\" + item.name);
        }
    }
    for (const DirectoryItem& item : ListDirectory(directory_)) {
        if (!item.isDirectory && EndsWithIgnoringCase(item.name, TemporaryExtension)) {
            RemoveFile(directory_ + L"\\" + item.name);
        }
    }
}

std::int32_t ArchiveStore::ReadCounter() {
    const std::wstring path = directory_ + L"\\zaehler.json";
    if (!IsFile(path)) {
        return FirstId;
    }
    try {
        const JsonFile file = JsonFile::Read(path);
        return file.Integer(file.Required(file.Root(), "naechste"), FirstId, HighestId);
    } catch (const Failure& failure) {
        warnings_.push_back(failure.Message() + L" Die nächste Nummer folgt aus den vorhandenen.");
        return FirstId;
    }
}

ArchiveStore::Scanned ArchiveStore::Scan(const std::wstring& path, std::int32_t& highest) const {
    Scanned scanned;
    scanned.path = path;
    scanned.directory = path.substr(path.rfind(L'\\') + 1);
    scanned.needsFile = true;
    bool hasFolderFile = false;
    for (const DirectoryItem& item : ListDirectory(path)) {
        const std::wstring itemPath = path + L"\\" + item.name;
        if (item.isDirectory) {
            scanned.children.push_back(Scan(itemPath, highest));
        } else if (EndsWithIgnoringCase(item.name, TemporaryExtension)) {
            RemoveFile(itemPath);
        } else if (EqualIgnoringCase(item.name, FolderFile)) {
            hasFolderFile = true;
        } else if (const auto entry = IdOfEntryFile(item.name)) {
            scanned.entries.push_back(*entry);
            Raise(highest, *entry);
        } else if (const auto document = IdOfDocumentFile(item.name)) {
            scanned.documents.push_back(item.name);
            Raise(highest, *document);
        }
    }
    if (hasFolderFile) {
        try {
            const JsonFile file = JsonFile::Read(path + L"\\" + std::wstring(FolderFile));
            scanned.id = file.Integer(file.Required(file.Root(), "id"), FirstId, HighestId);
            scanned.name = file.NonEmptyText(file.Required(file.Root(), "name"));
            highest = std::max(highest, scanned.id);
            // Somebody may have renamed the directory: then its name counts.
            scanned.needsFile = !EqualIgnoringCase(EncodeName(scanned.name), scanned.directory);
        } catch (const Failure& failure) {
            scanned.id = 0;
            scanned.complaint = failure.Message();
        }
    }
    if (scanned.needsFile) {
        scanned.name = DecodeName(scanned.directory);
    }
    std::sort(scanned.entries.begin(), scanned.entries.end());
    return scanned;
}

std::int32_t ArchiveStore::ScanPostbox(std::int32_t highest) {
    const std::wstring postbox = directory_ + L"\\Postkorb";
    for (const DirectoryItem& user : ListDirectory(postbox)) {
        if (!user.isDirectory) {
            continue;
        }
        for (const DirectoryItem& item : ListDirectory(postbox + L"\\" + user.name)) {
            if (const auto id = IdOfDocumentFile(item.name)) {
                ++postboxCount_;
                Raise(highest, *id);
            }
        }
    }
    return highest;
}

void ArchiveStore::BuildFolder(const Scanned& scanned, std::int32_t id) {
    for (const std::int32_t entry : scanned.entries) {
        BuildEntry(scanned.path, entry, id);
    }
    for (const std::wstring& document : scanned.documents) {
        const std::int32_t documentId = *IdOfDocumentFile(document);
        const bool hasEntry = std::binary_search(scanned.entries.begin(), scanned.entries.end(), documentId);
        // Files with numbers that were never given out are somebody else's.
        if (!hasEntry && documentId < handedOutBelow_) {
            RemoveFile(scanned.path + L"\\" + document);
        }
    }
    for (const Scanned& child : scanned.children) {
        BuildChild(child, id);
    }
}

void ArchiveStore::BuildChild(const Scanned& scanned, std::int32_t parent) {
    Folder folder;
    folder.id = scanned.id;
    folder.parent = parent;
    folder.name = scanned.name;
    folder.directory = scanned.directory;
    const bool isTaken = folders_.contains(folder.id) || entries_.contains(folder.id);
    if (folder.id == 0 || isTaken || scanned.needsFile) {
        if (folder.id == 0 || isTaken) {
            folder.id = NextId();
        }
        WriteFolder(scanned.path, folder.id, folder.name);
    }
    if (isTaken) {
        warnings_.push_back(scanned.path + L": Die Nummer " + std::to_wstring(scanned.id) +
                            L" ist vergeben; der Ordner hat jetzt die Nummer " + std::to_wstring(folder.id) +
                            L".");
    }
    if (!scanned.complaint.empty()) {
        warnings_.push_back(scanned.complaint + L" Der Ordner hat jetzt die Nummer " +
                            std::to_wstring(folder.id) + L".");
    }
    const std::int32_t id = folder.id;
    AddFolder(std::move(folder));
    BuildFolder(scanned, id);
}

void ArchiveStore::BuildEntry(const std::wstring& path, std::int32_t id, std::int32_t folder) {
    try {
        const JsonFile file =
            JsonFile::Read(path + L"\\" + std::to_wstring(id) + std::wstring(EntryExtension));
        const Json& root = file.Root();
        Entry entry;
        entry.id = file.Integer(file.Required(root, "id"), FirstId, HighestId);
        if (entry.id != id) {
            file.Fail(file.Required(root, "id"), L"Die Nummer passt nicht zum Dateinamen.");
        }
        if (entries_.contains(id) || folders_.contains(id)) {
            file.Fail(file.Required(root, "id"), L"Die Nummer ist schon vergeben.");
        }
        entry.folder = folder;
        entry.mask = file.Integer(file.Required(root, "maske"), 0);
        entry.shortName = file.Text(file.Required(root, "kurzbezeichnung"));
        const Json& fields = file.Object(file.Required(root, "felder"));
        for (auto field = fields.begin(); field != fields.end(); ++field) {
            const auto line = ParseId(FromUtf8(field.key()));
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
        AddEntry(std::move(entry));
    } catch (const Failure& failure) {
        warnings_.push_back(failure.Message() + L" Der Eintrag wird übergangen.");
    }
}

// --- Looking
// --------------------------------------------------------------------------------------------------

const Folder* ArchiveStore::FindFolder(std::int32_t id) const noexcept {
    const auto found = folders_.find(id);
    return found == folders_.end() ? nullptr : &found->second;
}

const Entry* ArchiveStore::FindEntry(std::int32_t id) const noexcept {
    const auto found = entries_.find(id);
    return found == entries_.end() ? nullptr : &found->second;
}

const std::vector<std::int32_t>& ArchiveStore::EntriesOfMask(std::int32_t mask) const noexcept {
    static const std::vector<std::int32_t> none;
    const auto found = entriesByMask_.find(mask);
    return found == entriesByMask_.end() ? none : found->second;
}

std::optional<std::vector<std::wstring>> ArchiveStore::Levels(std::wstring_view path) const {
    std::vector<std::wstring> levels;
    const std::wstring& separator = settings_.separator;
    while (!path.empty()) {
        if (!path.starts_with(separator)) {
            return std::nullopt;
        }
        path.remove_prefix(separator.size());
        const std::size_t end = std::min(path.find(separator), path.size());
        if (end == 0) {
            return std::nullopt;
        }
        levels.emplace_back(path.substr(0, end));
        path.remove_prefix(end);
    }
    return levels.empty() ? std::nullopt : std::optional(std::move(levels));
}

std::int32_t ArchiveStore::ChildOf(std::int32_t folder, std::wstring_view name) const {
    const auto found = folderByName_.find(FolderKey(folder, name));
    return found == folderByName_.end() ? 0 : found->second;
}

std::int32_t ArchiveStore::LookupFolder(std::wstring_view path) const {
    const auto levels = Levels(path);
    if (!levels) {
        return 0;
    }
    std::int32_t folder = RootId;
    for (const std::wstring& level : *levels) {
        folder = ChildOf(folder, level);
        if (folder == 0) {
            return 0;
        }
    }
    return folder;
}

std::wstring ArchiveStore::TreePath(std::int32_t id, std::wstring_view archive,
                                    std::wstring_view separator) const {
    std::wstring path;
    const auto prepend = [&](const std::wstring& name) { path = std::wstring(separator) + name + path; };
    if (const Entry* entry = FindEntry(id)) {
        prepend(entry->shortName);
        id = entry->folder;
    }
    const Folder* folder = FindFolder(id);
    if (folder == nullptr) {
        return {};
    }
    for (; folder != nullptr && folder->id != RootId; folder = FindFolder(folder->parent)) {
        prepend(folder->name);
    }
    return std::wstring(archive) + path;
}

std::wstring ArchiveStore::FolderPath(std::int32_t id) const {
    std::wstring path;
    for (const Folder* folder = FindFolder(id); folder != nullptr && folder->id != RootId;
         folder = FindFolder(folder->parent)) {
        path = L"\\" + folder->directory + path;
    }
    return directory_ + L"\\Ordner" + path;
}

std::wstring ArchiveStore::EntryPath(std::int32_t folder, std::int32_t id) const {
    return FolderPath(folder) + L"\\" + std::to_wstring(id) + std::wstring(EntryExtension);
}

std::wstring ArchiveStore::TemporaryPath(std::wstring_view name) const {
    return directory_ + L"\\Temp\\" + std::wstring(name) + std::wstring(TemporaryExtension);
}

std::wstring ArchiveStore::DocumentPath(const Entry& entry) const {
    return entry.document.empty() ? std::wstring() : FolderPath(entry.folder) + L"\\" + entry.document;
}

// --- Changing
// -------------------------------------------------------------------------------------------------

void ArchiveStore::Tell(Change change, std::int32_t id, std::int32_t folder) const {
    if (listener_) {
        listener_(change, id, folder);
    }
}

std::int32_t ArchiveStore::NextId() {
    if (nextId_ >= reservedUntil_) {
        WriteCounter(nextId_ + ReservedBlock);
        reservedUntil_ = nextId_ + ReservedBlock;
    }
    return nextId_++;
}

void ArchiveStore::WriteCounter(std::int32_t next) const {
    const nlohmann::ordered_json counter{{"naechste", next}};
    WriteFileAtomically(directory_ + L"\\zaehler.json", counter.dump() + "\n", TemporaryPath(L"zaehler"));
}

void ArchiveStore::WriteFolder(const std::wstring& path, std::int32_t id, const std::wstring& name) const {
    const nlohmann::ordered_json folder{{"id", id}, {"name", ToUtf8(name)}};
    WriteFileAtomically(path + L"\\" + std::wstring(FolderFile), folder.dump(2) + "\n",
                        TemporaryPath(std::to_wstring(id)));
}

void ArchiveStore::WriteEntry(const Entry& entry) const {
    nlohmann::ordered_json fields = nlohmann::ordered_json::object();
    for (const auto& [line, value] : entry.fields) {
        fields[std::to_string(line)] = ToUtf8(value);
    }
    const nlohmann::ordered_json json{{"id", entry.id},
                                      {"maske", entry.mask},
                                      {"kurzbezeichnung", ToUtf8(entry.shortName)},
                                      {"felder", fields},
                                      {"dokument", ToUtf8(entry.document)},
                                      {"abgelegt", ToUtf8(entry.filed)}};
    WriteFileAtomically(EntryPath(entry.folder, entry.id), json.dump(2) + "\n",
                        TemporaryPath(std::to_wstring(entry.id)));
}

void ArchiveStore::AddFolder(Folder folder) {
    Folder& parent = folders_.at(folder.parent);
    const auto comesBefore = [this](std::int32_t id, const std::wstring& name) {
        const std::wstring& other = folders_.at(id).name;
        return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, other.c_str(),
                              static_cast<int>(other.size()), name.c_str(),
                              static_cast<int>(name.size())) != CSTR_GREATER_THAN;
    };
    parent.children.insert(
        std::lower_bound(parent.children.begin(), parent.children.end(), folder.name, comesBefore),
        folder.id);
    folderByName_[FolderKey(folder.parent, folder.name)] = folder.id;
    const std::int32_t id = folder.id;
    folders_.emplace(id, std::move(folder));
}

const Entry& ArchiveStore::AddEntry(Entry entry) {
    InsertSorted(folders_.at(entry.folder).entries, entry.id);
    InsertSorted(entriesByMask_[entry.mask], entry.id);
    const std::int32_t id = entry.id;
    return entries_.emplace(id, std::move(entry)).first->second;
}

std::optional<std::int32_t> ArchiveStore::CreateFolders(std::wstring_view path) {
    const auto levels = Levels(path);
    if (!levels) {
        return std::nullopt;
    }
    for (const std::wstring& level : *levels) {
        if (EncodeName(level).size() > LongestFileName) {
            return std::nullopt;
        }
    }
    std::int32_t parent = RootId;
    for (const std::wstring& level : *levels) {
        std::int32_t id = ChildOf(parent, level);
        if (id == 0) {
            Folder folder;
            folder.id = id = NextId();
            folder.parent = parent;
            folder.name = level;
            folder.directory = EncodeName(level);
            const std::wstring folderPath = FolderPath(parent) + L"\\" + folder.directory;
            CreateDirectories(folderPath);
            WriteFolder(folderPath, id, level);
            AddFolder(std::move(folder));
            Tell(Change::FolderAdded, id, parent);
        }
        parent = id;
    }
    return parent;
}

PostboxDocument ArchiveStore::AddToPostbox(const std::wstring& file, const std::wstring& user) {
    if (!IsFile(file)) {
        throw Failure(L"Die Datei ist nicht vorhanden: " + file);
    }
    PostboxDocument document;
    document.id = NextId();
    const std::wstring name = std::to_wstring(document.id);
    const std::wstring postbox = directory_ + L"\\Postkorb\\" + EncodeName(user);
    CreateDirectories(postbox);
    document.path = postbox + L"\\" + name + DocumentExtension(file);
    CopyFileDurably(file, TemporaryPath(name));
    RenameFile(TemporaryPath(name), document.path);
    ++postboxCount_;
    return document;
}

void ArchiveStore::RemoveFromPostbox(const PostboxDocument& document) {
    RemoveFile(document.path);
    --postboxCount_;
}

const Entry& ArchiveStore::File(Entry entry, const PostboxDocument& document) {
    entry.id = document.id;
    entry.document = document.path.substr(document.path.rfind(L'\\') + 1);
    entry.filed = LocalTimeText();
    const std::wstring target = DocumentPath(entry);
    RenameFile(document.path, target);
    try {
        WriteEntry(entry);
    } catch (const Failure&) {
        RenameFile(target, document.path);
        throw;
    }
    --postboxCount_;
    const Entry& filed = AddEntry(std::move(entry));
    Tell(Change::EntryAdded, filed.id, filed.folder);
    return filed;
}

void ArchiveStore::Update(const Entry& entry) {
    Entry& stored = entries_.at(entry.id);
    Entry changed = stored;
    changed.mask = entry.mask;
    changed.shortName = entry.shortName;
    changed.fields = entry.fields;
    WriteEntry(changed);
    if (changed.mask != stored.mask) {
        EraseSorted(entriesByMask_[stored.mask], entry.id);
        InsertSorted(entriesByMask_[changed.mask], entry.id);
    }
    stored = std::move(changed);
    Tell(Change::EntryChanged, stored.id, stored.folder);
}

void ArchiveStore::Move(std::int32_t entry, std::int32_t folder) {
    Entry& stored = entries_.at(entry);
    if (stored.folder == folder) {
        return;
    }
    Entry moved = stored;
    moved.folder = folder;
    const std::wstring oldDocument = DocumentPath(stored);
    const bool hasDocument = !oldDocument.empty() && IsFile(oldDocument);
    if (hasDocument) {
        CopyFileDurably(oldDocument, DocumentPath(moved));
    }
    RenameFile(EntryPath(stored.folder, entry), EntryPath(folder, entry));
    const std::int32_t oldFolder = stored.folder;
    EraseSorted(folders_.at(oldFolder).entries, entry);
    InsertSorted(folders_.at(folder).entries, entry);
    stored = std::move(moved);
    if (hasDocument) {
        DeleteFileW(LongPath(oldDocument).c_str());  // what stays behind is removed at the next start
    }
    Tell(Change::EntryRemoved, entry, oldFolder);
    Tell(Change::EntryAdded, entry, folder);
}

void ArchiveStore::RemoveEntry(std::int32_t id) {
    const Entry& entry = entries_.at(id);
    const std::wstring document = DocumentPath(entry);
    const std::int32_t folder = entry.folder;
    RemoveFile(EntryPath(folder, id));
    EraseSorted(folders_.at(folder).entries, id);
    EraseSorted(entriesByMask_[entry.mask], id);
    entries_.erase(id);
    if (!document.empty()) {
        DeleteFileW(LongPath(document).c_str());  // what stays behind is removed at the next start
    }
    Tell(Change::EntryRemoved, id, folder);
}

bool ArchiveStore::RemoveFolder(std::int32_t id) {
    const Folder& folder = folders_.at(id);
    if (!folder.children.empty() || !folder.entries.empty()) {
        return false;
    }
    const std::wstring path = FolderPath(id);
    RemoveFile(path + L"\\" + std::wstring(FolderFile));
    if (RemoveDirectoryW(LongPath(path).c_str()) == 0) {
        const DWORD error = GetLastError();
        WriteFolder(path, id, folder.name);
        SetLastError(error);
        FailWithLastError(L"Das Verzeichnis kann nicht gelöscht werden", path);
    }
    const std::int32_t parent = folder.parent;
    auto& siblings = folders_.at(parent).children;
    siblings.erase(std::find(siblings.begin(), siblings.end(), id));
    folderByName_.erase(FolderKey(parent, folder.name));
    folders_.erase(id);
    Tell(Change::FolderRemoved, id, parent);
    return true;
}

}  // namespace simulators
