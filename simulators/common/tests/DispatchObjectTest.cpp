#include <gtest/gtest.h>

#include <new>

#include "interfaces/ComPtr.h"
#include "simulators/common/CallFailure.h"
#include "simulators/common/DispatchObject.h"
#include "simulators/common/Failure.h"
#include "simulators/common/tests/LateBoundClient.h"

namespace kandora::simulators {

namespace {

class Calculator : public DispatchObject {
public:
    Calculator() : DispatchObject(L"Probe.Rechner", Members()) {}

    std::wstring unknownName;

protected:
    void OnUnknownName(std::wstring_view name) override { unknownName = name; }

private:
    static const MemberTable& Members() {
        static const MemberTable table =
            MemberTableOf<Calculator>()
                .Method(L"Add", 1, 2, &Calculator::Add)
                .Method(L"Größe", 1,
                        [](Calculator&, Arguments& a) {
                            return Value::Long(static_cast<std::int32_t>(a.Text(0).size()));
                        })
                .Method(L"Fail", 1, [](Calculator&, Arguments& a) { return Fail(a); })
                .Property(L"Total", &Calculator::Total, &Calculator::SetTotal)
                .Property(L"Name", [](Calculator&, Arguments&) { return Value::Text(L"Rechner"); })
                .Property(L"Cell", &Calculator::Cell, &Calculator::SetCell, 1);
        return table;
    }

    Value Add(Arguments& arguments) {
        total_ += arguments.Long(0) + (arguments.IsMissing(1) ? 0 : arguments.Long(1));
        return Value::Long(total_);
    }
    static Value Fail(Arguments& arguments) {
        switch (arguments.Long(0)) {
        case 1:
            throw AutomationError(5, L"Ungültig", L"Quelle");
        case 2:
            throw AutomationError(static_cast<std::int32_t>(0x800706BAU), L"");
        case 3:
            throw HresultError(static_cast<HRESULT>(0x800706BE));
        case 4:
            throw Failure(L"Für Menschen");
        case 5:
            throw std::bad_alloc();
        case 6:
            throw std::runtime_error("Kern");
        default:
            throw 7;
        }
    }
    Value Total(Arguments&) const { return Value::Long(total_); }
    void SetTotal(Arguments& arguments) { total_ = arguments.Long(0); }
    Value Cell(Arguments& arguments) { return Value::Long(cells_[arguments.Long(0)]); }
    void SetCell(Arguments& arguments) { cells_[arguments.Long(0)] = arguments.Long(1); }

