#include "interfaces/CodePages.h"
#include "tests/component/ComponentSupport.h"

#include <gtest/gtest.h>

#include <array>

// Class factories, identity and reference counts of all public classes, without registration.
namespace kandora::component_tests {
namespace {

constexpr const wchar_t* hostInterface = L"{CC5421A5-6F61-4DA2-BC42-D0C3E160672A}";
constexpr const wchar_t* unknownId = L"{3F0DE7A2-6B7E-4E0B-9C7C-2F1B7A2D9C11}";

class EveryClass : public testing::TestWithParam<PublicClass> {
protected:
    static CLSID ClassId() { return GuidOf(GetParam().clsid); }
    static IID DefaultId() { return GuidOf(GetParam().iid); }
    static ComPtr<IClassFactory> Factory() {
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(Component::Built().GetClassObject(ClassId(), IID_IClassFactory, factory.ReceiveVoid()),
                  S_OK);
        return factory;
    }
    static ComPtr<IUnknown> Object() { return Component::Built().Create<IUnknown>(ClassId(), IID_IUnknown); }
    /// Everything that the class answers to.
    static std::vector<IID> Interfaces() {
        std::vector<IID> interfaces{IID_IUnknown, IID_IDispatch, IID_ISupportErrorInfo, DefaultId()};
        if (std::wstring_view(GetParam().name) == L"ELOProvider") {
            interfaces.push_back(GuidOf(hostInterface));
        }
        return interfaces;
    }

    Apartment apartment_;
};

INSTANTIATE_TEST_SUITE_P(Component, EveryClass, testing::ValuesIn(PublicClasses()),
                         [](const auto& each) { return Utf8FromText(each.param.name); });

TEST_P(EveryClass, IsMadeByItsFactory) {
    ComPtr<IUnknown> factoryItself;
    EXPECT_EQ(Component::Built().GetClassObject(ClassId(), IID_IUnknown, factoryItself.ReceiveVoid()), S_OK);
    EXPECT_TRUE(factoryItself);

    const ComPtr<IClassFactory> factory = Factory();
    ASSERT_TRUE(factory);
    for (const IID& iid : Interfaces()) {
        ComPtr<IUnknown> object;
        EXPECT_EQ(factory->CreateInstance(nullptr, iid, object.ReceiveVoid()), S_OK)
            << Utf8FromText(TextOf(iid));
        EXPECT_TRUE(object);
    }
}

TEST_P(EveryClass, MakesANewObjectEachTime) {
    const ComPtr<IClassFactory> factory = Factory();
    ComPtr<IUnknown> first;
    ComPtr<IUnknown> second;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, first.ReceiveVoid()), S_OK);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, second.ReceiveVoid()), S_OK);
    EXPECT_NE(first.Get(), second.Get());
}

