#pragma once

#include <array>
#include <span>

#include "archive/VoucherData.h"
#include "model/Settings.h"

namespace kandora {

/// An archive folder that documents are filed into.
struct FilingFolder {
    const wchar_t* procedure;    ///< name in the call stack
    Text ClientFolders::* path;  ///< where its path stands
    const wchar_t* missing;      ///< message when the archive does not know it; the path follows
};

inline constexpr FilingFolder voucherFolder{L"lBelegDokumente", &ClientFolders::strPfadBuchungen,
                                            L"Ordner für Belegdokumente nicht im ELO gefunden: "};
inline constexpr FilingFolder debtorFolder{L"lDebiDokumente", &ClientFolders::strPfadDebi,
                                           L"Ordner für Debitorendokumente nicht im ELO gefunden: "};
/// Deliberately reports a missing folder in the debtors' words.
inline constexpr FilingFolder creditorFolder{L"lKrediDokumente", &ClientFolders::strPfadKredi,
                                             L"Ordner für Debitorendokumente nicht im ELO gefunden: "};
inline constexpr FilingFolder reportFolder{L"lAuswertungsDokumente", &ClientFolders::strPfadAuswertungen,
                                           L"Ordner für Auswertungen nicht im ELO gefunden: "};

/// Everything in which the document kinds differ.
struct DocumentKind {
    const wchar_t* name;  ///< as the accounting side calls it; compared exactly
    DocumentRecord Records::* record;
    void (VoucherData::*readData)(const Text& strBelegNr, const Text& strIndex);
    std::int32_t Settings::* mask;
    IndexPositions Settings::* positions;
    std::span<const IndexField> fields;
    FilingFolder folder;
    const wchar_t* addProcedure;  ///< names in the call stack
    const wchar_t* editProcedure;
};

/// In the order in which a booking's kind is compared with them.
inline constexpr auto documentKinds = std::to_array<DocumentKind>({
    {L"Debi", &Records::cDebiBeleg, &VoucherData::GetDebiDaten, &Settings::glMaskeDebi, &Settings::giIdxDebi,
     partnerIndexFields, debtorFolder, L"AddDebi", L"EditDebi"},
    {L"Kredi", &Records::cKrediBeleg, &VoucherData::GetKrediDaten, &Settings::glMaskeKredi,
     &Settings::giIdxKredi, partnerIndexFields, creditorFolder, L"AddKredi", L"EditKredi"},
    {L"Beleg", &Records::cBeleg, &VoucherData::GetBelegDaten, &Settings::glMaskeBelege, &Settings::giIdxBeleg,
     voucherIndexFields, voucherFolder, L"AddBeleg", L"EditBeleg"},
});

/// One pass of a search over the documents of one kind.
struct SearchPass {
    std::int32_t Settings::* mask;
    IndexPositions Settings::* positions;
};

/// In the order in which documents are looked for: vouchers are what is asked for most.
inline constexpr auto searchPasses = std::to_array<SearchPass>({
    {&Settings::glMaskeBelege, &Settings::giIdxBeleg},
    {&Settings::glMaskeKredi, &Settings::giIdxKredi},
    {&Settings::glMaskeDebi, &Settings::giIdxDebi},
});

}  // namespace kandora
