#pragma once

#include <algorithm>
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
    const wchar_t* maskKey;  ///< of the mask's number in the settings
    IndexPositions Settings::* positions;
    const wchar_t* indexSection;         ///< of the positions in the settings
    std::span<const IndexField> fields;  ///< in the order in which they are read and written
    FilingFolder folder;
    const wchar_t* addProcedure;  ///< names in the call stack
    const wchar_t* editProcedure;
};

inline constexpr DocumentKind debtorKind{L"Debi",
                                         &Records::cDebiBeleg,
                                         &VoucherData::GetDebiDaten,
                                         &Settings::glMaskeDebi,
                                         L"Debi",
                                         &Settings::giIdxDebi,
                                         L"IndexDebi",
                                         partnerIndexFields,
                                         debtorFolder,
                                         L"AddDebi",
                                         L"EditDebi"};
inline constexpr DocumentKind creditorKind{L"Kredi",
                                           &Records::cKrediBeleg,
                                           &VoucherData::GetKrediDaten,
                                           &Settings::glMaskeKredi,
                                           L"Kredi",
                                           &Settings::giIdxKredi,
                                           L"IndexKredi",
                                           partnerIndexFields,
                                           creditorFolder,
                                           L"AddKredi",
                                           L"EditKredi"};
inline constexpr DocumentKind voucherKind{L"Beleg",
                                          &Records::cBeleg,
                                          &VoucherData::GetBelegDaten,
                                          &Settings::glMaskeBelege,
                                          L"Belege",
                                          &Settings::giIdxBeleg,
                                          L"IndexBelege",
                                          voucherIndexFields,
                                          voucherFolder,
                                          L"AddBeleg",
                                          L"EditBeleg"};

/// In the order in which a booking's kind is compared with them.
inline constexpr std::array documentKinds{&debtorKind, &creditorKind, &voucherKind};
/// In the order in which documents are looked for: vouchers are what is asked for most.
inline constexpr std::array searchOrder{&voucherKind, &creditorKind, &debtorKind};

/// The kind of this name; null when documents of the kind are not filed.
[[nodiscard]] inline const DocumentKind* KindOf(TextView name) {
    const auto* const kind = std::ranges::find(documentKinds, name, &DocumentKind::name);
    return kind == documentKinds.end() ? nullptr : *kind;
}

}  // namespace kandora
