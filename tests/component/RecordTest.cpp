#include "interfaces/CodePages.h"
#include "tests/component/ComponentSupport.h"

#include <gtest/gtest.h>

#include "Kandora.h"

// The records' properties as languages of either binding use them.
namespace kandora::component_tests {
namespace {

using namespace std::literals;

struct RecordClass {
    const wchar_t* name;
    std::vector<const wchar_t*> properties;
};

const std::vector<const wchar_t*> partnerProperties{
    L"Rechnungsdatum", L"Kurzbezeichnung", L"Barcode",     L"BelegNr",  L"BelegIndex",
    L"BelegStatus",    L"SesamDocID",      L"Valutadatum", L"Betrag",   L"OPNr",
    L"PKNr",           L"AdressNr",        L"Kundenname",  L"Kundenort"};

const std::vector<RecordClass> recordClasses{
    {L"cBeleg",
     {L"Kurzbezeichnung", L"Barcode", L"BelegNr", L"BelegIndex", L"BelegStatus", L"SesamDocID",
      L"Valutadatum", L"Betrag"}},
    {L"cDebiBeleg", partnerProperties},
    {L"cKrediBeleg", partnerProperties},
    {L"cAuswertung", {L"Kurzbezeichnung", L"Listenbeschreibung", L"DatumVon", L"DatumBis"}},
    {L"cUser", {L"sName", L"sPasswort", L"sKuerzel"}},
};

CLSID ClassIdOf(std::wstring_view name) {
    for (const PublicClass& each : PublicClasses()) {
        if (each.name == name) {
            return GuidOf(each.clsid);
        }
    }
    ADD_FAILURE() << "no class " << Utf8FromText(name);
    return {};
}

/// A getter and its setter in the vtable, whatever the record.
struct TextPropertyTable {
    HRESULT(STDMETHODCALLTYPE* get)(void* self, BSTR* result);
    HRESULT(STDMETHODCALLTYPE* put)(void* self, BSTR newValue);
};

class EveryRecord : public testing::TestWithParam<RecordClass> {
protected:
    static ComPtr<IDispatch> Record() {
        return Component::Built().Create<IDispatch>(ClassIdOf(GetParam().name), IID_IDispatch);
    }
    /// The slots of the property at a position: they follow the seven of IDispatch in pairs.
    static const TextPropertyTable& Slots(IDispatch* record, std::size_t position) {
        const auto* const table = *reinterpret_cast<void* const* const*>(record);
        return *reinterpret_cast<const TextPropertyTable*>(table + 7 + 2 * position);
    }