    std::int32_t total_ = 0;
    std::map<std::int32_t, std::int32_t> cells_;
};

class DispatchObjectTest : public ::testing::Test {
protected:
    ComPtr<Calculator> calculator_ = MakeObject<Calculator>();
    LateBoundClient client_{calculator_.Get()};
};

TEST_F(DispatchObjectTest, FindsMembersWithoutRegardToLetterCase) {
    EXPECT_EQ(client_.Call(L"aDD", {Value::Long(4)}).Long(), 4);
    EXPECT_EQ(client_.Call(L"GRÖSSE", {Value::Text(L"abc")}).code, DISP_E_UNKNOWNNAME);
    EXPECT_EQ(client_.Call(L"gRÖßE", {Value::Text(L"abc")}).Long(), 3);
}

TEST_F(DispatchObjectTest, SaysThatANameIsUnknown) {
    EXPECT_EQ(client_.Call(L"Gibtsnicht").code, DISP_E_UNKNOWNNAME);
    EXPECT_EQ(calculator_->unknownName, L"Gibtsnicht");
}

TEST_F(DispatchObjectTest, AnswersDISPID_UNKNOWNForNamedArguments) {
    std::wstring member = L"Add";
    std::wstring argument = L"Wert";
    LPOLESTR names[] = {member.data(), argument.data()};
    DISPID ids[2] = {0, 0};
    EXPECT_EQ(calculator_->GetIDsOfNames(IID_NULL, names, 2, 0, ids), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(ids[0], 1);
    EXPECT_EQ(ids[1], DISPID_UNKNOWN);
}

TEST_F(DispatchObjectTest, TakesMethodsWithEitherFlag) {
    const std::vector<VARIANT> one{Value::Long(1).Get()};
    EXPECT_EQ(client_.Invoke(L"Add", DISPATCH_METHOD, one).Long(), 1);
    EXPECT_EQ(client_.Invoke(L"Add", DISPATCH_PROPERTYGET, one).Long(), 2);
    EXPECT_EQ(client_.Invoke(L"Total", DISPATCH_METHOD, {}).code, DISP_E_MEMBERNOTFOUND);
}

TEST_F(DispatchObjectTest, ReadsAndAssignsProperties) {
    EXPECT_EQ(client_.Put(L"Total", Value::Text(L"17")).code, S_OK);
    EXPECT_EQ(client_.Get(L"Total").Long(), 17);
    EXPECT_EQ(client_.Put(L"Name", Value::Text(L"x")).code, DISP_E_MEMBERNOTFOUND);
}

TEST_F(DispatchObjectTest, DemandsTheNamedIdOfAnAssignment) {
    VARIANT value = Value::Long(3).Get();
    DISPPARAMS parameters{&value, nullptr, 1, 0};
    EXPECT_EQ(
        calculator_->Invoke(4, IID_NULL, 0, DISPATCH_PROPERTYPUT, &parameters, nullptr, nullptr, nullptr),
        DISP_E_PARAMNOTOPTIONAL);
    EXPECT_EQ(client_.Get(L"Total").Long(), 0);
}

TEST_F(DispatchObjectTest, HandsTheValueOfAnIndexedPropertyOverAsTheLastArgument) {
    EXPECT_EQ(
        client_.Invoke(L"Cell", DISPATCH_PROPERTYPUT, {Value::Long(3).Get(), Value::Long(30).Get()}).code,
        S_OK);
    EXPECT_EQ(client_.Call(L"Cell", {Value::Long(3)}).Long(), 30);
    EXPECT_EQ(client_.Put(L"Cell", Value::Long(1)).code, DISP_E_BADPARAMCOUNT);
}

TEST_F(DispatchObjectTest, CountsArguments) {
    EXPECT_EQ(client_.Call(L"Add").code, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(client_.Call(L"Add", {Value::Long(1), Value::Long(2)}).Long(), 3);
    EXPECT_EQ(client_.Call(L"Add", {Value::Long(1), Value::Long(2), Value::Long(3)}).code,
              DISP_E_BADPARAMCOUNT);
}

TEST_F(DispatchObjectTest, NamesTheArgumentThatDoesNotFitCountedFromTheBack) {
    const CallResult result = client_.Call(L"Add", {Value::Text(L"abc"), Value::Long(2)});
    EXPECT_EQ(result.code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(result.argumentError, 1U);
    EXPECT_EQ(client_.Call(L"Add", {Value::Double(1e12)}).code, DISP_E_OVERFLOW);
}

TEST_F(DispatchObjectTest, TreatsAnArgumentLeftOutBetweenCommasAsMissing) {
    VARIANT missing;
    VariantInit(&missing);
    missing.vt = VT_ERROR;
    missing.scode = DISP_E_PARAMNOTFOUND;
    EXPECT_EQ(client_.Invoke(L"Add", DISPATCH_METHOD, {Value::Long(5).Get(), missing}).Long(), 5);
    EXPECT_EQ(client_.Invoke(L"Add", DISPATCH_METHOD, {missing, Value::Long(5).Get()}).code,
              DISP_E_PARAMNOTOPTIONAL);
}

TEST_F(DispatchObjectTest, ResolvesVariantsPassedByReference) {
    VARIANT held = Value::Short(6).Get();
    VARIANT reference;
    VariantInit(&reference);
    reference.vt = VT_BYREF | VT_VARIANT;
    reference.pvarVal = &held;
    EXPECT_EQ(client_.Invoke(L"Add", DISPATCH_METHOD, {reference}).Long(), 6);
}

TEST_F(DispatchObjectTest, TurnsExceptionsIntoAutomationErrors) {
    const CallResult classic = client_.Call(L"Fail", {Value::Long(1)});
    EXPECT_EQ(classic.code, DISP_E_EXCEPTION);
    EXPECT_EQ(static_cast<std::uint32_t>(classic.number), 0x800A0005U);
    EXPECT_EQ(classic.description, L"Ungültig");
    EXPECT_EQ(classic.source, L"Quelle");

    const CallResult raw = client_.Call(L"Fail", {Value::Long(2)});
    EXPECT_EQ(static_cast<std::uint32_t>(raw.number), 0x800706BAU);
    EXPECT_EQ(raw.source, L"Probe.Rechner");

    EXPECT_EQ(client_.Call(L"Fail", {Value::Long(3)}).code, static_cast<HRESULT>(0x800706BE));
    EXPECT_EQ(client_.Call(L"Fail", {Value::Long(4)}).description, L"Für Menschen");
    EXPECT_EQ(client_.Call(L"Fail", {Value::Long(5)}).code, E_OUTOFMEMORY);
    EXPECT_EQ(client_.Call(L"Fail", {Value::Long(6)}).description, L"Kern");
    EXPECT_EQ(client_.Call(L"Fail", {Value::Long(7)}).code, E_UNEXPECTED);
}

TEST_F(DispatchObjectTest, NeedsNeitherResultNorExceptionRecord) {
    VARIANT one = Value::Long(1).Get();
    DISPPARAMS parameters{&one, nullptr, 1, 0};
    EXPECT_EQ(calculator_->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr),
              S_OK);
    EXPECT_EQ(calculator_->Invoke(3, IID_NULL, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr),
              DISP_E_EXCEPTION);
    EXPECT_EQ(client_.Get(L"Total").Long(), 1);
}

TEST_F(DispatchObjectTest, RefusesUnknownIdsAndInterfaces) {
    DISPPARAMS none{};
    EXPECT_EQ(calculator_->Invoke(77, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
              DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(calculator_->Invoke(1, IID_IUnknown, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
    void* other = &none;
    EXPECT_EQ(calculator_->QueryInterface(IID_IClassFactory, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
}

TEST(DispatchObjectLifetime, IsCountedUntilTheLastReferenceGoes) {
    const long before = DispatchObject::LiveObjects();
    {
        const ComPtr<Calculator> calculator = MakeObject<Calculator>();
        const ComPtr<IDispatch> second(calculator.Get());
        EXPECT_EQ(DispatchObject::LiveObjects(), before + 1);
        EXPECT_EQ(second->AddRef(), 3U);
        EXPECT_EQ(second->Release(), 2U);
    }
    EXPECT_EQ(DispatchObject::LiveObjects(), before);
}

}  // namespace

}  // namespace kandora::simulators
