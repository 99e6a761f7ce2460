#include <windows.h>

#include <objbase.h>

#include <gmock/gmock.h>

#include "interfaces/Apartment.h"
#include "interfaces/ComPtr.h"
#include "simulators/host/Accounting.h"
#include "simulators/host/tests/HostFixture.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

constexpr std::int32_t loggedIn = 0;

class AccountingTest : public ::testing::Test {
protected:
    void SetUp() override {
        accounting_->OpenClient(ClientFile::Load(folder_.Write(L"klein.json", smallClient)));
    }

    ComPtr<IDispatch> LoggedIn(std::int16_t module) {
        ComPtr<IDispatch> mandant = MakeMandant(accounting_);
        EXPECT_EQ(Login(mandant, module, accounting_->LastClient()), loggedIn);
        return mandant;
    }

    static std::int32_t Login(const ComPtr<IDispatch>& mandant, std::int16_t module,
                              const std::wstring& client) {
        return CallMember(mandant.Get(), L"Login", {Value::Short(module), Value::Text(client)})
            .ConvertedTo(VT_I4)
            .Get()
            .lVal;
    }

    static bool IsOpen(const ComPtr<IDispatch>& mandant) {
        const Value open = CallMember(mandant.Get(), L"istoffen");
        EXPECT_EQ(open.Type(), VT_BOOL);
        return open.Get().boolVal != VARIANT_FALSE;
    }

    static std::int16_t Read(const ComPtr<IDispatch>& booking, const std::wstring& number,
                             const std::wstring& index) {
        const Value answer = CallByReference(booking.Get(), L"lesen", {number, index});
        EXPECT_EQ(answer.Type(), VT_I2);
        return answer.Get().iVal;
    }

    kandora::test::TemporaryFolder folder_;
    std::shared_ptr<Accounting> accounting_ = std::make_shared<Accounting>();
};

TEST_F(AccountingTest, AnObjectOpensAnotherClientByThePathOfItsFile) {
    const std::wstring other = folder_.Write(L"anderer.json", smallClient).wstring();
    const ComPtr<IDispatch> mandant = MakeMandant(accounting_);
    EXPECT_EQ(Login(mandant, 1, other), loggedIn);
    EXPECT_TRUE(IsOpen(mandant));
    EXPECT_EQ(TextOf(CallMember(mandant.Get(), L"letztermandant")), accounting_->LastClient());
    accounting_->CloseClient();
    EXPECT_TRUE(IsOpen(mandant));
    CallMember(mandant.Get(), L"Logout");
    EXPECT_FALSE(IsOpen(mandant));
    EXPECT_NE(Login(mandant, 1, other + L"x"), loggedIn);
}

TEST_F(AccountingTest, TheLastClientIsItsFullPath) {
    EXPECT_EQ(TextOf(CallMember(MakeMandant(accounting_).Get(), L"letztermandant")),
              L"C:\\Daten\\Mandanten\\Klein");
}

TEST_F(AccountingTest, EachObjectLogsInOnItsOwn) {
    const ComPtr<IDispatch> fibu = MakeMandant(accounting_);
    const ComPtr<IDispatch> debtors = MakeMandant(accounting_);
    EXPECT_FALSE(IsOpen(fibu));
    EXPECT_EQ(Login(fibu, 1, accounting_->LastClient()), loggedIn);
    EXPECT_TRUE(IsOpen(fibu));
    EXPECT_FALSE(IsOpen(debtors));
    EXPECT_EQ(Login(debtors, 2, accounting_->LastClient()), loggedIn);
    CallMember(fibu.Get(), L"Logout");
    EXPECT_FALSE(IsOpen(fibu));
    EXPECT_TRUE(IsOpen(debtors));
}