    Apartment apartment_;
};

INSTANTIATE_TEST_SUITE_P(Component, EveryRecord, testing::ValuesIn(recordClasses),
                         [](const auto& each) { return Utf8FromText(each.param.name); });

TEST_P(EveryRecord, StartsEmpty) {
    const ComPtr<IDispatch> record = Record();
    for (std::size_t at = 0; at < GetParam().properties.size(); ++at) {
        const Called got = Get(record.Get(), GetParam().properties[at]);
        EXPECT_EQ(got.outcome, S_OK);
        EXPECT_EQ(got.result.AsText(), L"");
        Bstr text(L"vorher");
        EXPECT_EQ(Slots(record.Get(), at).get(record.Get(), text.Receive()), S_OK);
        EXPECT_EQ(text.Text(), L"");
    }
}

TEST_P(EveryRecord, KeepsEachPropertyForItselfAndInItsSlot) {
    const ComPtr<IDispatch> record = Record();
    const std::vector<const wchar_t*>& properties = GetParam().properties;
    for (const wchar_t* property : properties) {
        EXPECT_EQ(Put(record.Get(), property, Value::Text(L"nach Namen "s + property)).outcome, S_OK);
    }
    for (std::size_t at = 0; at < properties.size(); ++at) {
        Bstr text;
        EXPECT_EQ(Slots(record.Get(), at).get(record.Get(), text.Receive()), S_OK);
        EXPECT_EQ(text.Text(), L"nach Namen "s + properties[at]);
        EXPECT_EQ(Slots(record.Get(), at).put(record.Get(), Bstr(L"in "s + properties[at]).Get()), S_OK);
    }
    for (const wchar_t* property : properties) {
        EXPECT_EQ(Get(record.Get(), property).result.AsText(), L"in "s + property);
    }
}

TEST_P(EveryRecord, KeepsATextAsItIs) {
    const ComPtr<IDispatch> record = Record();
    const std::vector<std::wstring> texts{L"  vorne und hinten  ",
                                          L"Zeile\r\nZeile\tTab",
                                          L"äöü ÄÖÜ é – „x“ \u4E2D\U0001F4CE"s,
                                          L"vor\0nach"s,
                                          L"\0"s,
                                          L"\0\0am Anfang und Ende\0"s,
                                          std::wstring(100'000, L'x'),
                                          L""};
    for (std::size_t at = 0; at < GetParam().properties.size(); ++at) {
        for (const std::wstring& text : texts) {
            EXPECT_EQ(Slots(record.Get(), at).put(record.Get(), Bstr(text).Get()), S_OK);
            EXPECT_EQ(Get(record.Get(), GetParam().properties[at]).result.AsText(), text);
            EXPECT_EQ(Put(record.Get(), GetParam().properties[at], Value::Text(text + L"!")).outcome, S_OK);
            Bstr read;
            EXPECT_EQ(Slots(record.Get(), at).get(record.Get(), read.Receive()), S_OK);
            EXPECT_EQ(read.Text(), text + L"!");
        }
    }
}

TEST_P(EveryRecord, TakesACopy) {
    const ComPtr<IDispatch> record = Record();
    const Bstr given(L"gegeben");
    EXPECT_EQ(Slots(record.Get(), 0).put(record.Get(), given.Get()), S_OK);
    given.Get()[0] = L'X';
    Bstr first;
    EXPECT_EQ(Slots(record.Get(), 0).get(record.Get(), first.Receive()), S_OK);
    EXPECT_EQ(first.Text(), L"gegeben");
    first.Get()[0] = L'X';
    Bstr second;
    EXPECT_EQ(Slots(record.Get(), 0).get(record.Get(), second.Receive()), S_OK);
    EXPECT_EQ(second.Text(), L"gegeben");
}

TEST_P(EveryRecord, TakesNoTextForTheEmptyText) {
    const ComPtr<IDispatch> record = Record();
    EXPECT_EQ(Slots(record.Get(), 0).put(record.Get(), Bstr(L"voll").Get()), S_OK);
    EXPECT_EQ(Slots(record.Get(), 0).put(record.Get(), nullptr), S_OK);
    EXPECT_EQ(Get(record.Get(), GetParam().properties[0]).result.AsText(), L"");
}

TEST_P(EveryRecord, NeedsAPlaceForTheResult) {
    const ComPtr<IDispatch> record = Record();
    EXPECT_EQ(Slots(record.Get(), 0).get(record.Get(), nullptr), E_POINTER);
    // By name the result may be left out.
    DISPPARAMS none{};
    EXPECT_EQ(record->Invoke(IdOf(record.Get(), GetParam().properties[0]), IID_NULL, LOCALE_USER_DEFAULT,
                             DISPATCH_PROPERTYGET, &none, nullptr, nullptr, nullptr),
              S_OK);
}

/// What all classes share is tested with one record.
class CallsByName : public testing::Test {
protected:
    CallsByName()
        : record_(Component::Built().Create<IDispatch>(ClassIdOf(L"cBeleg"), IID_IDispatch)),
          barcode_(IdOf(record_.Get(), L"Barcode")) {}

    [[nodiscard]] std::wstring Barcode() { return Get(record_.Get(), L"Barcode").result.AsText(); }
    /// The barcode after this value was assigned to it.
    std::wstring After(Value value) {
        EXPECT_EQ(Put(record_.Get(), L"Barcode", std::move(value)).outcome, S_OK);
        return Barcode();
    }
    HRESULT Refused(Value value) {
        EXPECT_EQ(Put(record_.Get(), L"Barcode", Value::Text(L"vorher")).outcome, S_OK);
        const Called put = Put(record_.Get(), L"Barcode", std::move(value));
        EXPECT_EQ(put.wrongArgument, 0U);
        EXPECT_EQ(Barcode(), L"vorher");
        return put.outcome;
    }

    Apartment apartment_;
    ComPtr<IDispatch> record_;
    DISPID barcode_;
};

TEST_F(CallsByName, LetterCaseOfANameDoesNotCount) {
    EXPECT_EQ(IdOf(record_.Get(), L"BARCODE"), barcode_);
    EXPECT_EQ(IdOf(record_.Get(), L"barcode"), barcode_);
}

TEST_F(CallsByName, AnArgumentComesByValueOrByReference) {
    Bstr text(L"im\0Text"s);
    Value variable = Value::Text(L"in der Variablen");
    Value reference = Value::To(text.Place());
    EXPECT_EQ(After(Value::Text(L"als Wert")), L"als Wert");
    EXPECT_EQ(After(Value::To(text.Place())), L"im\0Text"s);
    EXPECT_EQ(After(Value::To(variable.Place())), L"in der Variablen");
    EXPECT_EQ(After(Value::To(reference.Place())), L"im\0Text"s);
    EXPECT_EQ(text.Text(), L"im\0Text"s) << "a value that is only read stays as it was";
    EXPECT_EQ(variable.AsText(), L"in der Variablen");
}

TEST_F(CallsByName, OtherValuesBecomeText) {
    EXPECT_EQ(After(Value::Short(-42)), L"-42");
    EXPECT_EQ(After(Value::Long(4711)), L"4711");
    EXPECT_EQ(After(Value::Double(0.5)), L"0.5");
    EXPECT_EQ(After(Value::Boolean(true)), L"True");
    EXPECT_EQ(After(Value()), L"");
    long number = 70'000;
    EXPECT_EQ(After(Value::To(&number)), L"70000");
    Value variable = Value::Short(7);
    EXPECT_EQ(After(Value::To(variable.Place())), L"7");
    EXPECT_EQ(variable.Type(), VT_I2);
}

TEST_F(CallsByName, WhatIsNoTextIsRefused) {
    EXPECT_EQ(Refused(Value::Null()), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(Refused(Value::Texts({L"a"})), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(Refused(Value::Missing()), DISP_E_PARAMNOTOPTIONAL);
    Value object;
    object.Place()->vt = VT_DISPATCH;
    object.Place()->pdispVal = record_.Get();
    record_->AddRef();
    EXPECT_NE(Refused(std::move(object)), S_OK);
}

TEST_F(CallsByName, TheNumberOfArgumentsCounts) {
    EXPECT_EQ(Invoke(record_.Get(), barcode_, DISPATCH_PROPERTYPUT).outcome, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(
        Invoke(record_.Get(), barcode_, DISPATCH_PROPERTYPUT, List(Value::Text(L"a"), Value::Text(L"b")))
            .outcome,
        DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(Invoke(record_.Get(), barcode_, DISPATCH_PROPERTYGET, List(Value::Text(L"a"))).outcome,
              DISP_E_BADPARAMCOUNT);
}

TEST_F(CallsByName, ReadingIsAskedForAsScriptsDo) {
    EXPECT_EQ(After(Value::Text(L"x")), L"x");
    EXPECT_EQ(Invoke(record_.Get(), barcode_, DISPATCH_METHOD | DISPATCH_PROPERTYGET).result.AsText(), L"x");
    EXPECT_EQ(Invoke(record_.Get(), barcode_, DISPATCH_METHOD).outcome, DISP_E_MEMBERNOTFOUND)
        << "a property is no method";
}

TEST_F(CallsByName, ATextIsNotSetByReference) {
    EXPECT_EQ(Invoke(record_.Get(), barcode_, DISPATCH_PROPERTYPUTREF, List(Value::Text(L"x"))).outcome,
              DISP_E_MEMBERNOTFOUND);
}

TEST_F(CallsByName, OnlyTheNewValueHasAName) {
    Value text = Value::Text(L"x");
    DISPID name = 3;
    DISPPARAMS parameters{text.Place(), &name, 1, 1};
    EXPECT_EQ(record_->Invoke(barcode_, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &parameters,
                              nullptr, nullptr, nullptr),
              DISP_E_NONAMEDARGS);
    name = DISPID_PROPERTYPUT;
    EXPECT_EQ(record_->Invoke(barcode_, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &parameters,
                              nullptr, nullptr, nullptr),
              S_OK);
    EXPECT_EQ(Barcode(), L"x");
}

void ExpectByName(IDispatch* object, const wchar_t* name, VARIANT_BOOL value) {
    const Called called = Get(object, name);
    EXPECT_EQ(called.result.Type(), VT_BOOL);
    EXPECT_EQ(called.result.Raw().boolVal, value);
}

TEST(User, IsLoggedOnAsSoonAsNameOrPasswordIsThere) {
    const Apartment apartment;
    const auto user = Component::Built().Create<_cUser>(ClassIdOf(L"cUser"), IID__cUser);
    const auto loggedOn = [&] {
        VARIANT_BOOL value = 7;
        EXPECT_EQ(user->get_bLoggedOn(&value), S_OK);
        ExpectByName(user.Get(), L"bLoggedOn", value);
        return value;
    };
    EXPECT_EQ(loggedOn(), VARIANT_FALSE);
    user->put_sKuerzel(Bstr(L"KAN").Get());
    EXPECT_EQ(loggedOn(), VARIANT_FALSE);
    user->put_sPasswort(Bstr(L"geheim").Get());
    EXPECT_EQ(loggedOn(), VARIANT_TRUE);
    user->put_sPasswort(nullptr);
    user->put_sName(Bstr(L"Kandora").Get());
    EXPECT_EQ(loggedOn(), VARIANT_TRUE);
    EXPECT_EQ(Put(user.Get(), L"bLoggedOn", Value::Boolean(false)).outcome, DISP_E_MEMBERNOTFOUND);
}

class ProvidersFlag : public testing::Test {
protected:
    ProvidersFlag()
        : provider_(Component::Built().Create<_ELOProvider>(ClassIdOf(L"ELOProvider"), IID__ELOProvider)) {}

    VARIANT_BOOL Running() {
        VARIANT_BOOL value = 7;
        EXPECT_EQ(provider_->get_bRunning(&value), S_OK);
        ExpectByName(provider_.Get(), L"bRunning", value);
        return value;
    }
    VARIANT_BOOL After(Value value) {
        EXPECT_EQ(Put(provider_.Get(), L"bRunning", std::move(value)).outcome, S_OK);
        return Running();
    }

    Apartment apartment_;
    ComPtr<_ELOProvider> provider_;
};

TEST_F(ProvidersFlag, IsOffAtFirst) {
    EXPECT_EQ(Running(), VARIANT_FALSE);
    EXPECT_EQ(provider_->get_bRunning(nullptr), E_POINTER);
}

TEST_F(ProvidersFlag, IsReadAndWrittenThroughTheVtable) {
    EXPECT_EQ(provider_->put_bRunning(VARIANT_TRUE), S_OK);
    EXPECT_EQ(Running(), VARIANT_TRUE);
    EXPECT_EQ(provider_->put_bRunning(VARIANT_FALSE), S_OK);
    EXPECT_EQ(Running(), VARIANT_FALSE);
    EXPECT_EQ(provider_->put_bRunning(1), S_OK);
    EXPECT_EQ(Running(), VARIANT_TRUE) << "anything but 0 is true";
}

TEST_F(ProvidersFlag, TakesWhatIsATruthValue) {
    EXPECT_EQ(After(Value::Boolean(true)), VARIANT_TRUE);
    EXPECT_EQ(After(Value::Short(0)), VARIANT_FALSE);
    EXPECT_EQ(After(Value::Long(2)), VARIANT_TRUE);
    EXPECT_EQ(After(Value::Text(L"False")), VARIANT_FALSE);
    Value variable = Value::Text(L"TRUE");
    EXPECT_EQ(After(Value::To(variable.Place())), VARIANT_TRUE);
    EXPECT_EQ(Put(provider_.Get(), L"bRunning", Value::Text(L"vielleicht")).outcome, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(Running(), VARIANT_TRUE);
}

TEST_F(ProvidersFlag, BelongsToTheObject) {
    EXPECT_EQ(After(Value::Boolean(true)), VARIANT_TRUE);
    const auto other = Component::Built().Create<_ELOProvider>(ClassIdOf(L"ELOProvider"), IID__ELOProvider);
    VARIANT_BOOL value = 7;
    EXPECT_EQ(other->get_bRunning(&value), S_OK);
    EXPECT_EQ(value, VARIANT_FALSE);
}

}  // namespace
}  // namespace kandora::component_tests
