#include "tests/component/ComponentSupport.h"

#include <gtest/gtest.h>

#include "Kandora.h"

// How the classes for outside callers answer: errors with their information, and arguments by reference. No
// archive is needed: without credentials nothing is asked of one.
namespace kandora::component_tests {
namespace {

using namespace std::literals;

constexpr auto noUser = L"Benutzer muss angemeldet sein, um ELO anzumelden."sv;
constexpr HRESULT error5 = static_cast<HRESULT>(0x800A0005);
constexpr HRESULT error91 = static_cast<HRESULT>(0x800A005B);

/// The calling thread's error information, which is taken away.
struct Information {
    std::wstring description;
    std::wstring source;
    std::wstring iid;
};

Information TakeInformation() {
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, info.Receive()) != S_OK) {
        return {L"(keine)", L"(keine)", L"(keine)"};
    }
    Bstr description;
    Bstr source;
    GUID iid{};
    info->GetDescription(description.Receive());
    info->GetSource(source.Receive());
    info->GetGUID(&iid);
    return {description.Text(), source.Text(), TextOf(iid)};
}

class ArchiveClient : public testing::Test {
protected:
    ArchiveClient() : client_(Component::Built().Create<_ELODMS>(CLSID_ELODMS, IID__ELODMS)) {}

    Apartment apartment_;
    ComPtr<_ELODMS> client_;
};

TEST_F(ArchiveClient, LeavesErrorInformation) {
    Bstr result(L"vorher");
    EXPECT_EQ(client_->CheckLogin(result.Receive()), error5);
    EXPECT_EQ(result.Text(), L"");
    const Information information = TakeInformation();
    EXPECT_EQ(information.description, noUser);
    EXPECT_EQ(information.source, L"ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin");
    EXPECT_EQ(information.iid, TextOf(IID__ELODMS));
}

TEST_F(ArchiveClient, TakesItsInformationAwayWithTheNextCall) {
    Bstr result;
    EXPECT_EQ(client_->CheckLogin(result.Receive()), error5);
    EXPECT_EQ(client_->ELOSichtbar(), S_OK);
    EXPECT_EQ(TakeInformation().description, L"(keine)");
}

TEST_F(ArchiveClient, TellsAnErrorByNameToo) {
    const Called called = Call(client_.Get(), L"CheckLogin");
    EXPECT_EQ(called.outcome, DISP_E_EXCEPTION);
    EXPECT_EQ(called.code, error5);
    EXPECT_EQ(called.description, noUser);
    EXPECT_EQ(called.source, L"ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckLogin");
    EXPECT_EQ(called.result.Type(), VT_EMPTY);
}

TEST_F(ArchiveClient, ReadsAPropertyThatIsAnObject) {
    auto* archive = reinterpret_cast<IDispatch*>(1);
    EXPECT_EQ(client_->get_oElo(&archive), error5);
    EXPECT_EQ(archive, nullptr);
    EXPECT_EQ(TakeInformation().source, L"ELODMS.AnmeldenAnElo <- ELODMS.oElo");
    EXPECT_EQ(Get(client_.Get(), L"oElo").outcome, DISP_E_EXCEPTION);
}

TEST_F(ArchiveClient, RewritesATextByReference) {
    Bstr path(L"  Sesam/Muster ");
    Bstr result;
    EXPECT_EQ(client_->PFadErstellen(path.Place(), result.Receive()), error5);
    EXPECT_EQ(path.Text(), L"/Sesam/Muster") << "a change before the error is kept";
    EXPECT_EQ(TakeInformation().source, L"ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.PFadErstellen");

    Bstr byName(L"a");
    EXPECT_EQ(Call(client_.Get(), L"PFadErstellen", List(Value::To(byName.Place()))).outcome,
              DISP_E_EXCEPTION);
    EXPECT_EQ(byName.Text(), L"/a");

    Value variable = Value::Text(L"b\0c"s);
    EXPECT_EQ(Call(client_.Get(), L"PFadErstellen", List(Value::To(variable.Place()))).outcome,
              DISP_E_EXCEPTION);
    EXPECT_EQ(variable.AsText(), L"/b\0c"s);

    Value number = Value::Short(7);
    EXPECT_EQ(Call(client_.Get(), L"PFadErstellen", List(Value::To(number.Place()))).outcome,
              DISP_E_EXCEPTION);
    EXPECT_EQ(number.AsText(), L"/7");

    // There is no room for a text here.
    long place = 8;
    EXPECT_EQ(Call(client_.Get(), L"PFadErstellen", List(Value::To(&place))).outcome, DISP_E_EXCEPTION);
    EXPECT_EQ(place, 8);

    EXPECT_EQ(Call(client_.Get(), L"PFadErstellen", List(Value::Text(L"wird nicht verändert"))).outcome,
              DISP_E_EXCEPTION);
}

TEST_F(ArchiveClient, LeavesATextThatIsNotChanged) {
    Bstr path(L"");
    Bstr result;
    EXPECT_EQ(client_->PFadErstellen(path.Place(), result.Receive()), S_OK);
    EXPECT_EQ(path.Text(), L"");
    EXPECT_EQ(result.Text(), L"Das Erstellen des Pfades '' war nicht erfolgreich. Fehler Nr. ");

    BSTR none = nullptr;
    EXPECT_EQ(client_->PFadErstellen(&none, result.Receive()), S_OK);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(client_->PFadErstellen(nullptr, result.Receive()), error5);
    TakeInformation();
    EXPECT_EQ(client_->PFadErstellen(path.Place(), nullptr), E_POINTER);

    Bstr byName(L"");
    const Called called = Call(client_.Get(), L"PFadErstellen", List(Value::To(byName.Place())));
    EXPECT_EQ(called.outcome, S_OK);
    EXPECT_EQ(called.result.AsText(), L"Das Erstellen des Pfades '' war nicht erfolgreich. Fehler Nr. ");
}