TEST_F(AccountingTest, LoginTakesTheClientByReference) {
    const ComPtr<IDispatch> mandant = MakeMandant(accounting_);
    BSTR client = SysAllocString(accounting_->LastClient().c_str());
    VARIANT arguments[2]{};
    arguments[0].vt = VT_BYREF | VT_BSTR;
    arguments[0].pbstrVal = &client;
    arguments[1].vt = VT_I2;
    arguments[1].iVal = 3;
    DISPPARAMS parameters{arguments, nullptr, 2, 0};
    wchar_t name[] = L"Login";
    LPOLESTR names = name;
    DISPID id = DISPID_UNKNOWN;
    ASSERT_EQ(mandant->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id), S_OK);
    EXPECT_EQ(mandant->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr,
                              nullptr, nullptr),
              S_OK);
    SysFreeString(client);
    EXPECT_TRUE(IsOpen(mandant));
}

TEST_F(AccountingTest, UnknownModulesAndClientsStayClosed) {
    const ComPtr<IDispatch> mandant = MakeMandant(accounting_);
    EXPECT_NE(Login(mandant, 4, accounting_->LastClient()), loggedIn);
    EXPECT_NE(Login(mandant, 0, accounting_->LastClient()), loggedIn);
    EXPECT_NE(Login(mandant, 1, L"Klein"), loggedIn);
    EXPECT_FALSE(IsOpen(mandant));
}

TEST_F(AccountingTest, ClosingTheClientClosesEveryObject) {
    const ComPtr<IDispatch> fibu = LoggedIn(1);
    const ComPtr<IDispatch> creditors = LoggedIn(3);
    accounting_->CloseClient();
    EXPECT_FALSE(IsOpen(fibu));
    EXPECT_FALSE(IsOpen(creditors));
    EXPECT_EQ(TextOf(CallMember(fibu.Get(), L"letztermandant")), L"C:\\Daten\\Mandanten\\Klein");
    EXPECT_EQ(ErrorTextOf(fibu.Get(), L"neubuchung"), L"Es ist kein Mandant geöffnet.");
    EXPECT_EQ(Login(fibu, 1, accounting_->LastClient()), loggedIn);
    EXPECT_TRUE(IsOpen(fibu));
}

TEST_F(AccountingTest, AnotherClientTakesTheOldOnesPlace) {
    const ComPtr<IDispatch> fibu = LoggedIn(1);
    std::string other = smallClient;
    other.replace(other.find("Klein"), 5, "Gross");
    accounting_->OpenClient(ClientFile::Load(folder_.Write(L"gross.json", other)));
    EXPECT_FALSE(IsOpen(fibu));
    EXPECT_EQ(TextOf(CallMember(fibu.Get(), L"letztermandant")), L"C:\\Daten\\Mandanten\\Gross");
}

TEST_F(AccountingTest, WithoutAnyClientThereIsNothingToLogInTo) {
    const ComPtr<IDispatch> mandant = MakeMandant(std::make_shared<Accounting>());
    EXPECT_EQ(TextOf(CallMember(mandant.Get(), L"letztermandant")), L"");
    EXPECT_NE(Login(mandant, 1, L""), loggedIn);
    EXPECT_FALSE(IsOpen(mandant));
}

TEST_F(AccountingTest, ABookingHandsOutValuesOfTheirNaturalTypes) {
    const ComPtr<IDispatch> booking = ObjectOf(CallMember(LoggedIn(1).Get(), L"neubuchung"));
    ASSERT_TRUE(booking);
    EXPECT_EQ(Read(booking, L"10", L"1"), 0);
    const Value origin = CallMember(booking.Get(), L"ursprung");
    EXPECT_EQ(origin.Type(), VT_I2);
    EXPECT_EQ(origin.Get().iVal, 1);
    const Value text = CallMember(booking.Get(), L"Text");
    EXPECT_EQ(text.Type(), VT_BSTR);
    EXPECT_EQ(TextOf(text), L"RG Müller");
    const Value date = CallMember(booking.Get(), L"Datum");
    EXPECT_EQ(date.Type(), VT_DATE);
    EXPECT_EQ(date.Get().date, 46085.0);
    const Value amount = CallMember(booking.Get(), L"Betrag");
    EXPECT_EQ(amount.Type(), VT_CY);
    EXPECT_EQ(amount.Get().cyVal.int64, 1234500);
    const Value item = CallMember(booking.Get(), L"OPNr");
    EXPECT_EQ(item.Type(), VT_BSTR);
    EXPECT_EQ(TextOf(item), L"77");
}

