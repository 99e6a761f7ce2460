#include "support/MVariantArrays.h"

#include <gtest/gtest.h>

#include "automation/Errors.h"
#include "tests/support/FakeObject.h"
#include "tests/support/Raised.h"

namespace kandora::test {
namespace {

/// An array of values with bounds of its own.
Variant ArrayFrom(LONG lowerBound, const std::vector<Variant>& values) {
    SAFEARRAYBOUND bound{static_cast<ULONG>(values.size()), lowerBound};
    Variant array;
    array.Receive()->parray = SafeArrayCreate(VT_VARIANT, 1, &bound);
    array.Receive()->vt = VT_ARRAY | VT_VARIANT;
    for (std::size_t i = 0; i < values.size(); ++i) {
        array.SetElement(lowerBound + static_cast<LONG>(i), values[i]);
    }
    return array;
}

TEST(List, GrowsFromAnEmptyValue) {
    Variant list;
    EXPECT_EQ(CountOfArray(list), 0);
    AppendToArray(list, Variant(L"a"));
    EXPECT_EQ(list.LowerBound(), 0);
    EXPECT_EQ(list.UpperBound(), 0);
    AppendToArray(list, Variant(std::int32_t{2}));
    AppendToArray(list, Variant());
    EXPECT_EQ(CountOfArray(list), 3);
    EXPECT_EQ(Shown(list), R"(VARIANT() [BSTR "a", I4 2, Empty])");
}

TEST(List, GrowsFromAnEmptyArray) {
    Variant list = Variant::ArrayOf(std::vector<Variant>());
    EXPECT_EQ(CountOfArray(list), 0);
    AppendToArray(list, Variant(L"a"));
    EXPECT_EQ(list.LowerBound(), 0);
    EXPECT_EQ(CountOfArray(list), 1);
}

TEST(List, KeepsItsLowerBound) {
    Variant list = ArrayFrom(5, {Variant(L"a"), Variant(L"b")});
    EXPECT_EQ(CountOfArray(list), 2);
    AppendToArray(list, Variant(L"c"));
    EXPECT_EQ(list.LowerBound(), 5);
    EXPECT_EQ(list.UpperBound(), 7);
    EXPECT_EQ(TakeLastOfArray(list).ToText(), L"c");
    EXPECT_EQ(list.LowerBound(), 5);
    EXPECT_EQ(list.UpperBound(), 6);
    EXPECT_EQ(list.Element(6).ToText(), L"b");
}

TEST(List, GivesItsLastElementAway) {
    Variant list;
    AppendToArray(list, Variant(L"a"));
    AppendToArray(list, Variant(L"b"));
    EXPECT_EQ(TakeLastOfArray(list).ToText(), L"b");
    EXPECT_EQ(CountOfArray(list), 1);
    EXPECT_EQ(TakeLastOfArray(list).ToText(), L"a");
    EXPECT_TRUE(list.IsArray());
    EXPECT_EQ(list.LowerBound(), 0);
    EXPECT_EQ(list.UpperBound(), -1);
    EXPECT_EQ(CountOfArray(list), 0);
}

TEST(List, BecomesAnEmptyArrayFromZeroWhateverItsBounds) {
    Variant list = ArrayFrom(5, {Variant(L"a")});
    TakeLastOfArray(list);
    EXPECT_EQ(list.LowerBound(), 0);
    EXPECT_EQ(list.UpperBound(), -1);
}

TEST(List, HoldsObjectsByReference) {
    const Fake object("object");
    Variant list;
    AppendToArray(list, object.AsVariant());
    EXPECT_EQ(object->References(), 2U);
    {
        const Variant last = TakeLastOfArray(list);
        EXPECT_EQ(FakeObject::Of(last.ObjectPointer()), object.Get());
    }
    EXPECT_EQ(object->References(), 1U);
}

TEST(List, HoldsLists) {
    Variant list;
    AppendToArray(list, Variant::ArrayOf(std::vector<Text>{L"a", L"b"}));
    EXPECT_EQ(CountOfArray(list), 1);
    EXPECT_EQ(Shown(list.Element(0)), R"(BSTR() [BSTR "a", BSTR "b"])");
}

TEST(List, IsNothingElse) {
    for (const Variant& other : {Variant(L"text"), Variant(std::int32_t{1}), Variant::Null()}) {
        Variant list = other;
        EXPECT_EQ(NumberRaisedBy([&] { AppendToArray(list, Variant()); }), 13);
        EXPECT_EQ(NumberRaisedBy([&] { TakeLastOfArray(list); }), 13);
        EXPECT_EQ(NumberRaisedBy([&] { CountOfArray(list); }), 13);
        EXPECT_EQ(Shown(list), Shown(other));
    }
}

TEST(List, HoldsValuesOfAnyKindAndIsNoArrayOfTexts) {
    Variant texts = Variant::ArrayOf(std::vector<Text>{L"a"});
    EXPECT_EQ(NumberRaisedBy([&] { AppendToArray(texts, Variant(L"b")); }), 13);
}

TEST(List, HasNothingToGiveWhenItIsEmpty) {
    Variant list = Variant::ArrayOf(std::vector<Variant>());
    EXPECT_EQ(NumberRaisedBy([&] { TakeLastOfArray(list); }), 9);
}

}  // namespace
}  // namespace kandora::test
