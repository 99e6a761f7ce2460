#include <array>
#include <functional>
#include <utility>

#include "archive/ArchiveNumbers.h"
#include "tools/check/Checks.h"
#include "tools/check/Interruption.h"

namespace kandora::check {

namespace {

/// The short title of every entry that a probe files, and the text of its index fields. Nothing else in an
/// archive is called like this.
constexpr const wchar_t* mark = L"Kandora-Probe, wird sofort wieder entfernt";
constexpr const wchar_t* shortMark = L"KANDORA-PROBE";
constexpr const wchar_t* markDate = L"01.01.2000";
constexpr const wchar_t* markAmount = L"0";

/// Another value for as long as this object lives.
class Instead {
public:
    Instead(Text& variable, const Text& value)
        : variable_(variable), before_(std::exchange(variable, value)) {}
    ~Instead() { variable_ = std::move(before_); }
    Instead(const Instead&) = delete;
    Instead& operator=(const Instead&) = delete;

private:
    Text& variable_;
    Text before_;
};

/// Instead of the host: bookings of the kind that is asked for, with the probe's mark.
class ProbeVouchers final : public VoucherData {
public:
    explicit ProbeVouchers(Records& records) : records_(records) {}

    Text kind;

    Text GetBuchungsType(const Text& /*strBelegNr*/, const Text& /*strBelegIndex*/) override { return kind; }
    void GetDebiDaten(const Text& /*strBelegNr*/, const Text& /*strIndex*/) override {
        Fill(records_.cDebiBeleg);
    }
    void GetKrediDaten(const Text& /*strBelegNr*/, const Text& /*strIndex*/) override {
        Fill(records_.cKrediBeleg);
    }
    void GetBelegDaten(const Text& /*strBelegNr*/, const Text& /*strIndex*/) override {
        Fill(records_.cBeleg);
    }

private:
    static void Fill(DocumentRecord& record) {
        record.Kurzbezeichnung = mark;
        record.Valutadatum = markDate;
        record.Betrag = markAmount;
        record.Rechnungsdatum = markDate;
        record.OPNr = shortMark;
        record.PKNr = markAmount;
        record.AdressNr = markAmount;
        record.Kundenname = shortMark;
        record.Kundenort = shortMark;
    }

    Records& records_;
};

/// An index line with what it must hold.
struct ExpectedField {
    Text key;
    std::int16_t line = 0;
    Text value;
};

class Prober {
public:
    Prober(Report& report, Surroundings& surroundings)
        : report_(report), screen_(surroundings.screen), state_(surroundings.globals.state),
          vouchers_(state_.records), archive_(Context(surroundings.globals)) {}

    void Run() {
        if (!RemoveLeftovers(L"Überreste")) {
            return;
        }
        for (const DocumentKind* kind : documentKinds) {
            ProbeKind(*kind);
        }
        ProbeReport();
        if (isUnclear_) {
            RemoveLeftovers(L"Aufräumen");
        }
        if (Interruption::IsWanted()) {
            report_.Fail(area::probe, L"Abbruch", L"unterbrochen, das Abgelegte ist entfernt",
                         L"Probe wiederholen");
        }
    }

private:
    ArchiveContext Context(MGlobals& globals) {
        const ArchiveContext real = globals.ArchiveSide();
        return {real.platform, real.userInterface, real.errHandler, real.state, vouchers_, real.user};
    }

    void ProbeKind(const DocumentKind& kind) {
        vouchers_.kind = kind.name;
        ProbeFolder(
            kind.name, state_.folders.*kind.folder.path, state_.settings.*kind.mask,
            [&] {
                return archive_.AddDokument(Text(state_.folders.strPlatzhalterDatei), shortMark, shortMark,
                                            markAmount, L"Pendent", shortMark);
            },
            [&] {
                std::vector<ExpectedField> expected;
                const DocumentRecord& record = state_.records.*kind.record;
                for (const IndexField& field : kind.fields) {
                    expected.push_back(
                        {field.key, state_.settings.*kind.positions.*field.position, record.*field.value});
                }
                return expected;
            });
    }

    /// A report's document is what the printer has written; here the placeholder stands in for it.
    void ProbeReport() {
        const Settings& settings = state_.settings;
        ProbeFolder(
            L"Auswertung", state_.folders.strPfadAuswertungen, settings.glMaskeAuswertung,
            [&] {
                const Instead printed(state_.settings.gsEloPrinterFile, state_.folders.strPlatzhalterDatei);
                screen_.report = ReportRecord{mark, shortMark, markDate, markDate};
                archive_.SaveAuswertung();
                return archive_.oElo().Get(L"GetEntryId", archive::filedEntry).ToLong();
            },
            [&] {
                const ReportIndexPositions& lines = settings.giIdxAuswertung;
                return std::vector<ExpectedField>{
                    {L"Listenbeschreibung", lines.Listenbeschreibung, shortMark},
                    {L"DatumVon", lines.DatumVon, markDate},
                    {L"DatumBis", lines.DatumBis, markDate}};
            });
    }

