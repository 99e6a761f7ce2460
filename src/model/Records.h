#pragma once

#include "automation/Text.h"

namespace kandora {

/// What describes one voucher, debtor or creditor document. Dates and amounts are carried as text, as the
/// host delivers them. A plain voucher uses the fields up to `Betrag`.
struct DocumentRecord {
    Text Kurzbezeichnung;  ///< short title of the entry in the archive
    Text Barcode;          ///< barcode of the paper voucher
    Text BelegNr;          ///< voucher number
    Text BelegIndex;       ///< tells vouchers of the same number apart
    Text BelegStatus;      ///< status in the archive
    Text SesamDocID;       ///< the host's document id
    Text Valutadatum;      ///< value date
    Text Betrag;           ///< amount
    Text Rechnungsdatum;   ///< invoice date
    Text OPNr;             ///< number of the open item
    Text PKNr;             ///< the partner's account number
    Text AdressNr;         ///< the partner's address number
    Text Kundenname;       ///< the partner's name
    Text Kundenort;        ///< the partner's postcode and place
};

/// What describes one report.
struct ReportRecord {
    Text Kurzbezeichnung;     ///< short title of the entry in the archive
    Text Listenbeschreibung;  ///< description of the report
    Text DatumVon;            ///< first day of its period, as typed
    Text DatumBis;            ///< last day of its period, as typed
};

/// The shared records, one per kind, filled by the accounting side and read by the filing side.
struct Records {
    DocumentRecord cBeleg;
    DocumentRecord cDebiBeleg;
    DocumentRecord cKrediBeleg;
    ReportRecord cAuswertung;
};

}  // namespace kandora
