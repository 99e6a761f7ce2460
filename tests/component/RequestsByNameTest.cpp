#include "interfaces/CodePages.h"
#include "tests/component/ComponentSupport.h"

#include <gtest/gtest.h>

#include <set>

#include "DmsSolution.h"
#include "Kandora.h"

// The host's requests by name: on the host's interface, and on the provider's own, which is all that a script
// sees. None does anything before the provider is initialised.
namespace kandora::component_tests {
namespace {

const std::vector<const wchar_t*> requests{
    L"ShowDocument",          L"PrintDocument", L"SaveDocument",   L"StartProvider",
    L"FibuVersion",           L"CreateDocID",   L"GetOpenDocInfo", L"SavePendingDocument",
    L"GetVirtualPrinterName", L"InitProvider",  L"DeleteDocument", L"SetDocumentStatus",
    L"DocumentChanged"};

class RequestsByName : public testing::Test {
protected:
    RequestsByName()
        : own_(Component::Built().Create<_ELOProvider>(CLSID_ELOProvider, IID__ELOProvider)),
          host_(own_.As<DMSProvider>(IID_DMSProvider)) {}

    static std::vector<Value> Voucher() {
        return List(Value::Text(L"20260105093000"), Value::Texts({L"1001/1"}));
    }
    std::vector<IDispatch*> Faces() { return {own_.Get(), host_.Get()}; }

    Apartment apartment_;
    ComPtr<_ELOProvider> own_;
    ComPtr<DMSProvider> host_;
};

TEST_F(RequestsByName, AreFoundOnBothInterfaces) {
    std::set<DISPID> ids{IdOf(own_.Get(), L"bRunning")};
    for (std::size_t at = 0; at < requests.size(); ++at) {
        EXPECT_EQ(IdOf(host_.Get(), requests[at]), static_cast<DISPID>(at + 1));
        ids.insert(IdOf(own_.Get(), requests[at]));
    }
    EXPECT_EQ(ids.size(), requests.size() + 1) << "two members share a number";
}

TEST_F(RequestsByName, BelongToTheInterfaceThatDescribesThem) {
    ExpectDescribed(host_.Get(), TextOf(IID_DMSProvider));
    // The property is the provider's own.
    auto* name = const_cast<LPOLESTR>(L"bRunning");
    DISPID id = 0;
    EXPECT_EQ(host_->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id), DISP_E_UNKNOWNNAME);
}

TEST_F(RequestsByName, SucceedWithTheirArguments) {
    for (IDispatch* face : Faces()) {
        for (const wchar_t* request : {L"ShowDocument", L"PrintDocument", L"SaveDocument", L"DeleteDocument",
                                       L"SetDocumentStatus", L"DocumentChanged"}) {
            const Called called = Call(face, request, Voucher());
            EXPECT_EQ(called.outcome, S_OK) << Utf8FromText(request);
            EXPECT_EQ(called.result.Type(), VT_EMPTY) << Utf8FromText(request);
        }
        EXPECT_EQ(Call(face, L"StartProvider", List(Value())).outcome, S_OK);
        EXPECT_EQ(Call(face, L"SavePendingDocument", List(Value(), Value::Text(L"1"), Value())).outcome,
                  S_OK);
        EXPECT_EQ(Call(face, L"CreateDocID", List(Value::Texts({}))).result.AsText(), L"");
        EXPECT_EQ(Call(face, L"GetVirtualPrinterName").result.AsText(), L"");
        EXPECT_EQ(Call(face, L"GetOpenDocInfo").result.Type(), VT_EMPTY);
    }
}

TEST_F(RequestsByName, TakeTheIdInAnyForm) {
    Bstr text(L"20260105093000");
    Value variable = Value::Long(4711);
    for (IDispatch* face : Faces()) {
        EXPECT_EQ(Call(face, L"ShowDocument", List(Value::To(text.Place()), Value())).outcome, S_OK);
        EXPECT_EQ(Call(face, L"ShowDocument", List(Value::To(variable.Place()), Value())).outcome, S_OK);
        EXPECT_EQ(Call(face, L"ShowDocument", List(Value::Null(), Value())).outcome, DISP_E_TYPEMISMATCH);
    }
    EXPECT_EQ(variable.Type(), VT_I4);
}

TEST_F(RequestsByName, NeedAllTheirArguments) {
    for (IDispatch* face : Faces()) {
        EXPECT_EQ(Call(face, L"SaveDocument", List(Value::Text(L"1"))).outcome, DISP_E_BADPARAMCOUNT);
        EXPECT_EQ(Call(face, L"StartProvider").outcome, DISP_E_BADPARAMCOUNT);
        EXPECT_EQ(Call(face, L"GetOpenDocInfo", List(Value())).outcome, DISP_E_BADPARAMCOUNT);
        EXPECT_EQ(Invoke(face, IdOf(face, L"GetOpenDocInfo"), DISPATCH_PROPERTYPUT, List(Value())).outcome,
                  DISP_E_MEMBERNOTFOUND)
            << "a request is no property";
    }
}

TEST_F(RequestsByName, LeaveThePropertyAlone) {
    for (const wchar_t* request : {L"ShowDocument", L"PrintDocument"}) {
        EXPECT_EQ(Call(own_.Get(), request, Voucher()).outcome, S_OK);
        EXPECT_EQ(Get(own_.Get(), L"bRunning").result.Raw().boolVal, VARIANT_FALSE);
    }
    EXPECT_EQ(Put(own_.Get(), L"bRunning", Value::Boolean(true)).outcome, S_OK);
    EXPECT_EQ(Get(own_.Get(), L"bRunning").result.Raw().boolVal, VARIANT_TRUE);
}

}  // namespace
}  // namespace kandora::component_tests
