#include "automation/Variant.h"

#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/FakeObject.h"
#include "tests/support/Raised.h"

namespace kandora::test {
namespace {

/// A value of any type, from its raw form.
template <class Fill>
Variant Raw(VARTYPE type, Fill&& fill) {
    VARIANT raw;
    VariantInit(&raw);
    raw.vt = type;
    fill(raw);
    return Variant(raw);
}

Variant Double(double value) {
    return Raw(VT_R8, [&](VARIANT& raw) { raw.dblVal = value; });
}

Variant ErrorValue(SCODE scode) {
    return Raw(VT_ERROR, [&](VARIANT& raw) { raw.scode = scode; });
}

TEST(AValue, StartsEmpty) {
    const Variant value;
    EXPECT_TRUE(value.IsEmpty());
    EXPECT_FALSE(value.IsNull() || value.IsArray() || value.IsObject());
    EXPECT_EQ(value.ToText(), L"");
    EXPECT_EQ(value.ToLong(), 0);
    EXPECT_EQ(value.ToInteger(), 0);
    EXPECT_FALSE(value.ToBoolean());
}

TEST(AValue, IsCopiedDeeply) {
    Variant first(L"text");
    const Variant second = first;
    EXPECT_NE(first.Raw().bstrVal, second.Raw().bstrVal);
    first = Variant(std::int32_t{7});
    EXPECT_EQ(second.ToText(), L"text");
    const Variant moved = std::move(first);
    EXPECT_EQ(moved.ToLong(), 7);
    first = Variant(L"wieder");
    EXPECT_EQ(first.ToText(), L"wieder");
}

TEST(AValue, SurvivesBeingAssignedToItself) {
    Variant value(L"text");
    const Variant& same = value;
    value = same;
    EXPECT_EQ(value.ToText(), L"text");
}

TEST(ValueAsText, KeepsItsLength) {
    const Text odd(L"a\0b\0", 4);
    EXPECT_EQ(Variant(odd).ToText(), odd);
    EXPECT_EQ(Variant(Variant(odd)).ToText().size(), 4U);
    EXPECT_EQ(Variant(L"").ToText(), L"");
    EXPECT_EQ(TextOf(nullptr), L"") << "a missing string is the empty one";
    EXPECT_EQ(Raw(VT_BSTR, [](VARIANT& raw) { raw.bstrVal = nullptr; }).ToText(), L"");
}

TEST(ValueAsText, OfOtherValues) {
    EXPECT_EQ(Variant(std::int32_t{-4711}).ToText(), L"-4711");
    EXPECT_EQ(Variant(std::int16_t{7}).ToText(), L"7");
    EXPECT_EQ(Double(2).ToText(), L"2");
    EXPECT_EQ(Raw(VT_CY, [](VARIANT& raw) { raw.cyVal.int64 = 120000; }).ToText(), L"12");
    EXPECT_EQ(Raw(VT_I8, [](VARIANT& raw) { raw.llVal = 9007199254740993; }).ToText(), L"9007199254740993");
    EXPECT_EQ(Raw(VT_UI1, [](VARIANT& raw) { raw.bVal = 255; }).ToText(), L"255");
    EXPECT_EQ(NumberRaisedBy([] { return Variant::Null().ToText(); }), 94);
    EXPECT_EQ(NumberRaisedBy([] { return Variant::ArrayOf(std::vector<Text>{L"a"}).ToText(); }), 13);
    EXPECT_EQ(NumberRaisedBy([] { return Variant(static_cast<IDispatch*>(nullptr)).ToText(); }), 91);
    EXPECT_EQ(NumberRaisedBy([] { return ErrorValue(DISP_E_PARAMNOTFOUND).ToText(); }), 13);
}

TEST(ValueAsText, OfAnObjectIsItsDefaultValue) {
    const Fake object("object");
    object->HasDefaultValue(L"Wert");
    EXPECT_EQ(object.AsVariant().ToText(), L"Wert");
}

TEST(ValueAsText, ForJoiningTakesNullForEmpty) {
    EXPECT_EQ(Variant::Null().ToJoinedText(), L"");
    EXPECT_EQ(Variant().ToJoinedText(), L"");
    EXPECT_EQ(Variant(L"a").ToJoinedText(), L"a");
}

TEST(ValueAsNumber, IsRoundedToTheNearestAndToEvenInBetween) {
    struct Case {
        double value;
        std::int32_t rounded;
    };
    for (const Case& row :
         std::vector<Case>{{0.5, 0}, {1.5, 2}, {2.5, 2}, {-0.5, 0}, {-1.5, -2}, {2.4, 2}, {2.6, 3}}) {
        EXPECT_EQ(Double(row.value).ToLong(), row.rounded) << row.value;
        EXPECT_EQ(Double(row.value).ToInteger(), row.rounded) << row.value;
    }
}

TEST(ValueAsNumber, StaysWithinItsRange) {
    EXPECT_EQ(Double(2147483647).ToLong(), 2147483647);
    EXPECT_EQ(NumberRaisedBy([] { return Double(2147483648.0).ToLong(); }), 6);
    EXPECT_EQ(Double(-2147483648.0).ToLong(), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(Variant(std::int32_t{32767}).ToInteger(), 32767);
    EXPECT_EQ(NumberRaisedBy([] { return Variant(std::int32_t{32768}).ToInteger(); }), 6);
    EXPECT_EQ(NumberRaisedBy([] { return Variant(std::int32_t{-32769}).ToInteger(); }), 6);
}

TEST(ValueAsNumber, OfAText) {
    EXPECT_EQ(Variant(L" 17 ").ToLong(), 17);
    EXPECT_EQ(Variant(L"-3").ToInteger(), -3);
    EXPECT_EQ(NumberRaisedBy([] { return Variant(L"").ToLong(); }), 13);
    EXPECT_EQ(NumberRaisedBy([] { return Variant(L"12abc").ToLong(); }), 13);
    EXPECT_EQ(NumberRaisedBy([] { return Variant(L"99999999999").ToLong(); }), 6);
    EXPECT_EQ(Variant(true).ToLong(), -1);
    EXPECT_EQ(NumberRaisedBy([] { return Variant::Null().ToLong(); }), 94);
}

TEST(ValueAsTruth, IsAWordInAnyLetterCaseOrANumber) {
    for (const wchar_t* const word : {L"True", L"TRUE", L"true", L"1", L"-1", L"17"}) {
        EXPECT_TRUE(Variant(word).ToBoolean()) << Spelled(word);
    }
    for (const wchar_t* const word : {L"False", L"FALSE", L"false", L"0", L"-0"}) {
        EXPECT_FALSE(Variant(word).ToBoolean()) << Spelled(word);
    }
    for (const wchar_t* const word : {L"", L"ja", L"wahr ", L"T"}) {
        EXPECT_EQ(NumberRaisedBy([&] { return Variant(word).ToBoolean(); }), 13) << Spelled(word);
    }
    EXPECT_TRUE(Variant(std::int32_t{2}).ToBoolean());
    EXPECT_TRUE(Double(0.1).ToBoolean());
    EXPECT_FALSE(Variant().ToBoolean());
    EXPECT_EQ(NumberRaisedBy([] { return Variant::Null().ToBoolean(); }), 94);
    EXPECT_TRUE(Raw(VT_BOOL, [](VARIANT& raw) { raw.boolVal = 1; }).ToBoolean())
        << "true is anything but zero";
}

TEST(NumericValues, AreNumbersAndTextsThatReadAsOne) {
    for (const Variant& value :
         {Variant(), Variant(std::int16_t{0}), Variant(std::int32_t{-1}), Variant(true), Double(0.5),
          Variant(L"17"), Variant(L" -3 "), Variant(L"1e3")}) {
        EXPECT_TRUE(value.IsNumeric()) << Shown(value);
    }
    for (const Variant& value : {Variant::Null(), Variant(L""), Variant(L"Ordner"), Variant(L"12abc"),
                                 Variant(L"--1"), Variant::ArrayOf(std::vector<Text>{L"1"}), ErrorValue(0),
                                 Variant(static_cast<IDispatch*>(nullptr))}) {
        EXPECT_FALSE(value.IsNumeric()) << Shown(value);
    }
}

TEST(ValueEquality, WithATextIsExact) {
    EXPECT_TRUE(Variant(L"ID").EqualsText(L"ID"));
    EXPECT_FALSE(Variant(L"id").EqualsText(L"ID"));
    EXPECT_FALSE(Variant(Text(L"I\0", 2)).EqualsText(L"I"));
    EXPECT_TRUE(Variant().EqualsText(L""));
    EXPECT_FALSE(Variant().EqualsText(L"0"));
    EXPECT_FALSE(Variant::Null().EqualsText(L""));
    EXPECT_FALSE(Variant(std::int32_t{17}).EqualsText(L"17"));
    EXPECT_EQ(NumberRaisedBy([] { return Variant::ArrayOf(std::vector<Text>()).EqualsText(L""); }), 13);
    EXPECT_EQ(NumberRaisedBy([] { return Variant(static_cast<IDispatch*>(nullptr)).EqualsText(L""); }), 13);
}

TEST(ValueComparison, WithANumber) {
    EXPECT_TRUE(Variant(std::int32_t{1}).ComparedTo(0) > 0);
    EXPECT_TRUE(Variant(L"0").ComparedTo(0) == 0);
    EXPECT_TRUE(Variant(std::int16_t{-1}).ComparedTo(0) < 0);
    EXPECT_TRUE(Variant().ComparedTo(0) == 0);
    const auto withNull = Variant::Null().ComparedTo(0);
    EXPECT_FALSE(withNull > 0 || withNull < 0 || withNull == 0);
    EXPECT_EQ(NumberRaisedBy([] { return Variant(L"x").ComparedTo(0); }), 13);
}

TEST(ValueByReference, IsDereferencedWhenItIsTakenIn) {
    std::int32_t number = 17;
    const Variant taken =
        Raw(VT_BYREF | VT_I4, [&](VARIANT& raw) { raw.plVal = reinterpret_cast<LONG*>(&number); });
    number = 18;
    EXPECT_EQ(Shown(taken), "I4 17");

    BSTR text = SysAllocStringLen(L"a\0b", 3);
    const Variant copied = Raw(VT_BYREF | VT_BSTR, [&](VARIANT& raw) { raw.pbstrVal = &text; });
    SysFreeString(text);
    EXPECT_EQ(copied.ToText(), Text(L"a\0b", 3));

    Variant inner(L"innen");
    const Variant nested =
        Raw(VT_BYREF | VT_VARIANT, [&](VARIANT& raw) { raw.pvarVal = const_cast<VARIANT*>(&inner.Raw()); });
    EXPECT_EQ(Shown(nested), R"(BSTR "innen")");

    VARIANT reference = inner.Raw();
    reference.vt = VT_BYREF | VT_BSTR;
    reference.pbstrVal = &inner.Receive()->bstrVal;
    const Variant twice = Raw(VT_BYREF | VT_VARIANT, [&](VARIANT& raw) { raw.pvarVal = &reference; });
    EXPECT_EQ(Shown(twice), R"(BSTR "innen")");
}

TEST(ValueByReference, ArraysAreCopied) {
    const Variant array = Variant::ArrayOf(std::vector<Text>{L"a", L"b"});
    SAFEARRAY* place = array.Raw().parray;
    const Variant taken = Raw(VT_BYREF | VT_ARRAY | VT_BSTR, [&](VARIANT& raw) { raw.pparray = &place; });
    EXPECT_NE(taken.Raw().parray, place);
    EXPECT_EQ(Shown(taken), R"(BSTR() [BSTR "a", BSTR "b"])");
}

TEST(ValueByReference, WithoutAPlaceIsAnErrorValue) {
    const Variant taken = Raw(VT_BYREF | VT_VARIANT, [](VARIANT& raw) { raw.pvarVal = nullptr; });
    EXPECT_EQ(taken.Type(), VT_ERROR);
}

TEST(ValueByReference, MayPointNowhereBehindAnotherReference) {
    VARIANT nowhere;
    nowhere.vt = VT_BYREF | VT_I4;
    nowhere.plVal = nullptr;
    EXPECT_EQ(Raw(VT_BYREF | VT_I4, [](VARIANT& raw) { raw.plVal = nullptr; }).Type(), VT_ERROR);
    EXPECT_EQ(Raw(VT_BYREF | VT_VARIANT, [&](VARIANT& raw) { raw.pvarVal = &nowhere; }).Type(), VT_ERROR);
}

TEST(ValueOfUnknownType, IsAnErrorValue) {
    EXPECT_EQ(Raw(static_cast<VARTYPE>(0x4F), [](VARIANT&) {}).Type(), VT_ERROR);
    EXPECT_EQ(Raw(static_cast<VARTYPE>(VT_BYREF | 0x4F), [](VARIANT& raw) { raw.byref = &raw; }).Type(),
              VT_ERROR);
}

TEST(ValueWithObject, IsHeldByReference) {
    const Fake object("object");
    {
        const Variant value = object.AsVariant();
        const std::vector<Variant> copies{value, value};
        EXPECT_TRUE(value.IsObject());
        EXPECT_TRUE(copies.back().IsObject());
        EXPECT_EQ(object->References(), 4U);
    }
    EXPECT_EQ(object->References(), 1U);
    EXPECT_EQ(Variant(static_cast<IDispatch*>(nullptr)).ObjectPointer(), nullptr);
}

TEST(ValueWithArray, OfTextsStartsAtZero) {
    const Variant array = Variant::ArrayOf(std::vector<Text>{L"a", L"", L"ä"});
    EXPECT_TRUE(array.IsArray());
    EXPECT_EQ(array.Type(), VT_ARRAY | VT_BSTR);
    EXPECT_EQ(array.LowerBound(), 0);
    EXPECT_EQ(array.UpperBound(), 2);
    EXPECT_EQ(array.Element(2).ToText(), L"ä");
    const Variant empty = Variant::ArrayOf(std::vector<Text>());
    EXPECT_EQ(empty.LowerBound(), 0);
    EXPECT_EQ(empty.UpperBound(), -1);
    EXPECT_TRUE(empty.Elements().empty());
}

TEST(ValueWithArray, IsReadWithinItsBounds) {
    const Variant array = Variant::ArrayOf(std::vector<Text>{L"a"});
    EXPECT_EQ(NumberRaisedBy([&] { return array.Element(1); }), 9);
    EXPECT_EQ(NumberRaisedBy([&] { return array.Element(-1); }), 9);
    EXPECT_EQ(NumberRaisedBy([] { return Variant(L"a").Element(0); }), 13);
    EXPECT_EQ(NumberRaisedBy([] { return Variant().UpperBound(); }), 13);
    EXPECT_EQ(NumberRaisedBy([] { return Variant().LowerBound(); }), 13);
    EXPECT_EQ(NumberRaisedBy([] { return Variant(L"").Elements(); }), 13);
}

TEST(ValueWithArray, OfEveryElementTypeIsRead) {
    SAFEARRAYBOUND bound{2, 0};
    Variant numbers;
    numbers.Receive()->parray = SafeArrayCreate(VT_R8, 1, &bound);
    numbers.Receive()->vt = VT_ARRAY | VT_R8;
    LONG index = 1;
    double value = 2;
    SafeArrayPutElement(numbers.Raw().parray, &index, &value);
    EXPECT_EQ(Shown(numbers), "R8() [R8 0, R8 2]");

    Variant bytes;
    bytes.Receive()->parray = SafeArrayCreate(VT_UI1, 1, &bound);
    bytes.Receive()->vt = VT_ARRAY | VT_UI1;
    EXPECT_EQ(Shown(bytes), "UI1() [UI1 0, UI1 0]");

    Variant truths;
    truths.Receive()->parray = SafeArrayCreate(VT_BOOL, 1, &bound);
    truths.Receive()->vt = VT_ARRAY | VT_BOOL;
    EXPECT_EQ(Shown(truths), "BOOL() [BOOL False, BOOL False]");
}

TEST(ValueWithArray, OfSeveralDimensionsHasElementsButNoSingleIndex) {
    SAFEARRAYBOUND bounds[]{{2, 0}, {2, 5}};
    Variant matrix;
    matrix.Receive()->parray = SafeArrayCreate(VT_I4, 2, bounds);
    matrix.Receive()->vt = VT_ARRAY | VT_I4;
    LONG place[]{1, 5};
    LONG value = 7;
    SafeArrayPutElement(matrix.Raw().parray, place, &value);
    EXPECT_EQ(Shown(matrix), "I4() [I4 0, I4 7, I4 0, I4 0]") << "the first index runs fastest";
    EXPECT_EQ(NumberRaisedBy([&] { return matrix.Element(0); }), 9);
}

TEST(ValueWithArray, WithoutMemoryIsNoArrayToReadFrom) {
    Variant array;
    array.Receive()->vt = VT_ARRAY | VT_VARIANT;
    array.Receive()->parray = nullptr;
    EXPECT_EQ(NumberRaisedBy([&] { return array.UpperBound(); }), 9);
    EXPECT_EQ(NumberRaisedBy([&] { return array.Element(0); }), 9);
}

TEST(ValueWithArray, HandsOutCopiesOfItsElements) {
    const Fake object("object");
    const Variant array = Variant::ArrayOf(std::vector<Variant>{object.AsVariant(), Variant(L"a")});
    EXPECT_EQ(object->References(), 2U);
    const std::vector<Variant> elements = array.Elements();
    EXPECT_EQ(object->References(), 3U);
    EXPECT_NE(elements.at(1).Raw().bstrVal, array.Element(1).Raw().bstrVal);
}

TEST(ValueWithArray, CanBeGivenAway) {
    Variant array = Variant::ArrayOf(std::vector<Text>{L"a"});
    VARIANT given = array.Detach();
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(given.vt, VT_ARRAY | VT_BSTR);
    VariantClear(&given);
}

TEST(ResultValue, ThatCameByReferenceIsReplacedByACopy) {
    std::int32_t number = 5;
    Variant result;
    result.Receive()->vt = VT_BYREF | VT_I4;
    result.Receive()->plVal = reinterpret_cast<LONG*>(&number);
    result.Dereference();
    number = 6;
    EXPECT_EQ(Shown(result), "I4 5");
}

}  // namespace
}  // namespace kandora::test
