#pragma once

#include <unordered_map>
#include <vector>

#include "tools/check/Reconciled.h"

namespace kandora::check {

/// An entry as the component's searches see it.
struct IndexedIdentity {
    std::int32_t id = 0;
    std::int32_t hit = 0;
    std::size_t order = 0;  ///< its mask's place in the order of searching
    bool isOwn = false;     ///< it lies in one of the client's folders
    Identity identity;

    /// The component looks no further.
    [[nodiscard]] bool IsUnreachable() const noexcept;
};

/// Entries that have something in common, the one that is hit first at their head.
struct Doubles {
    const wchar_t* by = L"";
    std::vector<const IndexedIdentity*> entries;
};

/// Who is found by what. Texts are equal when the component takes them for equal: exactly.
class EntryIndex {
public:
    void Add(IndexedIdentity entry);
    /// Another identity for an entry that is known, or none for one that is gone.
    void Replace(std::int32_t id, const Identity& identity);
    void Remove(std::int32_t id);
    [[nodiscard]] bool Knows(std::int32_t id) const { return places_.contains(id); }

    /// Groups of the client's entries with the same document id, then the same number and index, then the
    /// same barcode. What says nothing new is left out: a group whose entries are all in an earlier one.
    [[nodiscard]] std::vector<Doubles> Duplicates() const;

    /// The entry, whosever it is, that a change of the voucher hits; null when it hits none.
    [[nodiscard]] const IndexedIdentity* FirstByNumber(const Text& number, const Text& index) const;
    /// The entry that a deletion and a look hit.
    [[nodiscard]] const IndexedIdentity* FirstByDocId(const Text& docId) const;
    /// Whether the voucher has an entry, reachable or not: one of the client's with its number and index, or
    /// one that was moved elsewhere, which has its document id as well.
    [[nodiscard]] bool HasEntryOf(const Identity& voucher) const;
    /// The client's entries with the document id.
    [[nodiscard]] std::vector<const IndexedIdentity*> OwnByDocId(const Text& docId) const;

private:
    using Places = std::unordered_multimap<Text, std::size_t>;

    static Text NumberKey(const Identity& identity);
    [[nodiscard]] std::vector<const IndexedIdentity*> With(const Places& places, const Text& key) const;
    [[nodiscard]] const IndexedIdentity* First(const Places& places, const Text& key) const;
    void Enter(std::size_t place);
    void Leave(std::size_t place);

    std::vector<IndexedIdentity> entries_;
    std::unordered_map<std::int32_t, std::size_t> places_;
    Places byDocId_;
    Places byNumber_;
};

}  // namespace kandora::check