TEST_F(AccountingTest, ABookingThatIsNotThereLeavesTheObjectFresh) {
    const ComPtr<IDispatch> booking = ObjectOf(CallMember(LoggedIn(1).Get(), L"neubuchung"));
    EXPECT_EQ(Read(booking, L"10", L"1"), 0);
    EXPECT_EQ(Read(booking, L"10", L"9"), -1);
    EXPECT_EQ(TextOf(CallMember(booking.Get(), L"Text")), L"");
    EXPECT_EQ(CallMember(booking.Get(), L"ursprung").Get().iVal, 0);
}

TEST_F(AccountingTest, OpenItemAccountAndAddressLeadToThePartnerOfTheirLedger) {
    struct Expected {
        std::int16_t module;
        std::int64_t amount;
        std::int32_t address;
        const wchar_t* company;
        const wchar_t* town;
    };
    const ComPtr<IDispatch> fibu = LoggedIn(1);
    for (const Expected& expected : {Expected{2, 2005000, 501, L"Müller & Söhne", L"Zürich"},
                                     Expected{3, 999500, 502, L"D'Amico", L""}}) {
        const ComPtr<IDispatch> mandant = LoggedIn(expected.module);
        const ComPtr<IDispatch> item = ObjectOf(CallMember(mandant.Get(), L"neuOP"));
        EXPECT_EQ(CallMember(item.Get(), L"lesen", {Value::Text(L"77")}).Get().iVal, 0);
        EXPECT_EQ(CallMember(item.Get(), L"Datum").Type(), VT_DATE);
        const Value amount = CallMember(item.Get(), L"BetragFaktura");
        EXPECT_EQ(amount.Type(), VT_CY);
        EXPECT_EQ(amount.Get().cyVal.int64, expected.amount);
        const Value number = CallMember(item.Get(), L"PKNr");
        EXPECT_EQ(number.Type(), VT_I4);
        EXPECT_EQ(number.Get().lVal, 1);

        const ComPtr<IDispatch> account = ObjectOf(CallMember(mandant.Get(), L"neuPK"));
        EXPECT_EQ(CallMember(account.Get(), L"lesen", {number}).Type(), VT_EMPTY);
        const Value addressNumber = CallMember(account.Get(), L"AdressID");
        EXPECT_EQ(addressNumber.Type(), VT_I4);
        EXPECT_EQ(addressNumber.Get().lVal, expected.address);

        const ComPtr<IDispatch> address = ObjectOf(CallMember(fibu.Get(), L"neuAdresse"));
        EXPECT_EQ(CallMember(address.Get(), L"lesen", {addressNumber}).Get().iVal, 0);
        EXPECT_EQ(TextOf(CallMember(address.Get(), L"Firma")), expected.company);
        EXPECT_EQ(CallMember(address.Get(), L"PLZ").Type(), VT_BSTR);
        EXPECT_EQ(TextOf(CallMember(address.Get(), L"Ort")), expected.town);
    }
}

TEST_F(AccountingTest, RecordsThatAreNotThereHoldFreshValues) {
    const ComPtr<IDispatch> debtors = LoggedIn(2);
    const ComPtr<IDispatch> item = ObjectOf(CallMember(debtors.Get(), L"neuOP"));
    EXPECT_EQ(CallMember(item.Get(), L"lesen", {Value::Text(L"78")}).Get().iVal, -1);
    EXPECT_EQ(CallMember(item.Get(), L"PKNr").Get().lVal, 0);
    const ComPtr<IDispatch> account = ObjectOf(CallMember(debtors.Get(), L"neuPK"));
    CallMember(account.Get(), L"lesen", {Value::Long(9)});
    EXPECT_EQ(CallMember(account.Get(), L"AdressID").Get().lVal, 0);
    const ComPtr<IDispatch> address = ObjectOf(CallMember(LoggedIn(1).Get(), L"neuAdresse"));
    EXPECT_EQ(CallMember(address.Get(), L"lesen", {Value::Long(0)}).Get().iVal, -1);
    EXPECT_EQ(TextOf(CallMember(address.Get(), L"Firma")), L"");
}

