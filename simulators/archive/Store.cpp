#include "simulators/archive/Store.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

#include "simulators/archive/DirectoryCheck.h"
#include "simulators/archive/StoreNames.h"
#include "simulators/archive/StoreScan.h"
#include "simulators/common/Failure.h"

namespace kandora::simulators {

namespace {

constexpr std::size_t longestFileName = 255;

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

/// A file that cannot be removed now is removed at the next start.
void TryToRemove(const std::wstring& path) {
    DeleteFileW(LongPath(path).c_str());
}

}  // namespace

// --- Opening and closing ---

ArchiveStore::ArchiveStore(std::wstring directory, unsigned patience)
    : files_(std::move(directory)), lock_(files_.Lock(patience)),
      settings_(ReadArchiveSettings(files_.SettingsPath())), ids_(files_, CounterAtStart()),
      postbox_(files_, ids_), folders_(files_.FoldersPath()),
      entries_(folders_, [this](std::int32_t id, std::int32_t folder, const std::wstring& complaint) {
          NoteEdit(id, folder, complaint);
      }) {
    files_.CreateMissing();
    files_.CleanTemporaryFiles();
    if (!ReadIndex()) {
        StoreScan(files_, folders_, entries_, ids_, warnings_).Run();
    }
}

ArchiveStore::~ArchiveStore() {
    try {
        ids_.Save();
        WriteIndex();
    } catch (...) {  // NOLINT(bugprone-empty-catch)
        // The block reserved before stays reserved; ids are skipped, never used twice. Without an index the
        // next start reads everything.
    }
}

std::int32_t ArchiveStore::CounterAtStart() {
    try {
        return files_.ReadCounter().value_or(firstId);
    } catch (const Failure& failure) {
        warnings_.push_back(failure.Message() + L" Die nächste Nummer folgt aus den vorhandenen.");
        return firstId;
    }
}

/// False when everything has to be read from the files themselves.
bool ArchiveStore::ReadIndex() {
    auto index = StoreIndex::Take(files_.IndexPath());
    if (index == nullptr) {
        return false;
    }
    for (const IndexedFolder& indexed : index->Folders()) {
        Folder folder;
        folder.id = indexed.id;
        folder.parent = indexed.parent;
        folder.name = indexed.name;
        folder.directory = indexed.directory;
        folders_.Add(std::move(folder), indexed.onDisk);
    }
    const std::int32_t nextId = index->NextId();
    entries_.WaitIn(std::move(index));
    if (!AreDirectoriesAsKnown(folders_, entries_)) {
        entries_.Clear();
        folders_.Clear();
        return false;
    }
    ids_.PassOver(nextId - 1);
    return true;
}

void ArchiveStore::WriteIndex() {
    TakeOverEdits();
    // Without an index the next start reads all files: it warns again of what was wrong, and finds what
    // somebody has changed meanwhile.
    if (!warnings_.empty() || !AreDirectoriesAsKnown(folders_, entries_)) {
        return;
    }
    StoreIndexWriter writer(ids_.Next());
    AddToIndex(writer, folders_.At(rootId));
    entries_.AddTo(writer);
    writer.Write(files_.IndexPath(), files_.TemporaryPath(L"archiv.index"));
}

void ArchiveStore::AddToIndex(StoreIndexWriter& writer, const Folder& folder) const {
    writer.Add({folder.id, folder.parent, folder.name, folder.directory, folders_.OnDisk(folder.id)});
    for (const std::int32_t child : folder.children) {
        AddToIndex(writer, folders_.At(child));
    }
}

// --- Looking ---

const Folder* ArchiveStore::FindFolder(std::int32_t id) const noexcept {
    return folders_.Find(id);
}

const Entry* ArchiveStore::FindEntry(std::int32_t id) const {
    return entries_.Find(id);
}

std::int32_t ArchiveStore::MaskOf(std::int32_t id) const noexcept {
    return entries_.MaskOf(id);
}

const std::vector<std::int32_t>& ArchiveStore::EntriesOfMask(std::int32_t mask) const {
    return entries_.WithMask(mask);
}

void ArchiveStore::TakeOverEdits() const {
    entries_.TakeOverEdits();
}

std::size_t ArchiveStore::EntryCount() const noexcept {
    return entries_.Count();
}

std::int32_t ArchiveStore::LookupFolder(std::wstring_view path) const {
    const auto levels = LevelsOf(path, settings_.separator);
    if (!levels) {
        return 0;
    }
    std::int32_t folder = rootId;
    for (const std::wstring& level : *levels) {
        folder = folders_.ChildOf(folder, level);
        if (folder == 0) {
            return 0;
        }
    }
    return folder;
}

std::wstring ArchiveStore::TreePath(std::int32_t id, std::wstring_view archive,
                                    std::wstring_view separator) const {
    std::wstring path;
    if (const Entry* entry = FindEntry(id)) {
        path = std::wstring(separator) + entry->shortName;
        id = entry->folder;
    }
    if (FindFolder(id) == nullptr) {
        return {};
    }
    folders_.Prepend(id, separator, path);
    return std::wstring(archive) + path;
}

std::wstring ArchiveStore::EntryPath(std::int32_t folder, std::int32_t id) const {
    return StoreFiles::EntryPath(folders_.PathOf(folder), id);
}

std::wstring ArchiveStore::DocumentPath(const Entry& entry) const {
    return entry.document.empty() ? std::wstring() : folders_.PathOf(entry.folder) + L"\\" + entry.document;
}

// --- Changing ---

void ArchiveStore::Tell(Change change, std::int32_t id, std::int32_t folder) const {
    if (listener_) {
        listener_(change, id, folder);
    }
}

/// Somebody edited the entry's file while the store was closed.
void ArchiveStore::NoteEdit(std::int32_t id, std::int32_t folder, const std::wstring& complaint) {
    if (!complaint.empty()) {
        warnings_.push_back(PassedOver(complaint));
    }
    Tell(complaint.empty() ? Change::EntryChanged : Change::EntryRemoved, id, folder);
}

std::optional<std::int32_t> ArchiveStore::CreateFolders(std::wstring_view path) {
    const auto levels = LevelsOf(path, settings_.separator);
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
        std::int32_t id = folders_.ChildOf(parent, level);
        if (id == 0) {
            Folder folder;
            folder.id = id = ids_.Take();
            folder.parent = parent;
            folder.name = level;
            folder.directory = EncodeName(level);
            const std::wstring folderPath = folders_.PathOf(parent) + L"\\" + folder.directory;
            CreateDirectories(folderPath);
            folders_.Add(std::move(folder), {0, files_.WriteFolder(folderPath, {id, level})});
            Tell(Change::FolderAdded, id, parent);
        }
        parent = id;
    }
    return parent;
}

