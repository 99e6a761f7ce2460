#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "automation/Text.h"

/// What a comparison of archive and accounting finds. As JSON it is
///
///     "abgleich":
///     {"vollstaendig": true, "mandant": "C:\\Daten\\Muster AG", "geprueft": 3, "andere": 9,
///      "masken": [{"maske": 2, "eintraege": 12}],
///      "befunde": [{"art": "doppelt", "eintrag": 811, "treffer": 4, "nummer": "26101", "index": "1",
///                   "dokId": "20260102080028", "barcode": "MU26000004", "text": "...",
///                   "wodurch": "dokId", "weitere": [812]}]}
///
/// A key that does not apply is absent. `text` is there always, and `eintrag` and `treffer` for every finding
/// about an entry; `nummer`, `index`, `dokId` and `barcode`, also empty, for an entry that was read and for a
/// traced request; `wodurch` and `weitere` for `doppelt`; `felder` for `abweichend` and `andereBuchung`.
/// `treffer` counts as the archive does, from 0: what the component does not look at begins with 10001.
/// `maske` is the mask's number, `eintraege` the entries of all clients in it, `andere` those of them that
/// lie in none of the client's three folders. `grund`, beside `vollstaendig`, says why it is false. After
/// entries were written anew there is also "neuIndexiert": {"geschrieben": [811], "ausgelassen":
/// [{"eintrag": 812, "text": "..."}]}, with "fehler" when it stopped at one. Of several clients it is
/// "abgleiche", a list.
namespace kandora::check {

/// What can be wrong.
enum class Discrepancy {
    Duplicate,
    NoBooking,
    OtherKind,
    Differing,
    OtherBooking,
    Empty,
    Unreachable,
    Pending,
    NotFiled,
    NotDeleted,
    Unreadable,
};

/// What a discrepancy is called.
struct DiscrepancyName {
    Discrepancy kind;
    const wchar_t* key;    ///< for programs
    const wchar_t* title;  ///< for readers
};

inline constexpr auto discrepancies = std::to_array<DiscrepancyName>({
    {Discrepancy::Duplicate, L"doppelt", L"doppelt"},
    {Discrepancy::NoBooking, L"ohneBuchung", L"ohne Buchung"},
    {Discrepancy::OtherKind, L"andereArt", L"andere Art"},
    {Discrepancy::Differing, L"abweichend", L"abweichend"},
    {Discrepancy::OtherBooking, L"andereBuchung", L"andere Buchung?"},
    {Discrepancy::Empty, L"leer", L"leer"},
    {Discrepancy::Unreachable, L"unauffindbar", L"unauffindbar"},
    {Discrepancy::Pending, L"pendent", L"pendent"},
    {Discrepancy::NotFiled, L"nichtAbgelegt", L"nicht abgelegt"},
    {Discrepancy::NotDeleted, L"nichtGeloescht", L"nicht gelöscht"},
    {Discrepancy::Unreadable, L"nichtPruefbar", L"nicht prüfbar"},
});

/// The row of a discrepancy; the rows are in the order of their values.
inline const DiscrepancyName& NameOf(Discrepancy kind) {
    return discrepancies.at(static_cast<std::size_t>(kind));
}

/// What tells vouchers apart.
struct Identity {
    Text number;
    Text index;
    Text docId;
    Text barcode;

    bool operator==(const Identity&) const = default;
};

/// A field in which archive and accounting differ.
struct FieldDifference {
    Text key;  ///< in the settings, or "Kurzbezeichnung"
    Text archive;
    Text accounting;

    bool operator==(const FieldDifference&) const = default;
};

/// One finding.
struct EntryFinding {
    Discrepancy kind = Discrepancy::Unreadable;
    std::int32_t entry = 0;  ///< 0 when it is not about an entry
    std::int32_t hit = 0;    ///< of the entry, in its mask's search
    std::int32_t mask = 0;   ///< of the entry
    bool hasIdentity = false;
    Identity identity;
    Text by;                           ///< what the entries of a double one have in common
    std::vector<std::int32_t> others;  ///< of a double one, behind the one that is hit first
    std::vector<FieldDifference> fields;
    Text text;  ///< a German sentence

    bool operator==(const EntryFinding&) const = default;
};

/// How full a mask is.
struct MaskFill {
    std::int32_t mask = 0;
    Text name;  ///< in the settings
    std::int32_t entries = 0;
};

/// What became of the entries that were to be written anew.
struct Reindexed {
    std::vector<std::int32_t> written;
    std::vector<std::pair<std::int32_t, Text>> left;  ///< as they were, and why
    Text failure;                                     ///< at which it stopped
};

/// What one comparison found.
struct Reconciled {
    bool isComplete = false;
    Text reason;  ///< why it is not complete
    Text client;
    std::int32_t judged = 0;
    std::int32_t others = 0;
    std::vector<MaskFill> masks;
    std::vector<EntryFinding> findings;
    std::optional<Reindexed> reindexed;

    /// 0 nothing, or nothing any more; 1 findings; 2 not complete.
    [[nodiscard]] int ExitCode() const {
        if (!isComplete || (reindexed && !reindexed->failure.empty())) {
            return 2;
        }
        return findings.size() == (reindexed ? reindexed->written.size() : 0) ? 0 : 1;
    }
};

}  // namespace kandora::check
