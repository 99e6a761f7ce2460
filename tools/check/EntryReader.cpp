#include "tools/check/EntryReader.h"

#include <algorithm>

#include "archive/ArchiveNumbers.h"
#include "automation/Errors.h"

namespace kandora::check {

namespace {

/// A number that the archive answers. An answer that is none would count as 0, which means something.
std::int32_t Number(const wchar_t* member, const Variant& answer) {
    if (answer.IsEmpty() || answer.IsNull() || answer.IsObject() || answer.IsArray() ||
        answer.Type() == VT_BOOL || answer.Type() == VT_ERROR) {
        throw RuntimeError(errors::typeMismatch, Text(member) + L": keine Zahl");
    }
    return answer.ToLong();
}

Text String(const wchar_t* member, const Variant& answer) {
    if (answer.Type() != VT_BSTR && !answer.IsEmpty()) {
        const bool isNumber = answer.IsNumeric();
        throw RuntimeError(errors::typeMismatch,
                           Text(member) + (isNumber ? L"=" + answer.ToText() : Text(L": kein Text")));
    }
    return answer.ToText();
}

}  // namespace

EntryReader::EntryReader(ELODMS& archive, const SharedState& state) : archive_(archive), state_(state) {}

void EntryReader::FindFolders() {
    for (const DocumentKind* kind : searchOrder) {
        folders_[kind] = archive_.FolderId(kind->folder);
    }
}

std::int32_t EntryReader::FolderOf(const DocumentKind& kind) const {
    return folders_.at(&kind);
}

Text EntryReader::PathOf(std::int32_t folder) const {
    const auto found = std::ranges::find(folders_, folder, [](const auto& known) { return known.second; });
    return found == folders_.end() ? Text() : state_.folders.*found->first->folder.path;
}

MaskSearch EntryReader::Search(const DocumentKind& kind) {
    MaskSearch search{&kind, 0, {}};
    std::int32_t mask = state_.settings.*kind.mask;
    if (const std::int32_t answer = Number(
            L"PrepareObjectEx", session_.Get(L"PrepareObjectEx", archive::none, archive::none, ByRef(mask)));
        answer < 0) {
        throw RuntimeError(errors::invalidArgument, L"PrepareObjectEx=" + Decimal(answer));
    }
    // Nobody examines what it answers, as long as that is no code of an error.
    if (const Variant answer = session_.Get(L"DoInvisibleSearch");
        answer.IsNumeric() && answer.ToLong() < 0) {
        throw RuntimeError(errors::invalidArgument, L"DoInvisibleSearch=" + answer.ToText());
    }
    // All of them at once: loading an entry may disturb the search.
    for (std::int32_t hit = 0;; ++hit) {
        const auto ask = [&] {
            const std::int32_t id =
                Number(L"GetEntryId", session_.Get(L"GetEntryId", archive::firstHit + hit));
            if (id < 0) {
                throw RuntimeError(errors::invalidArgument, L"GetEntryId=" + Decimal(id));
            }
            return id;
        };
        std::int32_t id = ask();
        if (id < archive::lowestObjectId) {
            id = ask();  // the end of the search is too important for a single answer
        }
        if (id < archive::lowestObjectId) {
            return search;
        }
        search.hits.push_back(id);
    }
}

bool EntryReader::Load(std::int32_t id, std::int32_t mask) {
    std::int32_t asked = id;
    const std::int32_t answer = Number(
        L"PrepareObjectEx", session_.Get(L"PrepareObjectEx", ByRef(asked), archive::none, ByRef(mask)));
    if (answer < 0) {
        throw RuntimeError(errors::invalidArgument, L"PrepareObjectEx=" + Decimal(answer));
    }
    return answer > 0;
}

Text EntryReader::Field(std::int16_t line) {
    return String(L"getobjAttrib", session_.Get(L"getobjAttrib", ByRef(line)));
}

std::optional<ArchivedEntry> EntryReader::Read(const MaskSearch& search, std::int32_t hit, std::int32_t id) {
    const std::int32_t mask = state_.settings.*search.kind->mask;
    if (!Load(id, mask) && !Load(id, mask)) {
        return std::nullopt;
    }
    ArchivedEntry entry;
    entry.id = id;
    entry.hit = hit;
    entry.order = search.order;
    entry.mask = mask;
    entry.folder = Number(L"ObjMainParent", session_.Get(L"ObjMainParent"));
    if (entry.folder <= 0) {
        throw RuntimeError(errors::invalidArgument, L"ObjMainParent=" + Decimal(entry.folder));
    }
    entry.isOwn =
        std::ranges::any_of(folders_, [&](const auto& known) { return known.second == entry.folder; });
    const IndexPositions& lines = state_.settings.*search.kind->positions;
    if (entry.isOwn) {
        ReadAll(entry);
        entry.identity.barcode = entry.fields[lines.Barcode];
        entry.identity.number = entry.fields[lines.BelegNr];
        entry.identity.index = entry.fields[lines.BelegIndex];
        entry.identity.docId = entry.fields[lines.SesamDocID];
        entry.status = entry.fields[lines.Belegstatus];
        entry.valueDate = entry.fields[lines.Valutadatum];
    } else {
        // What a search of the component may hit instead of an own entry.
        entry.identity.number = Field(lines.BelegNr);
        entry.identity.index = Field(lines.BelegIndex);
        entry.identity.docId = Field(lines.SesamDocID);
    }
    return entry;
}

/// The lines of every kind that uses the mask: which one an entry is of shows only with its booking.
void EntryReader::ReadAll(ArchivedEntry& entry) {
    for (const DocumentKind* kind : searchOrder) {
        if (state_.settings.*kind->mask != entry.mask) {
            continue;
        }
        for (const IndexField& field : kind->fields) {
            const std::int16_t line = state_.settings.*kind->positions.*field.position;
            if (!entry.fields.contains(line)) {
                entry.fields[line] = Field(line);
            }
        }
    }
    entry.title = Title();
}

std::optional<Text> EntryReader::Title() {
    if (!hasTitles_) {
        return std::nullopt;
    }
    try {
        return String(L"ObjShort", session_.Get(L"ObjShort"));
    } catch (const RuntimeError& error) {
        // An archive that lets the short title only be written: nothing is to be compared then.
        if (error.Number() != errors::unknownMember && error.Number() != errors::argumentCount) {
            throw;
        }
        hasTitles_ = false;
        return std::nullopt;
    }
}

std::vector<const DocumentKind*> MasksInOrder(const Settings& settings) {
    std::vector<const DocumentKind*> kinds;
    for (const DocumentKind* kind : searchOrder) {
        if (std::ranges::none_of(kinds, [&](const DocumentKind* earlier) {
                return settings.*earlier->mask == settings.*kind->mask;
            })) {
            kinds.push_back(kind);
        }
    }
    return kinds;
}

}  // namespace kandora::check