    void ProbeFolder(const Text& name, const Text& folder, std::int32_t mask,
                     const std::function<std::int32_t()>& file,
                     const std::function<std::vector<ExpectedField>()>& expected) {
        if (Interruption::IsWanted()) {
            return;
        }
        Text value = folder + L", Maske " + Decimal(mask);
        try {
            // Before anything is filed: a document without a folder would stay in the postbox.
            if (const Text missing = archive_.CheckPFadVorhanden(folder); !missing.empty()) {
                report_.Fail(area::probe, name, missing,
                             L"Ordner im Archiv anlegen oder die Option berichtigen");
                return;
            }
            isUnclear_ = true;
            const std::int32_t id = file();
            const Text wrong = Interruption::IsWanted() ? Text() : ReadBack(id, mask, expected());
            archive_.LoescheDokument(id);
            const bool isGone = !archive_.IsDokumentVorhanden(id);
            isUnclear_ = !isGone;
            value += L": Eintrag " + Decimal(id) + L" abgelegt, gelesen";
            if (!isGone) {
                report_.Fail(area::probe, name, value + L", aber nicht entfernt",
                             L"Hat der Benutzer im Archiv das Recht zu löschen? Eintrag von Hand löschen");
            } else if (!wrong.empty()) {
                report_.Fail(area::probe, name, value + L" und entfernt; falsch gelesen: " + wrong,
                             L"Zeilen in Kandora.ini mit den Zeilen der Maske im Archiv vergleichen");
            } else {
                report_.Good(area::probe, name, value + L" und entfernt");
            }
        } catch (...) {
            report_.Fail(
                area::probe, name, value + L": " + TextOfError(CurrentError()),
                L"Hat der Benutzer im Archiv das Recht, in diesen Ordner abzulegen? Im Postkorb kann "
                L"ein Platzhalter liegen");
        }
    }

    /// What differs from what was written; empty when nothing does.
    Text ReadBack(std::int32_t id, std::int32_t mask, const std::vector<ExpectedField>& expected) {
        std::int32_t asked = id;
        archive_.oElo().Call(L"PrepareObjectEx", ByRef(asked), archive::none, archive::none);
        std::vector<Text> wrong;
        const auto compare = [&](const Text& what, const Text& found, const Text& wanted) {
            if (found != wanted) {
                wrong.push_back(what + L" «" + found + L"» statt «" + wanted + L"»");
            }
        };
        compare(L"Maske", archive_.oElo().Get(L"ObjMaskNo").ToText(), Decimal(mask));
        compare(L"Kurzbezeichnung", archive_.oElo().Get(L"ObjShort").ToText(), mark);
        for (const ExpectedField& field : expected) {
            const bool isStatus = field.key == L"Belegstatus";
            std::int16_t line = field.line;
            compare(L"Zeile " + Decimal(line) + L" " + field.key,
                    archive_.oElo().Get(L"getobjAttrib", ByRef(line)).ToText(),
                    isStatus ? Text(L"Pendent") : field.value);
        }
        return Joined(wrong, L", ");
    }

    /// Removes what is marked: leftovers of a probe that was killed, or of this one. False after an error,
    /// which has been reported.
    bool RemoveLeftovers(const wchar_t* name) {
        try {
            const Settings& settings = state_.settings;
            const std::array<std::pair<std::int32_t, std::int16_t>, 4> places{{
                {settings.glMaskeBelege, settings.giIdxBeleg.SesamDocID},
                {settings.glMaskeDebi, settings.giIdxDebi.SesamDocID},
                {settings.glMaskeKredi, settings.giIdxKredi.SesamDocID},
                {settings.glMaskeAuswertung, settings.giIdxAuswertung.Listenbeschreibung},
            }};
            std::int32_t removed = 0;
            for (const auto& [mask, line] : places) {
                for (const std::int32_t id : Marked(mask, line)) {
                    if (RemoveMarked(id)) {
                        ++removed;
                    }
                }
            }
            if (removed > 0) {
                report_.Good(area::probe, name,
                             Decimal(removed) + (removed == 1 ? L" Eintrag" : L" Einträge") +
                                 L" einer abgebrochenen Probe entfernt");
            }
            isUnclear_ = false;
            return true;
        } catch (...) {
            report_.Fail(area::probe, name, TextOfError(CurrentError()),
                         Text(L"Einträge mit der Kurzbezeichnung «") + mark + L"» von Hand löschen");
            return false;
        }
    }

    /// The hits of a search for the mark, all of them at once: loading an entry may disturb the search.
    std::vector<std::int32_t> Marked(std::int32_t mask, std::int16_t line) {
        archive_.oElo().Call(L"PrepareObjectEx", archive::none, archive::none, ByRef(mask));
        archive_.oElo().Call(L"setobjAttrib", ByRef(line), Text(shortMark));
        archive_.oElo().Call(L"DoInvisibleSearch");
        std::vector<std::int32_t> ids;
        for (std::int32_t hit = 0;; ++hit) {
            const std::int32_t id = archive_.oElo().Get(L"GetEntryId", archive::firstHit + hit).ToLong();
            if (id < archive::lowestObjectId) {
                return ids;
            }
            ids.push_back(id);
        }
    }

    bool RemoveMarked(std::int32_t id) {
        std::int32_t asked = id;
        archive_.oElo().Call(L"PrepareObjectEx", ByRef(asked), archive::none, archive::none);
        if (archive_.oElo().Get(L"ObjShort").ToText() != mark) {
            return false;
        }
        archive_.LoescheDokument(id);
        return true;
    }

    Report& report_;
    SilentUserInterface& screen_;
    SharedState& state_;
    ProbeVouchers vouchers_;
    ELODMS archive_;
    bool isUnclear_ = false;  ///< something that was filed may still be there
};

}  // namespace

void Probe(Report& report, Surroundings& surroundings) {
    const Interruption interruption;  // outlives the prober's session with the archive
    Prober(report, surroundings).Run();
    surroundings.globals.goErrHandler().Clear();
}

}  // namespace kandora::check
