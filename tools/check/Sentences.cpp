#include "tools/check/Sentences.h"

#include <algorithm>

#include "archive/ArchiveNumbers.h"

namespace kandora::check::sentence {

namespace {

Text Quoted(const Text& value) {
    return L"«" + value + L"»";
}

/// "keinen", or the entry with a word when it lies elsewhere.
Text Hit(const IndexedIdentity* entry) {
    if (entry == nullptr) {
        return L"keinen Eintrag";
    }
    return L"den Eintrag " + Decimal(entry->id) +
           (entry->isOwn ? L"" : L" ausserhalb der Ordner dieses Mandanten");
}

/// What the entries have in common, as the beginning of a sentence.
Text InCommon(const Doubles& doubles) {
    const Identity& identity = doubles.entries.front()->identity;
    const Text by = doubles.by;
    if (by == L"dokId") {
        return L"Dieselbe Dokument-ID " + Quoted(identity.docId);
    }
    if (by == L"nummer") {
        return L"Dieselbe Belegnummer " + identity.number + L" / " + identity.index;
    }
    return L"Denselben Barcode " + Quoted(identity.barcode);
}

Text RequestAt(const TracedRequest& request) {
    return Text(L"Die Anfrage ") + request.Name() + L" vom " + request.time + L" (" + request.file +
           L", Zeile " + Decimal(request.line) + L")";
}

Text Compared(const std::vector<FieldDifference>& fields) {
    std::vector<Text> parts;
    for (const FieldDifference& field : fields) {
        parts.push_back(field.key + L" " + Quoted(field.archive) + L" statt " + Quoted(field.accounting));
    }
    return Joined(parts, L", ");
}

}  // namespace

Text Duplicate(const Doubles& doubles, const EntryIndex& index) {
    constexpr std::size_t mostNamed = 20;
    std::vector<Text> others;
    for (std::size_t place = 1; place < doubles.entries.size() && place <= mostNamed; ++place) {
        others.push_back(Decimal(doubles.entries[place]->id));
    }
    if (doubles.entries.size() > mostNamed + 1) {
        others.emplace_back(L"…");
    }
    const Identity& identity = doubles.entries.front()->identity;
    const Text change =
        identity.number.empty() ? Hit(nullptr) : Hit(index.FirstByNumber(identity.number, identity.index));
    const Text removal = identity.docId.empty() ? Hit(nullptr) : Hit(index.FirstByDocId(identity.docId));
    return InCommon(doubles) + (others.size() == 1 ? L" hat auch Eintrag " : L" haben auch die Einträge ") +
           Joined(others, L", ") + L". Eine Änderung trifft " + change +
           L", eine Löschung und eine Anzeige treffen " + removal + L".";
}

Text NoBooking(const Identity& identity) {
    return L"Die Buchung " + identity.number + L" / " + identity.index +
           L" lässt sich in der Finanzbuchhaltung nicht lesen.";
}

Text OtherKind(const Text& folder, std::int32_t mask, const Text& rightFolder, std::int32_t rightMask) {
    return L"Liegt in " + Quoted(folder) + L" mit Maske " + Decimal(mask) + L", gehört nach " +
           Quoted(rightFolder) + L" mit Maske " + Decimal(rightMask) + L".";
}

Text Differing(const std::vector<FieldDifference>& fields) {
    return Compared(fields) + L".";
}

Text OtherBooking(const std::vector<FieldDifference>& fields) {
    return L"Nummer und Index stimmen, Datum und Betrag nicht: " + Compared(fields) +
           L". Vielleicht ist die Nummer neu vergeben.";
}

Text Empty() {
    return L"Hat weder Belegnummer noch Dokument-ID.";
}

Text Unreachable(std::int32_t hit) {
    return L"Ist Treffer " + Decimal(std::int64_t{hit} + 1) +
           L" seiner Maske; die Komponente sieht nur die ersten " + Decimal(archive::lastHitExamined + 1) +
           L" durch.";
}

Text Pending(std::int32_t days) {
    return L"Der Status sagt seit " + Decimal(days) + (days == 1 ? L" Tag" : L" Tagen") +
           L" «Pendent»; ob der Beleg inzwischen eingescannt ist, ist nicht bekannt.";
}

Text NotFiled(const TracedRequest& request) {
    return RequestAt(request) + L" hat keinen Eintrag hinterlassen.";
}

Text NotDeleted(const TracedRequest& request) {
    return RequestAt(request) + L" hat den Eintrag stehen lassen.";
}

}  // namespace kandora::check::sentence