TEST_P(EveryClass, RefusesAggregation) {
    const ComPtr<IClassFactory> factory = Factory();
    const ComPtr<IUnknown> outer = Object();
    auto* object = reinterpret_cast<void*>(1);
    EXPECT_EQ(factory->CreateInstance(outer.Get(), IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
}

TEST_P(EveryClass, RefusesUnknownInterfaces) {
    auto* object = reinterpret_cast<void*>(1);
    EXPECT_EQ(Component::Built().GetClassObject(ClassId(), GuidOf(unknownId), &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);

    const ComPtr<IClassFactory> factory = Factory();
    object = reinterpret_cast<void*>(1);
    EXPECT_EQ(factory->CreateInstance(nullptr, GuidOf(unknownId), &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);

    const ComPtr<IUnknown> made = Object();
    object = reinterpret_cast<void*>(1);
    EXPECT_EQ(made->QueryInterface(GuidOf(unknownId), &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    object = reinterpret_cast<void*>(1);
    EXPECT_EQ(factory->QueryInterface(IID_IDispatch, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
}

TEST_P(EveryClass, RefusesAMissingPlaceForTheResult) {
    EXPECT_EQ(Component::Built().GetClassObject(ClassId(), IID_IClassFactory, nullptr), E_POINTER);
    const ComPtr<IClassFactory> factory = Factory();
    EXPECT_EQ(factory->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(Object()->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_P(EveryClass, IsOneObjectBehindAllItsInterfaces) {
    const ComPtr<IUnknown> object = Object();
    for (const IID& from : Interfaces()) {
        const ComPtr<IUnknown> start = object.As<IUnknown>(from);
        ASSERT_TRUE(start) << Utf8FromText(TextOf(from));
        // Every interface leads to the same identity, and to every other interface and back.
        EXPECT_EQ(start.As<IUnknown>(IID_IUnknown).Get(), object.Get());
        for (const IID& to : Interfaces()) {
            const ComPtr<IUnknown> reached = start.As<IUnknown>(to);
            ASSERT_TRUE(reached) << Utf8FromText(TextOf(from)) << " to " << Utf8FromText(TextOf(to));
            EXPECT_EQ(reached.As<IUnknown>(from).Get(), start.Get());
            EXPECT_EQ(object.As<IUnknown>(to).Get(), reached.Get());
        }
    }
}

TEST_P(EveryClass, CountsItsReferences) {
    const ComPtr<IUnknown> object = Object();
    EXPECT_EQ(object->AddRef(), 2U);
    for (const IID& iid : Interfaces()) {
        // All interfaces share one count.
        IUnknown* other = nullptr;
        ASSERT_EQ(object->QueryInterface(iid, reinterpret_cast<void**>(&other)), S_OK);
        EXPECT_EQ(other->AddRef(), 4U);
        EXPECT_EQ(object->Release(), 3U);
        EXPECT_EQ(other->Release(), 2U);
    }
    EXPECT_EQ(object->Release(), 1U);
}

TEST_P(EveryClass, TellsThatItLeavesErrorInformation) {
    const ComPtr<IUnknown> object = Object();
    const auto support = object.As<ISupportErrorInfo>(IID_ISupportErrorInfo);
    ASSERT_TRUE(support);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(DefaultId()), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(GuidOf(unknownId)), S_FALSE);
}

TEST_P(EveryClass, DescribesItsDefaultInterface) {
    ExpectDescribed(Component::Built().Create<IDispatch>(ClassId(), IID_IDispatch).Get(), GetParam().iid);
}

TEST_P(EveryClass, KnowsNoOtherNamesAndMembers) {
    const auto object = Component::Built().Create<IDispatch>(ClassId(), IID_IDispatch);
    auto* name = const_cast<LPOLESTR>(L"GibtEsNicht");
    DISPID id = 0;
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(id, DISPID_UNKNOWN);
    EXPECT_EQ(object->GetIDsOfNames(IID_IDispatch, &name, 1, LOCALE_USER_DEFAULT, &id),
              DISP_E_UNKNOWNINTERFACE);

    EXPECT_EQ(Invoke(object.Get(), 4711, DISPATCH_METHOD).outcome, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(Invoke(object.Get(), DISPID_VALUE, DISPATCH_PROPERTYGET).outcome, DISP_E_MEMBERNOTFOUND);
    DISPPARAMS parameters{};
    EXPECT_EQ(object->Invoke(1, IID_IDispatch, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &parameters,
                             nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(object->Invoke(1, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, nullptr, nullptr,
                             nullptr, nullptr),
              E_INVALIDARG);
}

TEST(ClassObjects, ThereAreNoOthers) {
    auto* object = reinterpret_cast<void*>(1);
    EXPECT_EQ(Component::Built().GetClassObject(GuidOf(unknownId), IID_IClassFactory, &object),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(Component::Built().GetClassObject(GuidOf(unknownId), IID_IClassFactory, nullptr), E_POINTER);
}

}  // namespace
}  // namespace kandora::component_tests
