// Any value as one line of text, and the names of a record set's fields.

#include "support/MString.h"

#include <gtest/gtest.h>

#include "automation/Errors.h"
#include "support/MOpenAccessADO.h"
#include "tests/support/FakeObject.h"
#include "tests/support/Raised.h"

namespace kandora::test {
namespace {

constexpr IID recordsetInterface = {
    0x0000050E, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x6D, 0x2E, 0xA4}};

Variant Raw(VARTYPE type, std::int64_t bits) {
    VARIANT raw;
    VariantInit(&raw);
    raw.vt = type;
    raw.llVal = bits;
    return Variant(raw);
}

std::string Rendered(const Variant& value) {
    return Spelled(ToText(value));
}

std::string ByAddress(const Fake& object) {
    return "(Object@" +
           std::to_string(reinterpret_cast<std::uintptr_t>(static_cast<IUnknown*>(object.Get()))) + ")";
}

TEST(Rendering, OfScalars) {
    EXPECT_EQ(Rendered(Variant()), "(Empty)");
    EXPECT_EQ(Rendered(Variant::Null()), "(Null)");
    EXPECT_EQ(Rendered(Variant(L"abc")), "abc");
    EXPECT_EQ(Rendered(Variant(L"")), "");
    EXPECT_EQ(Rendered(Variant(std::int32_t{-17})), "-17");
    EXPECT_EQ(Rendered(Variant(static_cast<IDispatch*>(nullptr))), "(Object=Nothing)");
    EXPECT_EQ(ToText(Variant(Text(L"a\0b", 3))), Text(L"a\0b", 3));
}

TEST(Rendering, OfErrorValuesNamesTheirNumber) {
    EXPECT_NE(Rendered(Raw(VT_ERROR, DISP_E_PARAMNOTFOUND)).find("448"), std::string::npos);
    EXPECT_NE(Rendered(Raw(VT_ERROR, 0x800A0005)).find('5'), std::string::npos);
}

TEST(Rendering, OfArrays) {
    EXPECT_EQ(Rendered(Variant::ArrayOf(
                  std::vector<Variant>{Variant(std::int32_t{1}), Variant(L"abc"), Variant()})),
              "[1, abc, (Empty)]");
    EXPECT_EQ(Rendered(Variant::ArrayOf(std::vector<Variant>())), "[]");
    const Variant inner =
        Variant::ArrayOf(std::vector<Variant>{Variant(std::int32_t{1}), Variant(std::int32_t{2})});
    EXPECT_EQ(Rendered(Variant::ArrayOf(std::vector<Variant>{inner, Variant(std::int32_t{3})})),
              "[[1, 2], 3]");
    EXPECT_EQ(Rendered(Variant::ArrayOf(std::vector<Text>{L"", L"a"})), "[, a]");
}

TEST(Rendering, OfAnArrayWithoutMemoryIsEmpty) {
    EXPECT_EQ(Rendered(Raw(VT_ARRAY | VT_VARIANT, 0)), "[]");
}

TEST(Rendering, OfArraysAlone) {
    EXPECT_EQ(ArrayToText(Variant::ArrayOf(std::vector<Text>{L"a", L"b"})), L"[a, b]");
    for (const Variant& other : {Variant(), Variant(L"a"), Variant(static_cast<IDispatch*>(nullptr))}) {
        EXPECT_EQ(RaisedBy([&] { ArrayToText(other); }), (Raised{5, L"Argument not an array."}));
    }
}

TEST(Rendering, OfDeeplyNestedValuesEndsSomewhere) {
    Variant nested(L"x");
    for (int i = 0; i < 200; ++i) {
        nested = Variant::ArrayOf(std::vector<Variant>{nested});
    }
    const Text text = ToText(nested);
    EXPECT_FALSE(text.empty());
    EXPECT_LT(text.size(), 1000U);
}

TEST(Rendering, OfAListThatContainsItselfEndsSomewhere) {
    const Fake list("list");
    list->Enumerates({list.AsVariant()});
    EXPECT_LT(ToText(list.AsVariant()).size(), 1000U);
    list->Enumerates({});
}

TEST(Rendering, OfListsThatContainEachOtherEndsAtTheFirst) {
    const Fake one("one");
    const Fake other("other");
    one->Enumerates({other.AsVariant()});
    other->Enumerates({one.AsVariant()});
    EXPECT_EQ(Rendered(one.AsVariant()), "[[(...)]]");
    one->Enumerates({});
    other->Enumerates({});
}

TEST(Rendering, OfDictionariesInTheirOrder) {
    const LateBound dictionary = NewObject(L"Scripting.Dictionary");
    const Variant value(dictionary.Pointer());
    EXPECT_EQ(Rendered(value), "{}");
    dictionary.Call(L"Add", L"a", std::int32_t{1});
    EXPECT_EQ(Rendered(value), "{a=1}");
    dictionary.Call(L"Add", std::int32_t{7}, L"b");
    dictionary.Call(L"Add", L"leer", Variant());
    dictionary.Call(L"Add", L"liste", Variant::ArrayOf(std::vector<Text>{L"x", L"y"}));
    EXPECT_EQ(Rendered(value), "{a=1, 7=b, leer=(Empty), liste=[x, y]}");
    EXPECT_EQ(Spelled(DictionaryToText(dictionary)), "{a=1, 7=b, leer=(Empty), liste=[x, y]}");
}

TEST(Rendering, OfDictionariesInDictionaries) {
    const LateBound inner = NewObject(L"Scripting.Dictionary");
    inner.Call(L"Add", L"b", L"c");
    const LateBound outer = NewObject(L"Scripting.Dictionary");
    outer.Call(L"Add", L"a", Variant(inner.Pointer()));
    EXPECT_EQ(Rendered(Variant(outer.Pointer())), "{a={b=c}}");
}

/// A record set with the columns ID and Name.
class Recordset : public testing::Test {
protected:
    Recordset() {
        set->AlsoAnswersTo(recordsetInterface);
        set->Answers(L"EOF", false);
        set->Answers(L"Fields", fields);
        set->Answers(L"MoveNext");
        fields->Answers(L"Count", 2);
        fields->Answers(L"Item",
                        [this](Call& call) { return (call.LongAt(0) == 0 ? id : name).AsVariant(); });
        id->Answers(L"Name", L"ID");
        id->Answers(L"Value", 17);
        name->Answers(L"Name", L"Name");
        name->Answers(L"Value", L"Muster");
    }

