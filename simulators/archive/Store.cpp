#include "simulators/archive/Store.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <utility>

#include "simulators/archive/StoreIndex.h"
#include "simulators/archive/StoreNames.h"
#include "simulators/common/Failure.h"
#include "simulators/common/JsonFile.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

constexpr std::wstring_view folderFile = L"ordner.json";
constexpr std::wstring_view entryExtension = L".json";
constexpr std::wstring_view temporaryExtension = L".tmp";
constexpr std::size_t longestFileName = 255;

/// Numbers of files beyond this one were never given out and are left alone.
constexpr std::int32_t highestId = 1000000000;

/// Ids are reserved in blocks, so that not every filing has to write the counter.
constexpr std::int32_t reservedBlock = 64;

bool EndsWithIgnoringCase(std::wstring_view text, std::wstring_view end) {
    return text.size() >= end.size() && EqualIgnoringCase(text.substr(text.size() - end.size()), end);
}

/// "4711.json" gives 4711, anything else nothing.
std::optional<std::int32_t> IdOfEntryFile(std::wstring_view name) {
    return EndsWithIgnoringCase(name, entryExtension)
               ? ParseId(name.substr(0, name.size() - entryExtension.size()))
               : std::nullopt;
}

/// "4711.pdf" gives 4711.
std::optional<std::int32_t> IdOfDocumentFile(std::wstring_view name) {
    return IdOfEntryFile(name) ? std::nullopt : ParseId(name.substr(0, name.find(L'.')));
}

