#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "automation/Text.h"
#include "model/Records.h"

namespace kandora {

/// Positions (line numbers) of the index fields in an archive mask. A voucher mask uses the first seven.
struct IndexPositions {
    std::int16_t Barcode = 0;
    std::int16_t BelegNr = 0;
    std::int16_t BelegIndex = 0;
    std::int16_t Belegstatus = 0;
    std::int16_t SesamDocID = 0;
    std::int16_t Valutadatum = 0;
    std::int16_t Betrag = 0;
    std::int16_t Rechnungsdatum = 0;
    std::int16_t OPNr = 0;
    std::int16_t PKNr = 0;
    std::int16_t AdressNr = 0;
    std::int16_t Kundenname = 0;
    std::int16_t Kundenort = 0;
};

/// Positions of the index fields in the report mask.
struct ReportIndexPositions {
    std::int16_t Listenbeschreibung = 0;
    std::int16_t DatumVon = 0;
    std::int16_t DatumBis = 0;
};

/// What is special about an index field.
enum class FieldRole { Plain, Barcode, Status };

/// One index field: its key in the settings, its position in a mask and the record's text that belongs there.
struct IndexField {
    const wchar_t* key;
    std::int16_t IndexPositions::* position;
    Text DocumentRecord::* value;
    FieldRole role = FieldRole::Plain;
};

/// The index fields of debtor and creditor documents, in the order in which they are read and written.
inline constexpr auto indexFieldTable = std::to_array<IndexField>({
    {L"Barcode", &IndexPositions::Barcode, &DocumentRecord::Barcode, FieldRole::Barcode},
    {L"BelegNr", &IndexPositions::BelegNr, &DocumentRecord::BelegNr},
    {L"BelegIndex", &IndexPositions::BelegIndex, &DocumentRecord::BelegIndex},
    {L"Belegstatus", &IndexPositions::Belegstatus, &DocumentRecord::BelegStatus, FieldRole::Status},
    {L"SesamDocID", &IndexPositions::SesamDocID, &DocumentRecord::SesamDocID},
    {L"Valutadatum", &IndexPositions::Valutadatum, &DocumentRecord::Valutadatum},
    {L"Betrag", &IndexPositions::Betrag, &DocumentRecord::Betrag},
    {L"Rechnungsdatum", &IndexPositions::Rechnungsdatum, &DocumentRecord::Rechnungsdatum},
    {L"OPNr", &IndexPositions::OPNr, &DocumentRecord::OPNr},
    {L"PKNr", &IndexPositions::PKNr, &DocumentRecord::PKNr},
    {L"AdressNr", &IndexPositions::AdressNr, &DocumentRecord::AdressNr},
    {L"Kundenname", &IndexPositions::Kundenname, &DocumentRecord::Kundenname},
    {L"Kundenort", &IndexPositions::Kundenort, &DocumentRecord::Kundenort},
});
inline constexpr std::span<const IndexField> partnerIndexFields{indexFieldTable};
/// The index fields of plain vouchers: the first seven.
inline constexpr std::span<const IndexField> voucherIndexFields = partnerIndexFields.first(7);

/// The settings as read from the INI file at start; until then nothing is set and everything is switched off.
struct Settings {
    bool gbDebug = false;        ///< trace every host request into the log
    bool gbArchivAktiv = false;  ///< master switch
    Text gsEloPrinterFile;       ///< file that the archive's virtual printer writes
    Text gsArchivname;           ///< archive to log in to
    bool gbTreuhand = false;     ///< trustee: a year level above each client's folder
    Text gsSagePfad;             ///< top archive folder of this host installation
    std::int32_t glMaskeStruktur = 0;
    std::int32_t glMaskeBelege = 0;
    std::int32_t glMaskeAuswertung = 0;
    std::int32_t glMaskeDebi = 0;
    std::int32_t glMaskeKredi = 0;
    IndexPositions giIdxBeleg;
    ReportIndexPositions giIdxAuswertung;
    IndexPositions giIdxDebi;
    IndexPositions giIdxKredi;
    Text gsEloUserName;
    Text gsEloPasswort;
    Text gsEloKuerzel;
};

/// Archive folders ("/" between levels) and placeholder document of the client that the host has open.
struct ClientFolders {
    Text strPlatzhalterDatei;
    Text strPfadBuchungen;
    Text strPfadAuswertungen;
    Text strPfadDebi;
    Text strPfadKredi;
};

/// What all parts of one thread share. Plain data: who changes what is up to the classes above.
struct SharedState {
    Settings settings;
    bool gbIniOK = false;               ///< the last reading of the settings succeeded
    bool gbMandantArchivAktiv = false;  ///< the archive is on for the client that the host has open
    ClientFolders folders;
    Records records;
};

}  // namespace kandora
