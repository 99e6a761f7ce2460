#include "interfaces/CodePages.h"
#include "tests/component/ComponentSupport.h"
#include "tests/component/OwnProcess.h"

#include <gtest/gtest.h>

#include <thread>

// When the component may be unloaded. Every test leaves COM again, so that nothing is left when the next one
// begins.
namespace kandora::component_tests {
namespace {

CLSID RecordClass() {
    return GuidOf(L"{C6E71054-3657-497A-AE85-352AAAFB57A4}");
}
CLSID ProviderClass() {
    return GuidOf(L"{6129D4B6-648D-4312-890E-F7F9C45BC617}");
}

HRESULT CanUnload() {
    return Component::Built().CanUnloadNow();
}

ComPtr<IClassFactory> FactoryOf(const CLSID& clsid) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(Component::Built().GetClassObject(clsid, IID_IClassFactory, factory.ReceiveVoid()), S_OK);
    return factory;
}

TEST(Lifetime, NothingKeepsItAtFirst) {
    EXPECT_EQ(CanUnload(), S_OK);
}

TEST(Lifetime, AFactoryKeepsIt) {
    const Apartment apartment;
    ComPtr<IClassFactory> factory = FactoryOf(RecordClass());
    ASSERT_TRUE(factory);
    EXPECT_EQ(CanUnload(), S_FALSE);
    factory.Reset();
    EXPECT_EQ(CanUnload(), S_OK);
}

TEST(Lifetime, ALockKeepsIt) {
    const Apartment apartment;
    ComPtr<IClassFactory> factory = FactoryOf(RecordClass());
    ASSERT_TRUE(factory);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    factory.Reset();
    EXPECT_EQ(CanUnload(), S_FALSE);
    // Another factory, even of another class, gives the locks back.
    factory = FactoryOf(ProviderClass());
    ASSERT_TRUE(factory);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory.Reset();
    EXPECT_EQ(CanUnload(), S_OK);
}

TEST(Lifetime, TheThreadsStateKeepsItUntilTheThreadLeavesCom) {
    {
        const Apartment apartment;
        {
            const Apartment inner;
            Component::Built().Create<IUnknown>(ProviderClass(), IID_IUnknown).Reset();
            EXPECT_EQ(CanUnload(), S_FALSE) << "no object is left, but the settings of this thread are";
        }
        EXPECT_EQ(CanUnload(), S_FALSE) << "the thread has not left COM yet";
    }
    EXPECT_EQ(CanUnload(), S_OK);
}

TEST(Lifetime, EveryThreadHasAStateOfItsOwn) {
    const auto visit = [] {
        const Apartment apartment;
        EXPECT_TRUE(Component::Built().Create<IUnknown>(ProviderClass(), IID_IUnknown));
        EXPECT_EQ(CanUnload(), S_FALSE);
    };
    {
        const Apartment apartment;
        Component::Built().Create<IUnknown>(ProviderClass(), IID_IUnknown).Reset();
        std::thread(visit).join();
        EXPECT_EQ(CanUnload(), S_FALSE) << "the other thread's end is not this one's";
    }
    EXPECT_EQ(CanUnload(), S_OK);
    std::thread(visit).join();
    EXPECT_EQ(CanUnload(), S_OK);
}

TEST(Lifetime, AnObjectMayOutliveItsThreadsStay) {
    for (const PublicClass& each : PublicClasses()) {
        ComPtr<IUnknown> object;
        {
            const Apartment apartment;
            object = Component::Built().Create<IUnknown>(GuidOf(each.clsid), IID_IUnknown);
            ASSERT_TRUE(object) << Utf8FromText(each.name);
        }
        EXPECT_EQ(CanUnload(), S_FALSE) << Utf8FromText(each.name);
        object.Reset();
        EXPECT_EQ(CanUnload(), S_OK) << Utf8FromText(each.name);
    }
}

TEST(Lifetime, AThreadMayComeBack) {
    for (int round = 0; round < 3; ++round) {
        {
            const Apartment apartment;
            EXPECT_TRUE(Component::Built().Create<IUnknown>(ProviderClass(), IID_IUnknown));
        }
        EXPECT_EQ(CanUnload(), S_OK);
    }
}

TEST(Lifetime, OnceUsedItStaysUntilTheProcessEnds) {
    const Ended ended = RunInside(L"Unloading.*");
    EXPECT_EQ(ended.exitCode, 0U) << ended.output;
}

}  // namespace
}  // namespace kandora::component_tests
