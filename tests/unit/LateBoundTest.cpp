#include "automation/LateBound.h"

#include <array>

#include <gtest/gtest.h>

#include "automation/Errors.h"
#include "automation/OwnArithmetic.h"
#include "interfaces/Apartment.h"
#include "interfaces/ComObject.h"
#include "tests/support/Conversation.h"
#include "tests/support/FakeObject.h"
#include "tests/support/ForwardingDispatch.h"
#include "tests/support/Raised.h"

namespace kandora::test {
namespace {

class LateBinding : public testing::Test {
protected:
    LateBinding() : fake("object", &talk), object(fake.AsLateBound()) {}
    void Expect(const Lines& lines, Place where = Place::Here()) { ExpectConversation(talk, lines, where); }

    Conversation talk;
    Fake fake;
    LateBound object;
};

TEST_F(LateBinding, AsksForNoResultInAStatement) {
    fake->Answers(L"Tu", 17);
    object.Call(L"Tu");
    object.Call(L"Tu", L"a", std::int32_t{2}, std::int16_t{3});
    Expect({"object.Tu()", R"(object.Tu(BSTR "a", I4 2, I2 3))"});
}

TEST_F(LateBinding, AsksForAMethodOrAPropertyWhenAValueIsUsed) {
    fake->Answers(L"Wert", 17);
    EXPECT_EQ(object.Get(L"Wert").ToLong(), 17);
    EXPECT_EQ(object.Get(L"Wert", std::int16_t{1}).ToLong(), 17);
    Expect({"object.Wert -> I4 17", "object.Wert(I2 1) -> I4 17"});
}

TEST_F(LateBinding, NamesTheValueOfAnAssignment) {
    fake->Answers(L"Titel");
    object.Put(L"Titel", L"Miete");
    object.Put(L"Titel", std::int32_t{2});
    object.Put(L"Titel", Text(L"a\0b", 3));
    Expect({R"(object.Titel = BSTR "Miete")", "object.Titel = I4 2", R"(object.Titel = BSTR "a\0b")"});
}

TEST_F(LateBinding, PassesArgumentsInTheOrderOfTheCall) {
    fake->Answers(L"Alle");
    object.Call(L"Alle", std::int32_t{1}, std::int32_t{2}, std::int32_t{3}, std::int32_t{4}, std::int32_t{5},
                std::int32_t{6});
    Expect({"object.Alle(I4 1, I4 2, I4 3, I4 4, I4 5, I4 6)"});
}

TEST_F(LateBinding, PassesValuesAsTheyAre) {
    fake->Answers(L"Nimm");
    object.Call(L"Nimm", Variant::Null(), Variant(), Variant(true), fake.AsVariant());
    Expect({"object.Nimm(Null, Empty, BOOL True, object)"});
}

TEST_F(LateBinding, CopiesBackWhatACalleeStores) {
    fake->Answers(L"Lies", [](Call& call) {
        call.Store(0, Variant(L"neu"));
        call.Store(1, Variant(std::int32_t{70000}));
        call.Store(2, Variant(std::int16_t{-7}));
        return Variant(true);
    });
    Text text = L"alt";
    std::int32_t number = 1;
    std::int16_t small = 2;
    EXPECT_TRUE(object.Get(L"Lies", ByRef(text), ByRef(number), ByRef(small)).ToBoolean());
    EXPECT_EQ(text, L"neu");
    EXPECT_EQ(number, 70000);
    EXPECT_EQ(small, -7);
    Expect({R"(object.Lies(BSTR& "alt", I4& 1, I2& 2) -> BOOL True)"});
}

TEST_F(LateBinding, KeepsWhatACalleeLeavesAlone) {
    fake->Answers(L"Lies");
    Text text(L"a\0b", 3);
    std::int32_t number = -2147483647;
    object.Call(L"Lies", ByRef(text), ByRef(number));
    EXPECT_EQ(text, Text(L"a\0b", 3));
    EXPECT_EQ(number, -2147483647);
    Expect({R"(object.Lies(BSTR& "a\0b", I4& -2147483647))"});
}

TEST_F(LateBinding, CopiesNothingBackFromACallThatFails) {
    fake->Answers(L"Lies", [](Call& call) -> Variant {
        call.Store(0, Variant(L"neu"));
        throw Failure::Exception(1000, L"nein");
    });
    Text text = L"alt";
    EXPECT_EQ(NumberRaisedBy([&] { object.Call(L"Lies", ByRef(text)); }), 1000);
    EXPECT_EQ(text, L"alt");
}

TEST_F(LateBinding, AsksForEachIdOncePerObject) {
    fake->Answers(L"Wert", 17);
    fake->Answers(L"Titel", L"");
    const LateBound copy = object;
    for (int i = 0; i < 3; ++i) {
        static_cast<void>(object.Get(L"Wert"));
        copy.Put(L"Titel", L"x");
        object.Call(L"Wert");
        static_cast<void>(copy.Get(L"Titel"));
    }
    EXPECT_EQ(fake->TimesAsked(L"Wert"), 1);
    EXPECT_EQ(fake->TimesAsked(L"Titel"), 1);
}

TEST_F(LateBinding, AsksAgainWhenTheNameWasUnknown) {
    EXPECT_EQ(NumberRaisedBy([&] { object.Call(L"Spaeter"); }), 438);
    fake->Answers(L"Spaeter");
    EXPECT_NO_THROW(object.Call(L"Spaeter"));
    Expect({"object.Spaeter !! unknown", "object.Spaeter()"});
}

TEST_F(LateBinding, AsksForTheSpellingThatIsUsed) {
    fake->Answers(L"getobjAttrib", 1);
    EXPECT_EQ(NumberRaisedBy([&] { return object.Get(L"GetObjAttrib"); }), 438);
    EXPECT_EQ(object.Get(L"getobjAttrib").ToLong(), 1);
}

TEST_F(LateBinding, TellsAMissingObject) {
    const LateBound nothing;
    EXPECT_TRUE(nothing.IsNothing());
    EXPECT_EQ(nothing.Pointer(), nullptr);
    EXPECT_EQ(NumberRaisedBy([&] { nothing.Call(L"Tu"); }), 91);
    EXPECT_EQ(NumberRaisedBy([&] { return nothing.Get(L"Wert"); }), 91);
    EXPECT_EQ(NumberRaisedBy([&] { nothing.Put(L"Titel", L""); }), 91);
    EXPECT_EQ(NumberRaisedBy([&] { return nothing.DefaultValue(); }), 91);
    EXPECT_FALSE(nothing.Items());
    EXPECT_FALSE(nothing.Knows({L"Tu"}));
    EXPECT_TRUE(LateBound(static_cast<IDispatch*>(nullptr)).IsNothing());
    EXPECT_TRUE(LateBound(Variant(static_cast<IDispatch*>(nullptr))).IsNothing());
}

TEST_F(LateBinding, TakesNothingButObjects) {
    EXPECT_EQ(NumberRaisedBy([] { LateBound{Variant(L"text")}; }), 13);
    EXPECT_EQ(NumberRaisedBy([] { LateBound{Variant()}; }), 13);
    EXPECT_EQ(LateBound(fake.AsVariant()).Pointer(), fake.Get());
}

/// An object without automation.
class Plain final : public ComObject<IUnknown> {
public:
    using ComObject::References;
};

TEST_F(LateBinding, NeedsAnAutomationObject) {
    Plain plain;
    Variant value;
    value.Receive()->vt = VT_UNKNOWN;
    value.Receive()->punkVal = &plain;
    EXPECT_EQ(NumberRaisedBy([&] { LateBound{value}; }), 430);
    static_cast<void>(value.Detach());
    EXPECT_EQ(plain.References(), 1U);
}

TEST_F(LateBinding, RaisesTheCalleesOwnError) {
    fake->Next(L"Tu", Failure::Exception(3021, L"Kein Datensatz", L"FibuNT"));
    const RuntimeError error = ErrorOf([&] { object.Call(L"Tu"); });
    EXPECT_EQ(error.Number(), 3021);
    EXPECT_EQ(error.Description(), L"Kein Datensatz");
    EXPECT_EQ(error.Source(), L"FibuNT");
}

TEST_F(LateBinding, AsksForTheTextsOfAnErrorThatGivesThemLater) {
    fake->Next(L"Tu", Failure::Exception(3022, L"Später", L"FibuNT").Deferred());
    const RuntimeError error = ErrorOf([&] { object.Call(L"Tu"); });
    EXPECT_EQ(error.Number(), 3022);
    EXPECT_EQ(error.Description(), L"Später");
    EXPECT_EQ(error.Source(), L"FibuNT");
}

TEST_F(LateBinding, TakesTheNumberFromTheCodeWhenTheErrorNamesNone) {
    struct Case {
        std::uint32_t scode;
        std::int32_t number;
    };
    for (const Case& row : std::vector<Case>{{0x800A01B6, 438},
                                             {0x80070057, 5},
                                             {0x80004005, static_cast<std::int32_t>(0x80004005U)},
                                             {0x800A1388, 5000}}) {
        fake->Next(L"Tu", Failure::Scode(static_cast<SCODE>(row.scode)));
        EXPECT_EQ(RaisedBy([&] { object.Call(L"Tu"); }), (Raised{row.number, DescriptionOf(row.number)}));
    }
}

TEST_F(LateBinding, RaisesABareCode) {
    for (const auto& [code, number] :
         std::vector<std::pair<HRESULT, std::int32_t>>{{DISP_E_TYPEMISMATCH, 13},
                                                       {DISP_E_BADPARAMCOUNT, 450},
                                                       {DISP_E_MEMBERNOTFOUND, 438},
                                                       {E_OUTOFMEMORY, 7}}) {
        fake->Next(L"Tu", Failure::Code(code));
        EXPECT_EQ(RaisedBy([&] { object.Call(L"Tu"); }), (Raised{number, DescriptionOf(number)}));
    }
    fake->Dies(static_cast<HRESULT>(0x800706BAU));
    EXPECT_EQ(NumberRaisedBy([&] { object.Call(L"Tu"); }), 462);
}

TEST_F(LateBinding, HoldsTheObjectWhileACallIsUnderWay) {
    fake->Answers(L"Tu", [&](Call& call) {
        object = {};
        EXPECT_GE(call.object.References(), 2U);
        return Variant(std::int32_t{17});
    });
    EXPECT_EQ(object.Get(L"Tu").ToLong(), 17);
    EXPECT_TRUE(object.IsNothing());
    EXPECT_EQ(fake->References(), 1U);
}

TEST_F(LateBinding, LetsGoOfTheObjectWithItsLastCopy) {
    EXPECT_EQ(fake->References(), 2U);
    {
        const LateBound copy = object;
        EXPECT_EQ(fake->References(), 2U) << "copies share one reference";
        object = {};
        EXPECT_EQ(fake->References(), 2U);
    }
    EXPECT_EQ(fake->References(), 1U);
}

TEST_F(LateBinding, HandsOutObjectsAsResults) {
    const Fake other("other", &talk);
    other->Answers(L"Name", L"drei");
    fake->Answers(L"neu", other);
    EXPECT_EQ(LateBound(object.Get(L"neu")).Get(L"Name").ToText(), L"drei");
    EXPECT_EQ(other->References(), 2U);
    Expect({"object.neu -> other", R"(other.Name -> BSTR "drei")"});
}

TEST_F(LateBinding, CopiesAResultThatRefersToTheCalleesMemory) {
    LONG number = 5;
    fake->Answers(L"Wert", [&](Call&) {
        Variant reference;
        reference.Receive()->vt = VT_BYREF | VT_I4;
        reference.Receive()->plVal = &number;
        return reference;
    });
    const Variant value = object.Get(L"Wert");
    number = 6;
    EXPECT_EQ(Shown(value), "I4 5");
}

TEST_F(LateBinding, KnowsWhetherNamesAreKnown) {
    fake->Answers(L"Keys");
    fake->Answers(L"Items");
    EXPECT_TRUE(object.Knows({L"Keys", L"Items"}));
    EXPECT_FALSE(object.Knows({L"Keys", L"Fields"}));
}

TEST_F(LateBinding, ReadsTheDefaultValue) {
    EXPECT_EQ(NumberRaisedBy([&] { return object.DefaultValue(); }), 438);
    fake->HasDefaultValue(L"Wert");
    EXPECT_EQ(object.DefaultValue().ToText(), L"Wert");
    Expect({R"(object -> BSTR "Wert")"});
}

TEST_F(LateBinding, EnumeratesItems) {
    EXPECT_FALSE(object.Items());
    fake->Enumerates({});
    ASSERT_TRUE(object.Items());
    EXPECT_TRUE(object.Items()->empty());
    fake->Enumerates({Variant(L"a"), fake.AsVariant(), Variant()});
    const auto items = object.Items();
    ASSERT_TRUE(items);
    ASSERT_EQ(items->size(), 3U);
    EXPECT_EQ(items->at(0).ToText(), L"a");
    EXPECT_TRUE(items->at(1).IsObject());
    EXPECT_TRUE(items->at(2).IsEmpty());
    fake->Enumerates({});
}

TEST_F(LateBinding, EnumeratesNothingOfAnObjectWhoseEnumerationIsNone) {
    fake->Enumerates({});
    fake->Answers(L"_NewEnum", L"text");
    EXPECT_FALSE(object.Items());
    fake->Answers(L"_NewEnum", fake);
    EXPECT_FALSE(object.Items());
    fake->Answers(L"_NewEnum", Variant(static_cast<IDispatch*>(nullptr)));
    EXPECT_FALSE(object.Items());
    fake->Answers(L"_NewEnum", Failure::Exception(1000));
    EXPECT_FALSE(object.Items());
}

TEST(NewObjects, ComeFromTheirClass) {
    const LateBound dictionary = NewObject(L"Scripting.Dictionary");
    dictionary.Call(L"Add", L"a", std::int32_t{1});
    EXPECT_EQ(dictionary.Get(L"Count").ToLong(), 1);
    EXPECT_EQ(dictionary.Get(L"Item", L"a").ToLong(), 1);
    EXPECT_EQ(NumberRaisedBy([&] { dictionary.Call(L"Add", L"a", std::int32_t{2}); }), 457);
}

TEST(NewObjects, CannotBeHadWithoutTheirClass) {
    EXPECT_EQ(RaisedBy([] { NewObject(L"Gibt.Es.Nicht"); }), (Raised{429, DescriptionOf(429)}));
    EXPECT_EQ(NumberRaisedBy([] { NewObject(L""); }), 429);
}

/// A class whose objects cannot be made.
class BarrenClass final : public LentComObject<IClassFactory> {
public:
    explicit BarrenClass(HRESULT reason) : reason_(reason) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID, void** object) override {
        *object = nullptr;
        return reason_;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    HRESULT reason_;
};

TEST(NewObjects, TellWhyTheyCannotBeMade) {
    struct Case {
        HRESULT reason;
        std::int32_t number;
    };
    const Apartment apartment;
    CLSID clsid{};
    ASSERT_EQ(CLSIDFromProgID(L"Scripting.Dictionary", &clsid), S_OK);
    for (const Case& row : std::vector<Case>{{E_OUTOFMEMORY, 7},
                                             {HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), 462},
                                             {E_NOINTERFACE, 429},
                                             {E_FAIL, 429}}) {
        BarrenClass barren(row.reason);
        DWORD cookie = 0;
        // This registration takes precedence over the system's own class.
        ASSERT_EQ(CoRegisterClassObject(clsid, &barren, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie),
                  S_OK);
        EXPECT_EQ(NumberRaisedBy([] { NewObject(L"Scripting.Dictionary"); }), row.number) << row.reason;
        CoRevokeClassObject(cookie);
    }
}

/// Knows no name, and rounds down from then on, as the first call of a library may that is loaded for it.
class RoundingDown : public ForwardingDispatch {
public:
    using ForwardingDispatch::ForwardingDispatch;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        constexpr std::uint32_t roundingDown = 0x3F80;
        asm volatile("ldmxcsr %0" : : "m"(roundingDown));
        return DISP_E_UNKNOWNNAME;
    }
};

