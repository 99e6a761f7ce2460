#include "tools/check/EntryIndex.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <tuple>

#include "archive/ArchiveNumbers.h"

namespace kandora::check {

namespace {

/// The component's searches go through all reachable entries, mask by mask.
bool ComesFirst(const IndexedIdentity* left, const IndexedIdentity* right) {
    return std::tuple(left->IsUnreachable(), left->order, left->hit) <
           std::tuple(right->IsUnreachable(), right->order, right->hit);
}

/// Something by which entries can be double: its name, and its key, which is empty when it says nothing.
struct Criterion {
    const wchar_t* name;
    Text (*key)(const Identity& identity);
};

Text KeyOf(const Text& number, const Text& index) {
    return number + L'\0' + index;
}

constexpr auto criteria = std::to_array<Criterion>({
    {L"dokId", [](const Identity& identity) { return identity.docId; }},
    {L"nummer",
     [](const Identity& identity) {
         return identity.number.empty() ? Text() : KeyOf(identity.number, identity.index);
     }},
    {L"barcode", [](const Identity& identity) { return identity.barcode; }},
});

}  // namespace

bool IndexedIdentity::IsUnreachable() const noexcept {
    return hit > archive::lastHitExamined;
}

Text EntryIndex::NumberKey(const Identity& identity) {
    return KeyOf(identity.number, identity.index);
}

void EntryIndex::Add(IndexedIdentity entry) {
    places_[entry.id] = entries_.size();
    entries_.push_back(std::move(entry));
    Enter(entries_.size() - 1);
}

void EntryIndex::Enter(std::size_t place) {
    byDocId_.emplace(entries_[place].identity.docId, place);
    byNumber_.emplace(NumberKey(entries_[place].identity), place);
}

void EntryIndex::Leave(std::size_t place) {
    const auto erase = [place](Places& places, const Text& key) {
        const auto [first, last] = places.equal_range(key);
        const auto found =
            std::find_if(first, last, [place](const auto& known) { return known.second == place; });
        if (found != last) {
            places.erase(found);
        }
    };
    erase(byDocId_, entries_[place].identity.docId);
    erase(byNumber_, NumberKey(entries_[place].identity));
}

void EntryIndex::Replace(std::int32_t id, const Identity& identity) {
    const std::size_t place = places_.at(id);
    Leave(place);
    entries_[place].identity = identity;
    Enter(place);
}

void EntryIndex::Remove(std::int32_t id) {
    const std::size_t place = places_.at(id);
    Leave(place);
    entries_[place].isOwn = false;
    entries_[place].identity = {};
    places_.erase(id);
}

std::vector<Doubles> EntryIndex::Duplicates() const {
    std::vector<Doubles> found;
    std::vector<std::set<std::int32_t>> told;
    std::unordered_multimap<std::int32_t, std::size_t> toldOf;
    const auto isTold = [&](const std::set<std::int32_t>& ids) {
        const auto [first, last] = toldOf.equal_range(*ids.begin());
        return std::any_of(first, last, [&](const auto& earlier) {
            return std::ranges::includes(told[earlier.second], ids);
        });
    };
    for (const Criterion& criterion : criteria) {
        std::map<Text, std::vector<const IndexedIdentity*>> groups;
        for (const IndexedIdentity& entry : entries_) {
            if (const Text key = entry.isOwn ? criterion.key(entry.identity) : Text(); !key.empty()) {
                groups[key].push_back(&entry);
            }
        }
        for (auto& [key, entries] : groups) {
            std::set<std::int32_t> ids;
            for (const IndexedIdentity* entry : entries) {
                ids.insert(entry->id);
            }
            if (ids.size() < 2 || isTold(ids)) {
                continue;
            }
            std::ranges::sort(entries, ComesFirst);
            found.push_back({criterion.name, std::move(entries)});
            for (const std::int32_t id : ids) {
                toldOf.emplace(id, told.size());
            }
            told.push_back(std::move(ids));
        }
    }
    return found;
}

std::vector<const IndexedIdentity*> EntryIndex::With(const Places& places, const Text& key) const {
    std::vector<const IndexedIdentity*> found;
    const auto [first, last] = places.equal_range(key);
    for (auto known = first; known != last; ++known) {
        found.push_back(&entries_[known->second]);
    }
    std::ranges::sort(found, ComesFirst);
    return found;
}

const IndexedIdentity* EntryIndex::First(const Places& places, const Text& key) const {
    const auto found = With(places, key);
    return found.empty() || found.front()->IsUnreachable() ? nullptr : found.front();
}

const IndexedIdentity* EntryIndex::FirstByNumber(const Text& number, const Text& index) const {
    return First(byNumber_, KeyOf(number, index));
}

const IndexedIdentity* EntryIndex::FirstByDocId(const Text& docId) const {
    return First(byDocId_, docId);
}

bool EntryIndex::HasEntryOf(const Identity& voucher) const {
    return std::ranges::any_of(With(byNumber_, NumberKey(voucher)), [&](const IndexedIdentity* entry) {
        return entry->isOwn || entry->identity.docId == voucher.docId;
    });
}

std::vector<const IndexedIdentity*> EntryIndex::OwnByDocId(const Text& docId) const {
    auto found = With(byDocId_, docId);
    std::erase_if(found, [](const IndexedIdentity* entry) { return !entry->isOwn; });
    return found;
}

}  // namespace kandora::check