TEST_F(AccountingTest, EachModuleMakesOnlyItsOwnRecords) {
    EXPECT_THAT(ErrorTextOf(LoggedIn(1).Get(), L"neuOP"), ::testing::HasSubstr(L"Debitoren"));
    EXPECT_THAT(ErrorTextOf(LoggedIn(1).Get(), L"neuPK"), ::testing::HasSubstr(L"Debitoren"));
    EXPECT_THAT(ErrorTextOf(LoggedIn(2).Get(), L"neubuchung"), ::testing::HasSubstr(L"Finanzbuchhaltung"));
    EXPECT_THAT(ErrorTextOf(LoggedIn(3).Get(), L"neuAdresse"), ::testing::HasSubstr(L"Finanzbuchhaltung"));
    EXPECT_EQ(ErrorTextOf(MakeMandant(accounting_).Get(), L"neuOP"), L"Es ist kein Mandant geöffnet.");
}

TEST_F(AccountingTest, OptionsAreWrittenBackToTheFile) {
    const ComPtr<IDispatch> fibu = LoggedIn(1);
    const Value read = CallMember(fibu.Get(), L"IniLesen", {Value::Short(600), Value::Short(100)});
    EXPECT_EQ(read.Type(), VT_BSTR);
    EXPECT_EQ(TextOf(read), L"TRUE");
    EXPECT_EQ(TextOf(CallMember(fibu.Get(), L"IniLesen", {Value::Short(600), Value::Short(111)})), L"");
    const Value written =
        CallMember(fibu.Get(), L"Inischreiben",
                   {Value::Short(600), Value::Short(111), Value::Text(L"/Sesam/Klein/Debi")});
    EXPECT_EQ(written.Type(), VT_BOOL);
    EXPECT_EQ(written.Get().boolVal, VARIANT_TRUE);
    EXPECT_EQ(ClientFile::Load(folder_ / L"klein.json").Option(600, 111), L"/Sesam/Klein/Debi");
}

TEST_F(AccountingTest, AnOptionThatCannotBeWrittenIsAnsweredWithFalse) {
    const ComPtr<IDispatch> fibu = LoggedIn(1);
    std::filesystem::create_directory(folder_ / L"klein.json.tmp");
    const Value written =
        CallMember(fibu.Get(), L"Inischreiben", {Value::Short(600), Value::Short(111), Value::Text(L"x")});
    EXPECT_EQ(written.Get().boolVal, VARIANT_FALSE);
}

TEST_F(AccountingTest, NamesAreFoundWithoutRegardToCaseAndUnknownOnesAreNot) {
    const ComPtr<IDispatch> fibu = LoggedIn(1);
    EXPECT_EQ(TextOf(CallMember(fibu.Get(), L"INILESEN", {Value::Short(600), Value::Short(100)})), L"TRUE");
    try {
        CallMember(fibu.Get(), L"Quittung");
        FAIL();
    } catch (HRESULT code) {
        EXPECT_EQ(code, DISP_E_UNKNOWNNAME);
    }
}

TEST_F(AccountingTest, TheClassServesCallersInItsOwnProcessDirectly) {
    const Apartment apartment;
    const ClassObject classObject(
        MandantClass().id, [&] { return MakeMandant(accounting_); },
        CLSCTX_LOCAL_SERVER | CLSCTX_INPROC_SERVER);
    ComPtr<IDispatch> mandant;
    ASSERT_EQ(CoCreateInstance(MandantClass().id, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                               IID_IDispatch, mandant.ReceiveVoid()),
              S_OK);
    EXPECT_EQ(TextOf(CallMember(mandant.Get(), L"letztermandant")), L"C:\\Daten\\Mandanten\\Klein");
    EXPECT_EQ(Login(mandant, 1, accounting_->LastClient()), loggedIn);
}

}  // namespace

}  // namespace kandora::simulators
