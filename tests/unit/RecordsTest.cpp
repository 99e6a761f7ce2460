#include "model/Records.h"

#include <gtest/gtest.h>

#include "archive/cUser.h"
#include "model/Settings.h"
#include "tests/support/Rendering.h"

namespace kandora::test {
namespace {

TEST(Records, StartEmpty) {
    const Records records;
    for (const DocumentRecord* const record : {&records.cBeleg, &records.cDebiBeleg, &records.cKrediBeleg}) {
        EXPECT_EQ(record->Kurzbezeichnung, L"");
        for (const IndexField& field : partnerIndexFields) {
            EXPECT_EQ(record->*field.value, L"") << Spelled(field.key);
        }
    }
    const ReportRecord& report = records.cAuswertung;
    EXPECT_EQ(report.Kurzbezeichnung + report.Listenbeschreibung + report.DatumVon + report.DatumBis, L"");
}

TEST(Records, GiveEachIndexFieldAPlaceOfItsOwn) {
    DocumentRecord record;
    IndexPositions positions;
    std::int16_t next = 1;
    for (const IndexField& field : partnerIndexFields) {
        record.*field.value = Text(L" ") + field.key + L" ";
        positions.*field.position = next++;
    }
    next = 1;
    for (const IndexField& field : partnerIndexFields) {
        EXPECT_EQ(record.*field.value, Text(L" ") + field.key + L" ");
        EXPECT_EQ(positions.*field.position, next++);
    }
}

TEST(Records, HaveThirteenIndexFieldsOfWhichAVoucherUsesSeven) {
    Text names;
    for (const IndexField& field : partnerIndexFields) {
        names += Text(field.key) + L" ";
    }
    EXPECT_EQ(
        names,
        L"Barcode BelegNr BelegIndex Belegstatus SesamDocID Valutadatum Betrag Rechnungsdatum OPNr PKNr "
        L"AdressNr Kundenname Kundenort ");
    EXPECT_EQ(voucherIndexFields.size(), 7U);
    EXPECT_EQ(voucherIndexFields.data(), partnerIndexFields.data());
}

TEST(SharedStateOfAThread, StartsSwitchedOff) {
    const SharedState state;
    EXPECT_FALSE(state.gbIniOK);
    EXPECT_FALSE(state.gbMandantArchivAktiv);
    EXPECT_FALSE(state.settings.gbDebug);
    EXPECT_FALSE(state.settings.gbArchivAktiv);
    EXPECT_FALSE(state.settings.gbTreuhand);
    EXPECT_EQ(state.settings.glMaskeBelege, 0);
    EXPECT_EQ(state.folders.strPlatzhalterDatei + state.folders.strPfadBuchungen, L"");
}

TEST(UserRecord, HasCredentialsWhenNameOrPasswordIsFilled) {
    EXPECT_FALSE((cUser{L"", L"", L"an"}.bLoggedOn()));
    EXPECT_TRUE((cUser{L"anna", L"", L""}.bLoggedOn()));
    EXPECT_TRUE((cUser{L"", L"geheim", L""}.bLoggedOn()));
    EXPECT_TRUE((cUser{L"anna", L"geheim", L"an"}.bLoggedOn()));
}

}  // namespace
}  // namespace kandora::test
