// How a booking is classified and its data, with open item, account and address, reaches the record of its
// kind.

#include "tests/protocol/AccountingFixture.h"

namespace kandora::test {
namespace {

const std::string open = "fibu.istoffen -> BOOL True";

class BookingKind : public AccountingTest {
protected:
    BookingKind() {
        Sok().oSesamFibu();
        talk.Take();
    }
    static Lines Loaded(const std::string& answer = "I4 0") {
        return {open, "fibu.neubuchung -> booking", R"(booking.lesen(BSTR& "17", BSTR& "2") -> )" + answer};
    }
};

TEST_F(BookingKind, FollowsFromTheOrigin) {
    struct Case {
        int origin;
        const wchar_t* kind;
    };
    for (const Case& row :
         std::vector<Case>{{1, L"Debi"}, {2, L"Kredi"}, {0, L"Beleg"}, {3, L"Beleg"}, {-1, L"Beleg"}}) {
        booking->Answers(L"ursprung", row.origin);
        EXPECT_EQ(Sok().GetBuchungsType(L"17", L"2"), row.kind);
        const std::string asked = "booking.ursprung -> I4 " + std::to_string(row.origin);
        Expect(Together({Loaded(), row.origin == 1 ? Lines{asked} : Lines{asked, asked}}));
    }
}

TEST_F(BookingKind, TakesAnOriginOfAnyNumericType) {
    for (const Variant& origin : {Variant(std::int16_t{2}), Variant(L"2")}) {
        booking->Answers(L"ursprung", origin);
        EXPECT_EQ(Sok().GetBuchungsType(L"17", L"2"), L"Kredi");
    }
    booking->Answers(L"ursprung", Variant::Null());
    EXPECT_EQ(Sok().GetBuchungsType(L"17", L"2"), L"Beleg");
    talk.Take();
}

TEST_F(BookingKind, CannotBeToldWhenTheBookingCannotBeRead) {
    for (const int answer : {-1, 1, 3021}) {
        booking->Next(L"lesen", answer);
        const RuntimeError error = ErrorOf([&] { Sok().GetBuchungsType(L"17", L"2"); });
        EXPECT_EQ(error.Number(), 5010);
        EXPECT_EQ(error.Description(), L"Belegtyp konnte nicht gelesen werden");
        EXPECT_EQ(error.Source(), L"");
        Expect(Loaded("I4 " + std::to_string(answer)));
    }
    EXPECT_EQ(handler.lOriginalNumber(), 0) << "the callers record it";
}

/// The booking is kept although it was not loaded, and the next questions still go to it.
TEST_F(BookingKind, LeavesTheUnloadedBookingToTheNextDataCall) {
    booking->Next(L"lesen", -1);
    EXPECT_EQ(NumberRaisedBy([&] { Sok().GetBuchungsType(L"17", L"2"); }), 5010);
    talk.Take();
    booking->Next(L"Text", L"");
    booking->Next(L"Datum", Failure::Exception(3021, L"kein Datensatz"));
    state.records.cBeleg.Kurzbezeichnung = L"vorher";
    state.records.cBeleg.Betrag = L"vorher";
    const RuntimeError error = ErrorOf([&] { Sok().GetBelegDaten(L"17", L"2"); });
    EXPECT_EQ(error.Number(), 3021);
    EXPECT_EQ(error.Description(), L"kein Datensatz");
    Expect({R"(booking.Text -> BSTR "")", R"(booking.Datum !! 3021 "kein Datensatz")"});
    EXPECT_EQ(state.records.cBeleg.Kurzbezeichnung, L"");
    EXPECT_EQ(state.records.cBeleg.Betrag, L"vorher") << "the record is partly filled";

    Sok().GetBelegDaten(L"17", L"2");
    EXPECT_EQ(state.records.cBeleg.Betrag, L"1200.50") << "it is still there, and now it answers";
    EXPECT_EQ(NumberRaisedBy([&] { Sok().GetBelegDaten(L"17", L"2"); }), 91);
    talk.Take();
}

TEST_F(BookingKind, TakesTheAnswerAsASixteenBitNumber) {
    booking->Next(L"lesen", 65536);
    EXPECT_EQ(NumberRaisedBy([&] { Sok().GetBuchungsType(L"17", L"2"); }), 6);
    Expect(Loaded("I4 65536"));
}

TEST_F(BookingKind, LeavesTheCallersTextsAsTheyAre) {
    const Text number = L"17";
    const Text index = L"2";
    booking->Next(L"lesen", [](Call& call) {
        call.Store(0, Variant(L"anders"));
        call.Store(1, Variant(L"anders"));
        return Variant(std::int16_t{0});
    });
    Sok().GetBuchungsType(number, index);
    EXPECT_EQ(number + index, L"172");
    talk.Take();
}

TEST_F(BookingKind, NeedsTheHost) {
    SOKInterface sok(AccountingContext{machine, screen, handler, state, folders});
    machine.RefusesOnce(hostProgId, 429);
    EXPECT_EQ(NumberRaisedBy([&] { sok.GetBuchungsType(L"17", L"2"); }), 91);
    Expect({"create FibuNT.Mandant !! 429", R"(box "429 SOKInterface AnmeldenAnSage" 0)"});
}

TEST_F(BookingKind, NeedsABooking) {
    const Fake host = NewHost("fibu");
    host->Answers(L"neubuchung", Variant(static_cast<IDispatch*>(nullptr)));
    machine.HandsOut(hostProgId, host);
    SOKInterface sok(AccountingContext{machine, screen, handler, state, folders});
    EXPECT_EQ(NumberRaisedBy([&] { sok.GetBuchungsType(L"17", L"2"); }), 91);
    talk.Take();
}

class VoucherData : public BookingKind {
protected:
    VoucherData() {
        Sok().GetBuchungsType(L"17", L"2");
        talk.Take();
    }
};

TEST_F(VoucherData, OfAPlainVoucherIsTextDateAndAmount) {
    Sok().GetBelegDaten(L"17", L"2");
    Expect({R"(booking.Text -> BSTR "Miete Büro")", R"(booking.Datum -> BSTR "15.11.2026")",
            R"(booking.Betrag -> BSTR "1200.50")"});
    const DocumentRecord& record = state.records.cBeleg;
    EXPECT_EQ(record.Kurzbezeichnung, L"Miete Büro");
    EXPECT_EQ(record.Valutadatum, L"15.11.2026");
    EXPECT_EQ(record.Betrag, L"1200.50");
}

TEST_F(VoucherData, ConsumesTheBooking) {
    const ULONG before = booking->References();
    Sok().GetBelegDaten(L"17", L"2");
    EXPECT_EQ(booking->References(), before - 1);
    EXPECT_EQ(NumberRaisedBy([&] { Sok().GetBelegDaten(L"17", L"2"); }), 91);
    talk.Take();
}

TEST_F(VoucherData, IsWhateverTheHostsValuesConvertTo) {
    booking->Answers(L"Text", 4711);
    booking->Answers(L"Datum", Variant());
    booking->Answers(L"Betrag", Variant(std::int16_t{12}));
    Sok().GetBelegDaten(L"17", L"2");
    const DocumentRecord& record = state.records.cBeleg;
    EXPECT_EQ(record.Kurzbezeichnung, L"4711");
    EXPECT_EQ(record.Valutadatum, L"");
    EXPECT_EQ(record.Betrag, L"12");
    talk.Take();
}

TEST_F(VoucherData, KeepsTheBookingWhenAValueCannotBeText) {
    booking->Next(L"Datum", Variant::Null());
    EXPECT_EQ(NumberRaisedBy([&] { Sok().GetBelegDaten(L"17", L"2"); }), 94);
    EXPECT_EQ(state.records.cBeleg.Kurzbezeichnung, L"Miete Büro") << "the record is partly filled";
    EXPECT_NO_THROW(Sok().GetBelegDaten(L"17", L"2"));
    talk.Take();
}

struct PartnerCase {
    const char* module;
    int number;
    const char* loginProcedure;
    void (SOKInterface::*read)(const Text&, const Text&);
    DocumentRecord Records::* record;
};

void PrintTo(const PartnerCase& row, std::ostream* stream) {
    *stream << row.module;
}

class PartnerData : public VoucherData, public testing::WithParamInterface<PartnerCase> {
protected:
    PartnerData() {
        machine.Makes(hostProgId, [this] { return NewHost(GetParam().module); });
    }
    void Read() { (Sok().*GetParam().read)(L"17", L"2"); }
    DocumentRecord& Record() { return state.records.*GetParam().record; }
    [[nodiscard]] static std::string Line(const std::string& call) {
        return GetParam().module + ("." + call);
    }
    [[nodiscard]] static Lines UpToBooking() {
        return Together({{open, "fibu.neuAdresse -> address"},
                         Opened(GetParam().module, GetParam().number),
                         {Line("neuOP -> openItem")}});
    }
};

INSTANTIATE_TEST_SUITE_P(Modules, PartnerData,
                         testing::Values(PartnerCase{"debi", 2, "AnmeldenAnSesamDebi",
                                                     &SOKInterface::GetDebiDaten, &Records::cDebiBeleg},
                                         PartnerCase{"kredi", 3, "AnmeldenAnSesamKredi",
                                                     &SOKInterface::GetKrediDaten, &Records::cKrediBeleg}),
                         [](const auto& row) { return std::string(row.param.module); });

TEST_P(PartnerData, GoesFromTheOpenItemOverTheAccountToTheAddress) {
    Read();
    Expect(Together({UpToBooking(),
                     {R"(booking.Text -> BSTR "Miete Büro")", R"(booking.OPNr -> BSTR "77")",
                      R"(booking.Datum -> BSTR "15.11.2026")", R"(booking.OPNr -> BSTR "77")",
                      R"(openItem.lesen(BSTR "77"))", R"(openItem.Datum -> BSTR "01.11.2026")",
                      R"(openItem.BetragFaktura -> BSTR "1234.55")", R"(openItem.PKNr -> BSTR "1100")",
                      Line("istoffen -> BOOL True"), Line("neuPK -> account"),
                      R"(openItem.PKNr -> BSTR "1100")", R"(account.lesen(BSTR "1100"))",
                      R"(account.AdressID -> BSTR "42")", R"(account.AdressID -> BSTR "42")",
                      R"(address.lesen(BSTR "42"))", R"(address.Firma -> BSTR "Muster & Co")",
                      R"(address.PLZ -> BSTR "8000")", R"(address.Ort -> BSTR "Zürich")"}}));
    const DocumentRecord& record = Record();
    EXPECT_EQ(record.Kurzbezeichnung, L"Miete Büro");
    EXPECT_EQ(record.OPNr, L"77");
    EXPECT_EQ(record.Valutadatum, L"15.11.2026");
    EXPECT_EQ(record.Rechnungsdatum, L"01.11.2026");
    EXPECT_EQ(record.Betrag, L"1234.55");
    EXPECT_EQ(record.PKNr, L"1100");
    EXPECT_EQ(record.AdressNr, L"42");
    EXPECT_EQ(record.Kundenname, L"Muster & Co");
    EXPECT_EQ(record.Kundenort, L"8000 Zürich");
    for (const Fake& object : {booking, openItem, account, address}) {
        EXPECT_EQ(object->AskedRepeatedly(), std::vector<Text>()) << object->Name();
    }
}

TEST_P(PartnerData, WithoutAnOpenItemLeavesTheRestOfTheRecordAsItWas) {
    booking->Answers(L"OPNr", L"");
    const DocumentRecord before{L"alt",  L"BC",         L"17",  L"2", L"Pendent", L"ID",        L"alt",
                                L"9.90", L"01.01.2020", L"alt", L"1", L"2",       L"Vorige AG", L"3000 Bern"};
    Record() = before;
    Read();
    Expect(Together({UpToBooking(),
                     {R"(booking.Text -> BSTR "Miete Büro")", R"(booking.OPNr -> BSTR "")",
                      R"(booking.Datum -> BSTR "15.11.2026")", R"(booking.OPNr -> BSTR "")"}}));
    const DocumentRecord& record = Record();
    EXPECT_EQ(record.Kurzbezeichnung, L"Miete Büro");
    EXPECT_EQ(record.OPNr, L"");
    EXPECT_EQ(record.Valutadatum, L"15.11.2026");
    for (Text DocumentRecord::* const field :
         {&DocumentRecord::Barcode, &DocumentRecord::BelegNr, &DocumentRecord::BelegIndex,
          &DocumentRecord::BelegStatus, &DocumentRecord::SesamDocID, &DocumentRecord::Betrag,
          &DocumentRecord::Rechnungsdatum, &DocumentRecord::PKNr, &DocumentRecord::AdressNr,
          &DocumentRecord::Kundenname, &DocumentRecord::Kundenort}) {
        EXPECT_EQ(record.*field, before.*field);
    }
}

TEST_P(PartnerData, TakesAnEmptyValueForNoOpenItem) {
    booking->Answers(L"OPNr", Variant());
    Read();
    EXPECT_EQ(Record().OPNr, L"");
    EXPECT_EQ(talk.Take().back(), "booking.OPNr -> Empty");
}

TEST_P(PartnerData, PassesNumbersOnInTheHostsOwnTypes) {
    booking->Answers(L"OPNr", 77);
    openItem->Answers(L"PKNr", Variant(std::int16_t{1100}));
    account->Answers(L"AdressID", 42);
    Read();
    const Lines said = talk.Take();
    EXPECT_EQ(Occurrences(said, "openItem.lesen(I4 77)"), 1);
    EXPECT_EQ(Occurrences(said, "account.lesen(I2 1100)"), 1);
    EXPECT_EQ(Occurrences(said, "address.lesen(I4 42)"), 1);
    EXPECT_EQ(Record().OPNr, L"77");
    EXPECT_EQ(Record().PKNr, L"1100");
    EXPECT_EQ(Record().AdressNr, L"42");
}

TEST_P(PartnerData, AlwaysPutsABlankBetweenPostcodeAndTown) {
    struct Case {
        Variant postcode;
        Variant town;
        const wchar_t* place;
    };
    for (const Case& row :
         std::vector<Case>{{Variant(L"3000"), Variant(L""), L"3000 "},
                           {Variant(L""), Variant(L"Bern"), L" Bern"},
                           {Variant(std::int32_t{8000}), Variant(L"Zürich"), L"8000 Zürich"},
                           {Variant::Null(), Variant(), L" "}}) {
        Sok().GetBuchungsType(L"17", L"2");
        address->Answers(L"PLZ", row.postcode);
        address->Answers(L"Ort", row.town);
        Read();
        EXPECT_EQ(Record().Kundenort, row.place);
    }
    talk.Take();
}

TEST_P(PartnerData, LetsGoOfEverythingButTheAccount) {
    const ULONG bookings = booking->References();
    const ULONG items = openItem->References();
    const ULONG addresses = address->References();
    const ULONG accounts = account->References();
    Read();
    // The fake of the module's object, made on the way, holds one reference to each of its answers; the
    // reader keeps the account, too.
    EXPECT_EQ(booking->References(), bookings);
    EXPECT_EQ(openItem->References(), items + 1);
    EXPECT_EQ(address->References(), addresses + 1);
    EXPECT_EQ(account->References(), accounts + 2);
    talk.Take();
}

TEST_P(PartnerData, NeedsABookingThatWasLoaded) {
    Read();
    talk.Take();
    EXPECT_EQ(NumberRaisedBy([&] { Read(); }), 91);
    Expect({open, "fibu.neuAdresse -> address", Line("istoffen -> BOOL True"), Line("neuOP -> openItem")});
}

TEST_P(PartnerData, NeedsTheModule) {
    machine.RefusesOnce(hostProgId, 429);
    EXPECT_EQ(NumberRaisedBy([&] { Read(); }), 91);
    Expect({open, "fibu.neuAdresse -> address", "create FibuNT.Mandant !! 429",
            std::string("box \"429 SOKInterface ") + GetParam().loginProcedure + "\" 0"});
    EXPECT_EQ(Record().Kurzbezeichnung, L"");
}

TEST_P(PartnerData, PassesOnWhateverFailsOnTheWayAndKeepsWhatWasRead) {
    account->Next(L"lesen", Failure::Exception(3021, L"Konto fehlt"));
    EXPECT_EQ(RaisedBy([&] { Read(); }), (Raised{3021, L"Konto fehlt"}));
    EXPECT_EQ(Record().PKNr, L"1100");
    EXPECT_EQ(Record().AdressNr, L"");
    EXPECT_EQ(talk.Take().back(), R"(account.lesen(BSTR "1100") !! 3021 "Konto fehlt")");
}

TEST_P(PartnerData, IgnoresWhatTheLookupsAnswer) {
    openItem->Answers(L"lesen", -1);
    address->Answers(L"lesen", -1);
    EXPECT_NO_THROW(Read());
    talk.Take();
}

}  // namespace
}  // namespace kandora::test
