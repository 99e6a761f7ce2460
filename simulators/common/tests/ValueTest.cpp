#include <gtest/gtest.h>

#include "interfaces/CodePages.h"
#include "simulators/common/CallFailure.h"
#include "simulators/common/DispatchObject.h"
#include "simulators/common/Unicode.h"
#include "simulators/common/Value.h"

namespace kandora::simulators {

namespace {

TEST(Text, KeepsUmlautsAndNulsOnTheWayToUtf8AndBack) {
    const std::wstring text = std::wstring(L"Zürich") + L'\0' + L"Öl \U0001F4C1";
    EXPECT_EQ(Utf8FromText(L"ü"), "\xC3\xBC");
    EXPECT_EQ(TextFromUtf8(Utf8FromText(text)), text);
}

TEST(Text, ReadsANullBstrAsEmpty) {
    EXPECT_EQ(FromBstr(nullptr), L"");
}

TEST(Text, ComparesWithoutLetterCaseBeyondAscii) {
    EXPECT_TRUE(EqualIgnoringCase(L"MÜLLER", L"müller"));
    EXPECT_FALSE(EqualIgnoringCase(L"Müller", L"Muller"));
}

TEST(Value, KeepsATextWithEmbeddedNul) {
    const std::wstring text(L"a\0b", 3);
    const Value value = Value::Text(text);
    Value copy;
    copy = value;
    EXPECT_NE(copy.Get().bstrVal, value.Get().bstrVal);
    EXPECT_EQ(FromBstr(copy.Get().bstrVal), text);
}

TEST(Value, ResolvesEveryByReferenceLevel) {
    BSTR text = SysAllocString(L"innen");
    VARIANT inner;
    VariantInit(&inner);
    inner.vt = VT_BYREF | VT_BSTR;
    inner.pbstrVal = &text;
    VARIANT outer;
    VariantInit(&outer);
    outer.vt = VT_BYREF | VT_VARIANT;
    outer.pvarVal = &inner;
    EXPECT_EQ(FromBstr(Value::CopyOf(outer).Get().bstrVal), L"innen");
    SysFreeString(text);
}

TEST(Value, RefusesAConversionThatMakesNoSense) {
    EXPECT_THROW(static_cast<void>(Value::Text(L"kein Betrag").ConvertedTo(VT_I4)), HresultError);
    EXPECT_EQ(Value::Text(L"42").ConvertedTo(VT_I4).Get().lVal, 42);
}

TEST(Describe, ShowsTypeAndValue) {
    EXPECT_EQ(Describe(Value::Long(-3).Get()), L"I4 -3");
    EXPECT_EQ(Describe(Value::Short(254).Get()), L"I2 254");
    EXPECT_EQ(Describe(Value::Boolean(true).Get()), L"BOOL true");
    EXPECT_EQ(Describe(Value::Null().Get()), L"NULL");
    EXPECT_EQ(Describe(Value().Get()), L"EMPTY");
    EXPECT_EQ(Describe(Value::Double(1.5).Get()), L"R8 1.5");
    EXPECT_EQ(Describe(Value::Text(L"Müller \"AG\"\r\n").Get()), L"BSTR \"Müller \\\"AG\\\"\\r\\n\"");
    EXPECT_EQ(Describe(Value::Object(nullptr).Get()), L"DISPATCH Nothing");
}

TEST(Describe, MarksByReferenceValues) {
    LONG number = 2;
    VARIANT reference;
    VariantInit(&reference);
    reference.vt = VT_BYREF | VT_I4;
    reference.plVal = &number;
    EXPECT_EQ(Describe(reference), L"I4& 2");

    VARIANT variant;
    VariantInit(&variant);
    variant.vt = VT_BYREF | VT_VARIANT;
    const Value text = Value::Text(L"x");
    VARIANT held = text.Get();
    variant.pvarVal = &held;
    EXPECT_EQ(Describe(variant), L"VARIANT& BSTR \"x\"");
}

}  // namespace

}  // namespace kandora::simulators