PostboxDocument ArchiveStore::AddToPostbox(const std::wstring& file, const std::wstring& user) {
    return postbox_.Add(file, user);
}

void ArchiveStore::RemoveFromPostbox(const PostboxDocument& document) {
    postbox_.Remove(document);
}

const Entry& ArchiveStore::File(Entry entry, const PostboxDocument& document) {
    entry.id = document.id;
    entry.document = document.path.substr(document.path.rfind(L'\\') + 1);
    entry.filed = LocalTimeText();
    const std::wstring target = DocumentPath(entry);
    RenameFile(document.path, target);
    FileStamp file;
    try {
        file = files_.WriteEntry(EntryPath(entry.folder, entry.id), entry);
    } catch (const Failure&) {
        RenameFile(target, document.path);
        throw;
    }
    postbox_.NoteFiled();
    const Entry& filed = entries_.Add(std::move(entry), file);
    Tell(Change::EntryAdded, filed.id, filed.folder);
    return filed;
}

void ArchiveStore::Update(const Entry& entry) {
    Entry changed = entries_.Existing(entry.id);
    changed.mask = entry.mask;
    changed.shortName = entry.shortName;
    changed.fields = entry.fields;
    const FileStamp file = files_.WriteEntry(EntryPath(changed.folder, changed.id), changed);
    const Entry& kept = entries_.Replace(std::move(changed), file);
    Tell(Change::EntryChanged, kept.id, kept.folder);
}

void ArchiveStore::Move(std::int32_t entry, std::int32_t folder) {
    const Entry& stored = entries_.Existing(entry);
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
    const std::int32_t oldFolder = entries_.Move(entry, folder);
    if (hasDocument) {
        TryToRemove(oldDocument);
    }
    Tell(Change::EntryRemoved, entry, oldFolder);
    Tell(Change::EntryAdded, entry, folder);
}

void ArchiveStore::RemoveEntry(std::int32_t id) {
    const Entry& entry = entries_.Existing(id);
    const std::wstring document = DocumentPath(entry);
    const std::int32_t folder = entry.folder;
    RemoveFile(EntryPath(folder, id));
    entries_.Remove(id);
    if (!document.empty()) {
        TryToRemove(document);
    }
    Tell(Change::EntryRemoved, id, folder);
}

bool ArchiveStore::RemoveFolder(std::int32_t id) {
    TakeOverEdits();
    const Folder& folder = folders_.At(id);
    if (!folder.children.empty() || !folder.entries.empty()) {
        return false;
    }
    const std::wstring path = folders_.PathOf(id);
    RemoveFile(StoreFiles::FolderFilePath(path));
    if (RemoveDirectoryW(LongPath(path).c_str()) == 0) {
        const DWORD error = GetLastError();
        folders_.OnDisk(id).file = files_.WriteFolder(path, {id, folder.name});
        SetLastError(error);
        FailWithLastError(L"Das Verzeichnis kann nicht gelöscht werden", path);
    }
    const std::int32_t parent = folder.parent;
    folders_.Remove(id);
    Tell(Change::FolderRemoved, id, parent);
    return true;
}

}  // namespace kandora::simulators