TEST_F(ArchiveClient, TakesANumberInAnyForm) {
    long mask = 3;
    Bstr result;
    EXPECT_EQ(client_->CheckMaskeVorhanden(&mask, result.Receive()), error5);
    EXPECT_EQ(TakeInformation().source, L"ELODMS.AnmeldenAnElo <- ELODMS.oElo <- ELODMS.CheckMaskeVorhanden");
    Value variable = Value::Text(L"3");
    for (Value& given : List(Value::Short(3), Value::Long(3), Value::Text(L"3"), Value::To(&mask),
                             Value::To(variable.Place()))) {
        EXPECT_EQ(Call(client_.Get(), L"CheckMaskeVorhanden", List(std::move(given))).description, noUser);
    }
    EXPECT_EQ(Call(client_.Get(), L"CheckMaskeVorhanden", List(Value::Text(L"drei"))).outcome,
              DISP_E_TYPEMISMATCH);
    EXPECT_EQ(Call(client_.Get(), L"CheckMaskeVorhanden", List(Value::Double(3e9))).outcome, DISP_E_OVERFLOW);
}

TEST_F(ArchiveClient, PutsArgumentsInTheirOrder) {
    long id = 7;
    Bstr texts[5] = {Bstr(L"1"), Bstr(L"2"), Bstr(L"3"), Bstr(L"4"), Bstr(L"5")};
    const std::wstring message = L"Dokument nicht gefunden: C:\\fehlt.pdf";
    EXPECT_EQ(client_->AddDokument(Bstr(L"C:\\fehlt.pdf").Get(), texts[0].Place(), texts[1].Place(),
                                   texts[2].Place(), texts[3].Place(), texts[4].Place(), &id),
              error5);
    EXPECT_EQ(id, 0) << "the result of a call that failed is the empty one";
    const Information information = TakeInformation();
    EXPECT_EQ(information.description, message);
    EXPECT_EQ(information.source, L"ELODMS.AddDokument");

    const Called called = Call(client_.Get(), L"AddDokument",
                               List(Value::Text(L"C:\\fehlt.pdf"), Value::To(texts[0].Place()),
                                    Value::Text(L"2"), Value::Long(3), Value::Text(L"4"), Value::Text(L"5")));
    EXPECT_EQ(called.description, message);
    EXPECT_EQ(called.source, L"ELODMS.AddDokument <- ELODMS.AddDokument");
}

TEST_F(ArchiveClient, NamesTheWrongArgument) {
    // Arguments are counted from the last one.
    const Called called =
        Call(client_.Get(), L"FindSageDocumentByBelegNr", List(Value::Null(), Value::Text(L"1")));
    EXPECT_EQ(called.outcome, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(called.wrongArgument, 1U);
    EXPECT_EQ(Call(client_.Get(), L"FindSageDocumentByBelegNr", List(Value::Text(L"1"))).outcome,
              DISP_E_BADPARAMCOUNT);
}

TEST(AccountingClient, FailsOnAMissingBooking) {
    const Apartment apartment;
    const auto client = Component::Built().Create<_SOKInterface>(CLSID_SOKInterface, IID__SOKInterface);
    Bstr number(L"1001");
    Bstr index(L"1");
    EXPECT_EQ(client->GetBelegDaten(number.Place(), index.Place()), error91);
    EXPECT_EQ(TakeInformation().iid, TextOf(IID__SOKInterface));
    EXPECT_EQ(number.Text(), L"1001");
}

TEST(AccountingClient, AnswersThatTheArchiveIsOffBeforeTheSettingsAreRead) {
    const Apartment apartment;
    const auto client = Component::Built().Create<_SOKInterface>(CLSID_SOKInterface, IID__SOKInterface);
    VARIANT_BOOL result = VARIANT_TRUE;
    EXPECT_EQ(client->EinstellungenLesen(&result), S_OK);
    EXPECT_EQ(result, VARIANT_FALSE);
    EXPECT_EQ(client->EinstellungenLesen(nullptr), E_POINTER);
}

TEST(OlderArchiveClient, KeepsMostErrorsToItself) {
    const Apartment apartment;
    const auto client = Component::Built().Create<_OrigELODMS>(CLSID_OrigELODMS, IID__OrigELODMS);
    long folder = 7;
    EXPECT_EQ(client->GetParentFolderId(4711, &folder), S_OK);
    EXPECT_EQ(folder, 0);
    auto* archive = reinterpret_cast<IDispatch*>(1);
    EXPECT_EQ(client->get_oElo(&archive), S_OK);
    EXPECT_EQ(archive, nullptr);
    // Printing does not: there is no object to print with.
    EXPECT_EQ(client->PrintDokument(4711), error91);
    EXPECT_EQ(TakeInformation().iid, TextOf(IID__OrigELODMS));
}

}  // namespace
}  // namespace kandora::component_tests