    Fake set{"set"};
    Fake fields{"fields"};
    Fake id{"id"};
    Fake name{"name"};
};

TEST_F(Recordset, IsRenderedAsItsCurrentRecord) {
    EXPECT_EQ(Rendered(set.AsVariant()), "{Recordset: ID=17, Name=Muster}");
    EXPECT_EQ(Spelled(RecordsetToText(set.AsLateBound())), "{Recordset: ID=17, Name=Muster}");
    name->Answers(L"Value", Variant::Null());
    EXPECT_EQ(Rendered(set.AsVariant()), "{Recordset: ID=17, Name=(Null)}");
    EXPECT_EQ(set->TimesAsked(L"MoveNext"), 0) << "the position stays";
}

TEST_F(Recordset, IsRenderedAsItsColumnsAtItsEnd) {
    set->Answers(L"EOF", true);
    EXPECT_EQ(Rendered(set.AsVariant()), "{Recordset: (empty) ID, Name}");
}

TEST_F(Recordset, MayHaveNoColumns) {
    fields->Answers(L"Count", 0);
    EXPECT_EQ(Rendered(set.AsVariant()), "{Recordset: }");
    set->Answers(L"EOF", true);
    EXPECT_EQ(Rendered(set.AsVariant()), "{Recordset: (empty) }");
}

TEST_F(Recordset, HasTheNamesOfItsFieldsAsAList) {
    EXPECT_EQ(Shown(FieldNames(set.AsLateBound())), R"(VARIANT() [BSTR "ID", BSTR "Name"])");
    fields->Answers(L"Count", 0);
    EXPECT_TRUE(FieldNames(set.AsLateBound()).IsEmpty());
}

TEST_F(Recordset, ThatFailsIsRenderedByItsAddress) {
    set->Answers(L"EOF", Failure::Exception(3704, L"geschlossen"));
    EXPECT_EQ(Rendered(set.AsVariant()), ByAddress(set));
}

class AnObject : public testing::Test {
protected:
    Fake object{"object"};
};

TEST_F(AnObject, WithItemsIsRenderedAsAList) {
    object->Enumerates({Variant(L"a"), Variant(std::int32_t{2}), Variant::Null()});
    EXPECT_TRUE(IsList(object.AsLateBound()));
    EXPECT_EQ(Rendered(object.AsVariant()), "[a, 2, (Null)]");
    EXPECT_EQ(ListToText(object.AsLateBound()), L"[a, 2, (Null)]");
}

TEST_F(AnObject, WithoutItemsIsNoList) {
    object->Enumerates({});
    EXPECT_FALSE(IsList(object.AsLateBound()));
    EXPECT_EQ(Rendered(object.AsVariant()), ByAddress(object));
    EXPECT_EQ(RaisedBy([&] { ListToText(object.AsLateBound()); }), (Raised{5, L"Argument not a List."}));
    object->HasDefaultValue(L"leer");
    EXPECT_EQ(Rendered(object.AsVariant()), "(Object=leer)");
}

TEST_F(AnObject, ThatCannotBeEnumeratedIsNoList) {
    EXPECT_FALSE(IsList(object.AsLateBound()));
    EXPECT_EQ(RaisedBy([&] { ListToText(object.AsLateBound()); }), (Raised{5, L"Argument not a List."}));
}

TEST_F(AnObject, WithADefaultValueIsRenderedByIt) {
    object->HasDefaultValue(4711);
    EXPECT_EQ(Rendered(object.AsVariant()), "(Object=4711)");
    object->HasDefaultValue(L"");
    EXPECT_EQ(Rendered(object.AsVariant()), "(Object=)");
    object->HasDefaultValue(Variant());
    EXPECT_EQ(Rendered(object.AsVariant()), "(Object=)");
}

TEST_F(AnObject, WhoseDefaultValueIsNoTextIsRenderedByItsAddress) {
    for (const Variant& value : {Variant::Null(), Variant::ArrayOf(std::vector<Text>{L"a"})}) {
        object->HasDefaultValue(value);
        EXPECT_EQ(Rendered(object.AsVariant()), ByAddress(object));
    }
}

TEST_F(AnObject, WithoutAnythingIsRenderedByItsAddress) {
    EXPECT_EQ(Rendered(object.AsVariant()), ByAddress(object));
    object->Dies(static_cast<HRESULT>(0x800706BAU));
    EXPECT_EQ(Rendered(object.AsVariant()), ByAddress(object));
}

TEST_F(AnObject, ThatOnlyResemblesADictionaryIsRenderedAsOne) {
    object->Answers(L"Keys", Variant::ArrayOf(std::vector<Text>{L"k"}));
    object->Answers(L"Items");
    object->Answers(L"Exists");
    object->Answers(L"CompareMode");
    object->Answers(L"Item", L"v");
    EXPECT_EQ(Rendered(object.AsVariant()), "{k=v}");
}

TEST_F(AnObject, WithItemsInItemsIsRenderedInside) {
    const Fake inner("inner");
    inner->Enumerates({Variant(std::int32_t{1}), Variant(std::int32_t{2})});
    object->Enumerates({inner.AsVariant(), Variant(std::int32_t{3})});
    EXPECT_EQ(Rendered(object.AsVariant()), "[[1, 2], 3]");
}

TEST(Convertibility, FollowsTheStandardConversion) {
    EXPECT_TRUE(CanConvertToText(Variant(L"a")));
    EXPECT_TRUE(CanConvertToText(Variant()));
    EXPECT_TRUE(CanConvertToText(Variant(std::int32_t{1})));
    EXPECT_FALSE(CanConvertToText(Variant::Null()));
    EXPECT_FALSE(CanConvertToText(Variant::ArrayOf(std::vector<Text>())));
    EXPECT_FALSE(CanConvertToText(Variant(static_cast<IDispatch*>(nullptr))));
    const Fake object("object");
    EXPECT_FALSE(CanConvertToText(object.AsVariant()));
    object->HasDefaultValue(L"Wert");
    EXPECT_TRUE(CanConvertToText(object.AsVariant()));
}

}  // namespace
}  // namespace kandora::test