/// Raises the highest number met so far.
void Raise(std::int32_t& highest, std::int32_t id) {
    if (id <= highestId) {
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
    if (EqualIgnoringCase(extension, entryExtension) || EqualIgnoringCase(extension, temporaryExtension)) {
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

/// A directory's time as FolderOnDisk keeps it. Clocks of file systems tick in steps of up to two seconds.
std::uint64_t Settled(std::uint64_t changed) {
    constexpr std::uint64_t step = 20000000;
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return changed + step < (static_cast<std::uint64_t>(now.dwHighDateTime) << 32 | now.dwLowDateTime)
               ? changed
               : 0;
}

std::uint64_t SettledTimeOf(const std::wstring& directory) {
    return Settled(StampOf(directory).value_or(FileStamp()).written);
}

std::wstring PassedOver(const Failure& failure) {
    return failure.Message() + L" Der Eintrag wird übergangen.";
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

struct ArchiveStore::ScannedEntry {
    std::int32_t id = 0;
    FileStamp file;
};

/// A directory of the store as it was found on disk.
struct ArchiveStore::Scanned {
    std::wstring path;
    std::wstring directory;
    std::int32_t id = 0;  // 0 when it has no usable ordner.json
    std::wstring name;
    bool needsFile = false;  // ordner.json is missing or no longer right
    std::wstring complaint;
    FolderOnDisk onDisk;
    std::vector<ScannedEntry> entries;  // ascending
    std::vector<std::wstring> documents;
    std::vector<Scanned> children;
};

// --- Opening ---

ArchiveStore::ArchiveStore(std::wstring directory, unsigned patience)
    : directory_(std::move(directory)), lock_(Lock(directory_, patience)),
      settings_(ReadArchiveSettings(directory_ + L"\\archiv.json")) {
    CreateDirectories(directory_ + L"\\Ordner");
    CreateDirectories(directory_ + L"\\Temp");
    CleanTemporaryFiles();

    handedOutBelow_ = reservedUntil_ = ReadCounter();
    nextId_ = std::max({firstId, reservedUntil_, ScanPostbox() + 1});
    if (!ReadIndex()) {
        ReadEverything();
    }
}

ArchiveStore::~ArchiveStore() {
    try {
        WriteCounter(nextId_);
        WriteIndex();
    } catch (...) {  // NOLINT(bugprone-empty-catch)
        // The block reserved before stays reserved; ids are skipped, never used twice. Without an index the
        // next start reads everything.
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
        if (!item.isDirectory && EndsWithIgnoringCase(item.name, temporaryExtension)) {
            RemoveFile(directory_ + L"\\" + item.name);
        }
    }
}

std::int32_t ArchiveStore::ReadCounter() {
    const std::wstring path = directory_ + L"\\zaehler.json";
    if (!IsFile(path)) {
        return firstId;
    }
    try {
        const JsonFile file = JsonFile::Read(path);
        return file.Integer(file.Required(file.Root(), "naechste"), firstId, highestId);
    } catch (const Failure& failure) {
        warnings_.push_back(failure.Message() + L" Die nächste Nummer folgt aus den vorhandenen.");
        return firstId;
    }
}

void ArchiveStore::ReadEverything() {
    folders_.clear();
    folderByName_.clear();
    entriesByMask_.clear();
    onDisk_.clear();
    std::int32_t highest = rootId;
    const Scanned root = Scan(directory_ + L"\\Ordner", highest);
    nextId_ = std::max(nextId_, highest + 1);
    Folder rootFolder;
    rootFolder.id = rootId;
    AddFolder(std::move(rootFolder), root.onDisk);
    BuildFolder(root, rootId);
}

ArchiveStore::Scanned ArchiveStore::Scan(const std::wstring& path, std::int32_t& highest) const {
    Scanned scanned;
    scanned.path = path;
    scanned.directory = path.substr(path.rfind(L'\\') + 1);
    scanned.needsFile = true;
    scanned.onDisk.changed = SettledTimeOf(path);
    bool hasFolderFile = false;
    for (const DirectoryItem& item : ListDirectory(path)) {
        const std::wstring itemPath = path + L"\\" + item.name;
        if (item.isDirectory) {
            scanned.children.push_back(Scan(itemPath, highest));
        } else if (EndsWithIgnoringCase(item.name, temporaryExtension)) {
            RemoveFile(itemPath);
        } else if (EqualIgnoringCase(item.name, folderFile)) {
            hasFolderFile = true;
            scanned.onDisk.file = item.stamp;
        } else if (const auto entry = IdOfEntryFile(item.name)) {
            scanned.entries.push_back({*entry, item.stamp});
            Raise(highest, *entry);
        } else if (const auto document = IdOfDocumentFile(item.name)) {
            scanned.documents.push_back(item.name);
            Raise(highest, *document);
        }
    }
    if (hasFolderFile) {
        try {
            const JsonFile file = JsonFile::Read(path + L"\\" + std::wstring(folderFile));
            scanned.id = file.Integer(file.Required(file.Root(), "id"), firstId, highestId);
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
    std::ranges::sort(scanned.entries,
                      [](const ScannedEntry& left, const ScannedEntry& right) { return left.id < right.id; });
    return scanned;
}

/// The highest number in it.
std::int32_t ArchiveStore::ScanPostbox() {
    std::int32_t highest = rootId;
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
    std::vector<std::int32_t> found;
    for (const ScannedEntry& entry : scanned.entries) {
        BuildEntry(scanned.path, entry, id);
        found.push_back(entry.id);
    }
    for (const std::wstring& document : scanned.documents) {
        // NOLINTNEXTLINE(bugprone-unchecked-optional-access): by its number it was found
        const std::int32_t documentId = *IdOfDocumentFile(document);
        if (std::ranges::binary_search(found, documentId)) {
            continue;
        }
        // Files with numbers that were never given out are somebody else's.
        if (documentId < handedOutBelow_) {
            RemoveFile(scanned.path + L"\\" + document);
        } else {
            onDisk_.at(id).changed = 0;  // the directory is not as the store would leave it
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
    FolderOnDisk onDisk = scanned.onDisk;
    const bool isTaken = folders_.contains(folder.id) || entries_.contains(folder.id);
    if (folder.id == 0 || isTaken || scanned.needsFile) {
        if (folder.id == 0 || isTaken) {
            folder.id = NextId();
        }
        onDisk.file = WriteFolder(scanned.path, folder.id, folder.name);
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
    AddFolder(std::move(folder), onDisk);
    BuildFolder(scanned, id);
}

void ArchiveStore::BuildEntry(const std::wstring& path, const ScannedEntry& scanned, std::int32_t folder) {
    try {
        const bool isTaken = entries_.contains(scanned.id) || folders_.contains(scanned.id);
        Entry entry = ReadEntry(path + L"\\" + std::to_wstring(scanned.id) + std::wstring(entryExtension),
                                scanned.id, isTaken);
        entry.folder = folder;
        AddEntry(std::move(entry), scanned.file);
    } catch (const Failure& failure) {
        warnings_.push_back(PassedOver(failure));
    }
}

/// Reads an entry's file; whoever asks knows the folder. An entry whose number is taken is refused.
Entry ArchiveStore::ReadEntry(const std::wstring& path, std::int32_t id, bool isTaken) {
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
    return entry;
}

// --- The index ---

bool ArchiveStore::ReadIndex() {
    index_ = StoreIndex::Take(IndexPath());
    if (index_ == nullptr) {
        return false;
    }
    for (const IndexedFolder& indexed : index_->Folders()) {
        Folder folder;
        folder.id = indexed.id;
        folder.parent = indexed.parent;
        folder.name = indexed.name;
        folder.directory = indexed.directory;
        AddFolder(std::move(folder), indexed.onDisk);
    }
    for (const IndexedEntry& entry : index_->Entries()) {
        folders_.at(entry.folder).entries.push_back(entry.id);
        entriesByMask_[entry.mask].push_back(entry.id);
    }
    const auto isAsKnown = [this](const auto& folder) { return IsAsKnown(folder.second); };
    if (!std::ranges::all_of(folders_, isAsKnown)) {
        index_.reset();
        return false;
    }
    nextId_ = std::max(nextId_, index_->NextId());
    return true;
}

void ArchiveStore::WriteIndex() {
    TakeOverEdits();
    const auto isAsKnown = [this](const auto& folder) { return IsAsKnown(folder.second); };
    // What was wrong is to be told again at the next start, and what somebody changed meanwhile is to be
    // found.
    if (!warnings_.empty() || !std::ranges::all_of(folders_, isAsKnown)) {
        return;
    }
    StoreIndexWriter writer(nextId_);
    AddToIndex(writer, folders_.at(rootId));
    for (const auto& [id, stored] : entries_) {
        writer.Add(stored.entry, stored.file);
    }
    if (index_ != nullptr) {
        for (const IndexedEntry& entry : index_->Entries()) {
            if (index_->IsWaiting(entry)) {
                writer.Copy(*index_, entry);
            }
        }
    }
    writer.Write(IndexPath(), TemporaryPath(L"archiv.index"));
}

void ArchiveStore::AddToIndex(StoreIndexWriter& writer, const Folder& folder) const {
    writer.Add({folder.id, folder.parent, folder.name, folder.directory, onDisk_.at(folder.id)});
    for (const std::int32_t child : folder.children) {
        AddToIndex(writer, folders_.at(child));
    }
}

/// True when the folder's directory holds what the lists say. It is read only if it may have changed.
bool ArchiveStore::IsAsKnown(const Folder& folder) {
    const std::wstring path = FolderPath(folder.id);
    FolderOnDisk& onDisk = onDisk_.at(folder.id);
    if (folder.id != rootId && StampOf(path + L"\\" + std::wstring(folderFile)) != onDisk.file) {
        return false;
    }
    const auto now = StampOf(path);
    if (now && now->written == onDisk.changed) {
        return true;
    }
    if (!now || !HoldsWhatIsKnown(folder)) {
        return false;
    }
    onDisk.changed = Settled(now->written);
    return true;
}

bool ArchiveStore::HoldsWhatIsKnown(const Folder& folder) const {
    const auto isTheSame = [this](std::int32_t id, const FileStamp& file) {
        if (const auto found = entries_.find(id); found != entries_.end()) {
            return found->second.file == file;
        }
        const IndexedEntry* indexed = index_ == nullptr ? nullptr : index_->Find(id);
        return indexed != nullptr && indexed->file == file;
    };
    std::vector<std::int32_t> entries;
    std::vector<std::int32_t> documents;
    std::set<std::wstring> directories;
    for (const DirectoryItem& item : ListDirectory(FolderPath(folder.id))) {
        if (item.isDirectory) {
            directories.insert(item.name);
        } else if (EndsWithIgnoringCase(item.name, temporaryExtension)) {
            return false;
        } else if (const auto entry = IdOfEntryFile(item.name)) {
            if (!isTheSame(*entry, item.stamp)) {
                return false;
            }
            entries.push_back(*entry);
        } else if (const auto document = IdOfDocumentFile(item.name)) {
            documents.push_back(*document);
        }
    }
    std::ranges::sort(entries);
    std::set<std::wstring> children;
    for (const std::int32_t child : folder.children) {
        children.insert(folders_.at(child).directory);
    }
    const auto hasEntry = [&entries](std::int32_t document) {
        return std::ranges::binary_search(entries, document);
    };
    return entries == folder.entries && directories == children && std::ranges::all_of(documents, hasEntry);
}

/// The entry with its texts: those of the index if its file is still the same, otherwise those of the file.
const Entry* ArchiveStore::TakeFromIndex(const IndexedEntry& indexed) const {
    const auto keep = [this](Entry entry, const FileStamp& file) {
        const std::int32_t id = entry.id;
        return &entries_.insert_or_assign(id, StoredEntry{std::move(entry), file}).first->second.entry;
    };
    const std::wstring path = EntryPath(indexed.folder, indexed.id);
    const FileStamp file = index_->IsChecked(indexed) ? indexed.file : StampOf(path).value_or(FileStamp());
    if (file == indexed.file) {
        if (auto entry = index_->Decode(indexed)) {
            index_->Remove(indexed);
            return keep(std::move(*entry), file);
        }
    }
    index_->Remove(indexed);
    Edit edit{indexed.id, indexed.folder, indexed.mask, {}};
    try {
        Entry entry = ReadEntry(path, indexed.id, false);
        entry.folder = indexed.folder;
        edit.newMask = entry.mask;
        edits_.push_back(edit);
        const Entry* kept = keep(std::move(entry), file);
        Tell(Change::EntryChanged, indexed.id, indexed.folder);
        return kept;
    } catch (const Failure& failure) {
        warnings_.push_back(PassedOver(failure));
        edits_.push_back(edit);
        Tell(Change::EntryRemoved, indexed.id, indexed.folder);
        return nullptr;
    }
}

/// Asks for the entries whose files have changed since the index was written. Listing a directory tells the
/// stamps of all its files at once.
void ArchiveStore::CheckWaitingEntries() const {
    for (const auto& [id, folder] : folders_) {
        if (folder.entries.empty()) {
            continue;
        }
        for (const DirectoryItem& item : ListDirectory(FolderPath(id))) {
            const auto entry = item.isDirectory ? std::nullopt : IdOfEntryFile(item.name);
            const IndexedEntry* indexed = entry ? index_->Find(*entry) : nullptr;
            if (indexed != nullptr && indexed->folder == id && indexed->file == item.stamp) {
                index_->MarkAsChecked(*indexed);
            }
        }
    }
    for (const IndexedEntry& indexed : index_->Entries()) {
        if (index_->IsWaiting(indexed) && !index_->IsChecked(indexed)) {
            TakeFromIndex(indexed);
        }
    }
}

void ArchiveStore::TakeOverEdits() const {
    for (const Edit& edit : std::exchange(edits_, {})) {
        EraseSorted(entriesByMask_[edit.oldMask], edit.id);
        if (edit.newMask) {
            InsertSorted(entriesByMask_[*edit.newMask], edit.id);
        } else {
            EraseSorted(folders_.at(edit.folder).entries, edit.id);
        }
    }
}

// --- Looking ---

const Folder* ArchiveStore::FindFolder(std::int32_t id) const noexcept {
    const auto found = folders_.find(id);
    return found == folders_.end() ? nullptr : &found->second;
}

const Entry* ArchiveStore::FindEntry(std::int32_t id) const {
    if (const auto found = entries_.find(id); found != entries_.end()) {
        return &found->second.entry;
    }
    const IndexedEntry* indexed = index_ == nullptr ? nullptr : index_->Find(id);
    return indexed == nullptr ? nullptr : TakeFromIndex(*indexed);
}

std::int32_t ArchiveStore::MaskOf(std::int32_t id) const noexcept {
    if (const auto found = entries_.find(id); found != entries_.end()) {
        return found->second.entry.mask;
    }
    const IndexedEntry* indexed = index_ == nullptr ? nullptr : index_->Find(id);
    return indexed == nullptr ? 0 : indexed->mask;
}

const std::vector<std::int32_t>& ArchiveStore::EntriesOfMask(std::int32_t mask) const {
    static const std::vector<std::int32_t> none;
    if (index_ != nullptr && !index_->AreAllChecked()) {
        CheckWaitingEntries();
    }
    TakeOverEdits();
    const auto found = entriesByMask_.find(mask);
    return found == entriesByMask_.end() ? none : found->second;
}

std::size_t ArchiveStore::EntryCount() const noexcept {
    return entries_.size() + (index_ == nullptr ? 0 : index_->WaitingCount());
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
    std::int32_t folder = rootId;
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
    for (; folder != nullptr && folder->id != rootId; folder = FindFolder(folder->parent)) {
        prepend(folder->name);
    }
    return std::wstring(archive) + path;
}

std::wstring ArchiveStore::FolderPath(std::int32_t id) const {
    std::wstring path;
    for (const Folder* folder = FindFolder(id); folder != nullptr && folder->id != rootId;
         folder = FindFolder(folder->parent)) {
        path = L"\\" + folder->directory + path;
    }
    return directory_ + L"\\Ordner" + path;
}

std::wstring ArchiveStore::EntryPath(std::int32_t folder, std::int32_t id) const {
    return FolderPath(folder) + L"\\" + std::to_wstring(id) + std::wstring(entryExtension);
}

std::wstring ArchiveStore::TemporaryPath(std::wstring_view name) const {
    return directory_ + L"\\Temp\\" + std::wstring(name) + std::wstring(temporaryExtension);
}

std::wstring ArchiveStore::DocumentPath(const Entry& entry) const {
    return entry.document.empty() ? std::wstring() : FolderPath(entry.folder) + L"\\" + entry.document;
}

// --- Changing ---

void ArchiveStore::Tell(Change change, std::int32_t id, std::int32_t folder) const {
    if (listener_) {
        listener_(change, id, folder);
    }
}

std::int32_t ArchiveStore::NextId() {
    if (nextId_ >= reservedUntil_) {
        WriteCounter(nextId_ + reservedBlock);
        reservedUntil_ = nextId_ + reservedBlock;
    }
    return nextId_++;
}

void ArchiveStore::WriteCounter(std::int32_t next) const {
    const nlohmann::ordered_json counter{{"naechste", next}};
    WriteFileAtomically(directory_ + L"\\zaehler.json", counter.dump() + "\n", TemporaryPath(L"zaehler"));
}

FileStamp ArchiveStore::WriteFolder(const std::wstring& path, std::int32_t id,
                                    const std::wstring& name) const {
    const nlohmann::ordered_json folder{{"id", id}, {"name", ToUtf8(name)}};
    return WriteFileAtomically(path + L"\\" + std::wstring(folderFile), folder.dump(2) + "\n",
                               TemporaryPath(std::to_wstring(id)));
}

FileStamp ArchiveStore::WriteEntry(const Entry& entry) const {
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
    return WriteFileAtomically(EntryPath(entry.folder, entry.id), json.dump(2) + "\n",
                               TemporaryPath(std::to_wstring(entry.id)));
}

void ArchiveStore::AddFolder(Folder folder, const FolderOnDisk& onDisk) {
    onDisk_[folder.id] = onDisk;
    if (folder.id == rootId) {
        folders_.emplace(rootId, std::move(folder));
        return;
    }
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

const Entry& ArchiveStore::AddEntry(Entry entry, const FileStamp& file) {
    InsertSorted(folders_.at(entry.folder).entries, entry.id);
    InsertSorted(entriesByMask_[entry.mask], entry.id);
    const std::int32_t id = entry.id;
    return entries_.emplace(id, StoredEntry{std::move(entry), file}).first->second.entry;
}

/// An entry that is about to change. Throws when there is none.
ArchiveStore::StoredEntry& ArchiveStore::Existing(std::int32_t id) {
    FindEntry(id);
    TakeOverEdits();
    return entries_.at(id);
}

std::optional<std::int32_t> ArchiveStore::CreateFolders(std::wstring_view path) {
    const auto levels = Levels(path);
    if (!levels) {
        return std::nullopt;
    }
    for (const std::wstring& level : *levels) {
        if (EncodeName(level).size() > longestFileName) {
            return std::nullopt;
        }
    }
    std::int32_t parent = rootId;
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
            AddFolder(std::move(folder), {0, WriteFolder(folderPath, id, level)});
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
    FileStamp file;
    try {
        file = WriteEntry(entry);
    } catch (const Failure&) {
        RenameFile(target, document.path);
        throw;
    }
    --postboxCount_;
    const Entry& filed = AddEntry(std::move(entry), file);
    Tell(Change::EntryAdded, filed.id, filed.folder);
    return filed;
}

void ArchiveStore::Update(const Entry& entry) {
    StoredEntry& stored = Existing(entry.id);
    Entry changed = stored.entry;
    changed.mask = entry.mask;
    changed.shortName = entry.shortName;
    changed.fields = entry.fields;
    stored.file = WriteEntry(changed);
    if (changed.mask != stored.entry.mask) {
        EraseSorted(entriesByMask_[stored.entry.mask], entry.id);
        InsertSorted(entriesByMask_[changed.mask], entry.id);
    }
    stored.entry = std::move(changed);
    Tell(Change::EntryChanged, stored.entry.id, stored.entry.folder);
}

void ArchiveStore::Move(std::int32_t entry, std::int32_t folder) {
    Entry& stored = Existing(entry).entry;
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
    const Entry& entry = Existing(id).entry;
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
    TakeOverEdits();
    const Folder& folder = folders_.at(id);
    if (!folder.children.empty() || !folder.entries.empty()) {
        return false;
    }
    const std::wstring path = FolderPath(id);
    RemoveFile(path + L"\\" + std::wstring(folderFile));
    if (RemoveDirectoryW(LongPath(path).c_str()) == 0) {
        const DWORD error = GetLastError();
        onDisk_.at(id).file = WriteFolder(path, id, folder.name);
        SetLastError(error);
        FailWithLastError(L"Das Verzeichnis kann nicht gelöscht werden", path);
    }
    const std::int32_t parent = folder.parent;
    auto& siblings = folders_.at(parent).children;
    siblings.erase(std::ranges::find(siblings, id));
    folderByName_.erase(FolderKey(parent, folder.name));
    folders_.erase(id);
    onDisk_.erase(id);
    Tell(Change::FolderRemoved, id, parent);
    return true;
}

}  // namespace kandora::simulators
