#include "simulators/archive/EntryCache.h"

#include <utility>

#include "simulators/archive/IdList.h"
#include "simulators/archive/StoreFiles.h"
#include "simulators/common/Failure.h"

namespace kandora::simulators {

void EntryCache::WaitIn(std::unique_ptr<StoreIndex> index) {
    index_ = std::move(index);
    for (const IndexedEntry& entry : index_->Entries()) {
        folders_.At(entry.folder).entries.push_back(entry.id);
        byMask_[entry.mask].push_back(entry.id);
    }
}

void EntryCache::Clear() {
    index_.reset();
    byMask_.clear();
}

void EntryCache::AddTo(StoreIndexWriter& writer) const {
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
}

const IndexedEntry* EntryCache::FindWaiting(std::int32_t id) const {
    return index_ == nullptr ? nullptr : index_->Find(id);
}

const Entry* EntryCache::Find(std::int32_t id) {
    if (const auto found = entries_.find(id); found != entries_.end()) {
        return &found->second.entry;
    }
    const IndexedEntry* indexed = FindWaiting(id);
    return indexed == nullptr ? nullptr : TakeFromIndex(*indexed);
}

std::int32_t EntryCache::MaskOf(std::int32_t id) const noexcept {
    if (const auto found = entries_.find(id); found != entries_.end()) {
        return found->second.entry.mask;
    }
    const IndexedEntry* indexed = FindWaiting(id);
    return indexed == nullptr ? 0 : indexed->mask;
}

const std::vector<std::int32_t>& EntryCache::WithMask(std::int32_t mask) {
    static const std::vector<std::int32_t> none;
    if (index_ != nullptr && !index_->AreAllChecked()) {
        CheckWaitingEntries();
    }
    TakeOverEdits();
    const auto found = byMask_.find(mask);
    return found == byMask_.end() ? none : found->second;
}

std::size_t EntryCache::Count() const noexcept {
    return entries_.size() + (index_ == nullptr ? 0 : index_->WaitingCount());
}

bool EntryCache::IsKnown(std::int32_t id, const FileStamp& file) const {
    if (const auto found = entries_.find(id); found != entries_.end()) {
        return found->second.file == file;
    }
    const IndexedEntry* indexed = FindWaiting(id);
    return indexed != nullptr && indexed->file == file;
}

const Entry* EntryCache::Keep(Entry entry, const FileStamp& file) {
    const std::int32_t id = entry.id;
    return &entries_.insert_or_assign(id, StoredEntry{std::move(entry), file}).first->second.entry;
}

/// The entry with its texts: those of the index if its file is still the same, otherwise those of the file.
const Entry* EntryCache::TakeFromIndex(const IndexedEntry& indexed) {
    const std::wstring path = StoreFiles::EntryPath(folders_.PathOf(indexed.folder), indexed.id);
    const FileStamp file = index_->IsChecked(indexed) ? indexed.file : StampOf(path).value_or(FileStamp());
    if (file == indexed.file) {
        if (auto entry = index_->Decode(indexed)) {
            index_->Remove(indexed);
            return Keep(std::move(*entry), file);
        }
    }
    index_->Remove(indexed);
    Edit edit{indexed.id, indexed.folder, indexed.mask, {}};
    try {
        Entry entry = StoreFiles::ReadEntry(path, indexed.id, false);
        entry.folder = indexed.folder;
        edit.newMask = entry.mask;
        edits_.push_back(edit);
        const Entry* kept = Keep(std::move(entry), file);
        editFound_(indexed.id, indexed.folder, {});
        return kept;
    } catch (const Failure& failure) {
        edits_.push_back(edit);
        editFound_(indexed.id, indexed.folder, failure.Message());
        return nullptr;
    }
}

/// Reads the entries whose files have changed since the index was written. Listing a directory gives the
/// stamps of all its files at once.
void EntryCache::CheckWaitingEntries() {
    for (const auto& [id, folder] : folders_.All()) {
        if (folder.entries.empty()) {
            continue;
        }
        for (const DirectoryItem& item : ListDirectory(folders_.PathOf(id))) {
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

void EntryCache::TakeOverEdits() {
    for (const Edit& edit : std::exchange(edits_, {})) {
        EraseSorted(byMask_[edit.oldMask], edit.id);
        if (edit.newMask) {
            InsertSorted(byMask_[*edit.newMask], edit.id);
        } else {
            EraseSorted(folders_.At(edit.folder).entries, edit.id);
        }
    }
}

const Entry& EntryCache::Existing(std::int32_t id) {
    Find(id);
    TakeOverEdits();
    return entries_.at(id).entry;
}

const Entry& EntryCache::Add(Entry entry, const FileStamp& file) {
    InsertSorted(folders_.At(entry.folder).entries, entry.id);
    InsertSorted(byMask_[entry.mask], entry.id);
    const std::int32_t id = entry.id;
    return entries_.emplace(id, StoredEntry{std::move(entry), file}).first->second.entry;
}

const Entry& EntryCache::Replace(Entry entry, const FileStamp& file) {
    StoredEntry& stored = entries_.at(entry.id);
    if (entry.mask != stored.entry.mask) {
        EraseSorted(byMask_[stored.entry.mask], entry.id);
        InsertSorted(byMask_[entry.mask], entry.id);
    }
    stored = {std::move(entry), file};
    return stored.entry;
}

std::int32_t EntryCache::Move(std::int32_t id, std::int32_t folder) {
    const std::int32_t before = std::exchange(entries_.at(id).entry.folder, folder);
    EraseSorted(folders_.At(before).entries, id);
    InsertSorted(folders_.At(folder).entries, id);
    return before;
}

void EntryCache::Remove(std::int32_t id) {
    const Entry& entry = entries_.at(id).entry;
    EraseSorted(folders_.At(entry.folder).entries, id);
    EraseSorted(byMask_[entry.mask], id);
    entries_.erase(id);
}

}  // namespace kandora::simulators