TEST_F(LateBinding, CalculatesAsBeforeWhateverALookupOfANameLeaves) {
    std::uint32_t before = 0;
    std::uint32_t after = 0;
    const OwnArithmetic own;
    asm volatile("stmxcsr %0" : "=m"(before));
    const auto other = MakeObject<RoundingDown>(static_cast<IDispatch*>(nullptr));
    EXPECT_EQ(RaisedBy([&] { LateBound(other.Get()).Call(L"Fehlt"); }).number, 438);
    asm volatile("stmxcsr %0" : "=m"(after));
    EXPECT_EQ(after, before);
}

/// Leaves the processor's arithmetic as no caller expects it.
struct Carelessness {
    const char* what;
    void (*leave)();
};

void FillRegisters() {
    asm volatile("fldz\n\tfldz\n\tfldz\n\tfldz\n\tfldz\n\tfldz\n\tfldz\n\tfldz");
}

void Set(std::uint16_t coprocessor, std::uint32_t vectors) {
    asm volatile("fldcw %0\n\tldmxcsr %1" : : "m"(coprocessor), "m"(vectors));
}

constexpr auto carelessness = std::to_array<Carelessness>({
    {"a full coprocessor", FillRegisters},
    {"one value in it", [] { asm volatile("fldz"); }},
    {"integers in its registers", [] { asm volatile("pxor %mm0, %mm0"); }},
    {"24 bits", [] { Set(0x007F, 0x1F80); }},
    {"an exception that interrupts", [] { Set(0x027B, 0x1F80); }},
    {"an exception that waits to interrupt",
     [] {
         asm volatile("fld1\n\tfldz\n\tfdivrp");
         Set(0x027B, 0x1F80);
     }},
    {"vectors that round up", [] { Set(0x027F, 0x5F80); }},
    {"vectors that interrupt", [] { Set(0x027F, 0x1D80); }},
    {"vectors without the smallest numbers", [] { Set(0x027F, 0x9FC0); }},
});

TEST(Arithmetic, IsSetUpAgainWhateverSomebodyLeaves) {
    for (const Carelessness& row : carelessness) {
        SCOPED_TRACE(row.what);
        std::array<std::uint32_t, 7> coprocessor{};
        std::uint32_t vectors = 0;
        {
            const OwnArithmetic own;
            row.leave();
            OwnArithmetic::Resume();
            asm volatile("fnstenv %0\n\tstmxcsr %1" : "=m"(coprocessor), "=m"(vectors));
        }
        EXPECT_EQ(coprocessor[0] & 0xFFFF, 0x027FU);
        EXPECT_EQ(coprocessor[2] & 0xFFFF, 0xFFFFU) << "registers in use";
        EXPECT_EQ(vectors & 0xFFC0, 0x1F80U);
    }
}

}  // namespace
}  // namespace kandora::test
