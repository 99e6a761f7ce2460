#include "tools/check/BookingJudge.h"

#include <algorithm>

#include "tools/check/Sentences.h"

namespace kandora::check {

namespace {

/// Whether one of the fields is this one.
bool Holds(const std::vector<FieldDifference>& fields, const DocumentKind& kind,
           Text DocumentRecord::* value) {
    const auto field = std::ranges::find(kind.fields, value, &IndexField::value);
    return std::ranges::any_of(fields, [&](const FieldDifference& known) { return known.key == field->key; });
}

bool IsDateOrAmount(const FieldDifference& field, const DocumentKind& kind) {
    return std::ranges::any_of(kind.fields, [&](const IndexField& row) {
        return field.key == row.key &&
               (row.value == &DocumentRecord::Valutadatum || row.value == &DocumentRecord::Betrag);
    });
}

}  // namespace

EntryFinding AboutEntry(Discrepancy kind, const ArchivedEntry& entry) {
    EntryFinding finding;
    finding.kind = kind;
    finding.entry = entry.id;
    finding.hit = entry.hit;
    finding.mask = entry.mask;
    finding.hasIdentity = true;
    finding.identity = entry.identity;
    return finding;
}

BookingJudge::BookingJudge(MGlobals& globals, const EntryReader& reader)
    : globals_(globals), reader_(reader), rehearsal_(globals, LateBound()) {}

const DocumentKind* BookingJudge::Rehearse(const Identity& identity, const Text& barcode) {
    try {
        return KindOf(rehearsal_.File(identity.number, identity.index, barcode, identity.docId));
    } catch (const RuntimeError&) {
        if (rehearsal_.IsBookingMissing()) {
            return nullptr;
        }
        throw;
    }
}

bool BookingJudge::HasBooking(const Identity& identity) {
    return Rehearse(identity, {}) != nullptr;
}

std::vector<EntryFinding> BookingJudge::Judge(const ArchivedEntry& entry, const Text& barcode) {
    std::vector<EntryFinding> findings;
    const auto add = [&](Discrepancy kind, Text text, std::vector<FieldDifference> fields = {}) {
        findings.push_back(AboutEntry(kind, entry));
        findings.back().text = std::move(text);
        findings.back().fields = std::move(fields);
    };
    if (entry.identity.number.empty() && entry.identity.docId.empty()) {
        add(Discrepancy::Empty, sentence::Empty());
        return findings;
    }
    const DocumentKind* const kind = Rehearse(entry.identity, barcode);
    if (kind == nullptr) {
        add(Discrepancy::NoBooking, sentence::NoBooking(entry.identity));
        return findings;
    }
    const SharedState& state = globals_.state;
    const std::int32_t mask = state.settings.*kind->mask;
    if (mask != entry.mask || reader_.FolderOf(*kind) != entry.folder) {
        add(Discrepancy::OtherKind, sentence::OtherKind(reader_.PathOf(entry.folder), entry.mask,
                                                        state.folders.*kind->folder.path, mask));
    }
    if (mask != entry.mask) {
        return findings;  // a change would write into lines that mean something else here
    }
    std::vector<FieldDifference> fields = Differences(entry, *kind, !barcode.empty());
    if (Holds(fields, *kind, &DocumentRecord::Valutadatum) && Holds(fields, *kind, &DocumentRecord::Betrag)) {
        std::erase_if(fields, [&](const FieldDifference& field) { return !IsDateOrAmount(field, *kind); });
        add(Discrepancy::OtherBooking, sentence::OtherBooking(fields), fields);
    } else if (!fields.empty()) {
        add(Discrepancy::Differing, sentence::Differing(fields), fields);
    }
    return findings;
}

std::vector<FieldDifference> BookingJudge::Differences(const ArchivedEntry& entry, const DocumentKind& kind,
                                                       bool withBarcode) const {
    const NotedEntry& noted = rehearsal_.Noted();
    std::vector<FieldDifference> fields;
    if (entry.title && *entry.title != noted.title) {
        fields.push_back({L"Kurzbezeichnung", *entry.title, noted.title});
    }
    for (std::size_t place = 0; place < noted.fields.size() && place < kind.fields.size(); ++place) {
        const auto& [line, value] = noted.fields[place];
        const IndexField& field = kind.fields[place];
        // Of two fields on one line the last one stays.
        const bool isOverwritten =
            std::any_of(noted.fields.begin() + static_cast<std::ptrdiff_t>(place) + 1, noted.fields.end(),
                        [&](const auto& later) { return later.first == line; });
        const bool isTold = field.role != FieldRole::Barcode || withBarcode;
        const auto archived = entry.fields.find(line);
        if (field.role != FieldRole::Status && isTold && !isOverwritten && archived != entry.fields.end() &&
            archived->second != value) {
            fields.push_back({field.key, archived->second, value});
        }
    }
    return fields;
}

}  // namespace kandora::check
