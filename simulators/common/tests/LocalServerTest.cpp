#include <gtest/gtest.h>

#include <array>

#include "interfaces/Apartment.h"
#include "interfaces/ComPtr.h"
#include "simulators/common/DispatchObject.h"
#include "simulators/common/Failure.h"
#include "simulators/common/LocalServer.h"
#include "simulators/common/MemberTable.h"
#include "simulators/common/tests/FailureOf.h"
#include "simulators/common/tests/LateBoundClient.h"

namespace kandora::simulators {

namespace {

constexpr CLSID probeId = {0x2B0E5C11, 0x9D37, 0x4C60, {0x8A, 0x21, 0x5D, 0x0F, 0x6E, 0x94, 0xB3, 0x77}};
constexpr CLSID otherId = {0x2B0E5C12, 0x9D37, 0x4C60, {0x8A, 0x21, 0x5D, 0x0F, 0x6E, 0x94, 0xB3, 0x77}};

ServerClass Probe() {
    return {probeId, L"Kandora.Registrierungsprobe", L"Probe für Tests"};
}

class Plain : public DispatchObject {
public:
    Plain() : DispatchObject(L"Probe", Members()) {}

private:
    static const MemberTable& Members() {
        static const MemberTable table =
            MemberTableOf<Plain>().Method(L"Answer", 0, [](Plain&, Arguments&) { return Value::Long(42); });
        return table;
    }
};

std::wstring Read(HKEY root, const std::wstring& path, REGSAM view) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, (L"Software\\Classes\\" + path).c_str(), 0, KEY_READ | view, &key) !=
        ERROR_SUCCESS) {
        return L"(fehlt)";
    }
    wchar_t buffer[260] = {};
    DWORD size = sizeof(buffer) - sizeof(wchar_t);
    RegQueryValueExW(key, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size);
    RegCloseKey(key);
    return buffer;
}

class LocalServerTest : public ::testing::Test {
    Apartment apartment_;
};

TEST_F(LocalServerTest, RegistersForBothBitnessesAndLeavesNothingBehind) {
    const std::wstring id = ToText(probeId);
    const std::wstring command = L"\"C:\\Pfad mit Leerzeichen\\Probe.exe\" --store \"C:\\Archiv ü\"";
    RegisterServer(Probe(), command);
    const HKEY root =
        Read(HKEY_LOCAL_MACHINE, L"CLSID\\" + id, 0) == L"(fehlt)" ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    for (const REGSAM view : std::array<REGSAM, 2>{KEY_WOW64_32KEY, KEY_WOW64_64KEY}) {
        EXPECT_EQ(Read(root, L"Kandora.Registrierungsprobe\\CLSID", view), id);
        EXPECT_EQ(Read(root, L"CLSID\\" + id + L"\\LocalServer32", view), command);
        EXPECT_EQ(Read(root, L"CLSID\\" + id + L"\\ProgID", view), L"Kandora.Registrierungsprobe");
        EXPECT_EQ(Read(root, L"CLSID\\" + id, view), L"Probe für Tests");
    }
    UnregisterServer(Probe());
    for (const HKEY place : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        for (const REGSAM view : std::array<REGSAM, 2>{KEY_WOW64_32KEY, KEY_WOW64_64KEY}) {
            EXPECT_EQ(Read(place, L"Kandora.Registrierungsprobe", view), L"(fehlt)");
            EXPECT_EQ(Read(place, L"CLSID\\" + id, view), L"(fehlt)");
        }
    }
    EXPECT_EQ(FailureOf([] { UnregisterServer(Probe()); }), L"");
}

TEST_F(LocalServerTest, LeavesANameAloneThatBelongsToAnotherClass) {
    ServerClass other = Probe();
    other.id = otherId;
    RegisterServer(other, L"andere.exe");
    UnregisterServer(Probe());
    CLSID found{};
    EXPECT_EQ(CLSIDFromProgID(L"Kandora.Registrierungsprobe", &found), S_OK);
    EXPECT_TRUE(IsEqualCLSID(found, otherId));
    UnregisterServer(other);
    EXPECT_NE(CLSIDFromProgID(L"Kandora.Registrierungsprobe", &found), S_OK);
}

TEST_F(LocalServerTest, OffersObjectsInItsOwnProcessWhenAskedTo) {
    const ClassObject classObject(
        probeId, [] { return ComPtr<IDispatch>(MakeObject<Plain>().Get()); },
        CLSCTX_LOCAL_SERVER | CLSCTX_INPROC_SERVER);
    ComPtr<IDispatch> object;
    ASSERT_EQ(CoCreateInstance(probeId, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.ReceiveVoid()),
              S_OK);
    EXPECT_EQ(LateBoundClient(object.Get()).Call(L"Answer").Long(), 42);
}

TEST_F(LocalServerTest, TellsWhetherAClientHoldsTheServer) {
    const ClassObject classObject(
        probeId, [] { return ComPtr<IDispatch>(MakeObject<Plain>().Get()); },
        CLSCTX_LOCAL_SERVER | CLSCTX_INPROC_SERVER);
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(
        CoGetClassObject(probeId, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory, factory.ReceiveVoid()),
        S_OK);
    EXPECT_FALSE(ClassObject::IsLocked());
    factory->LockServer(TRUE);
    EXPECT_TRUE(ClassObject::IsLocked());
    factory->LockServer(FALSE);
    EXPECT_FALSE(ClassObject::IsLocked());
    void* nothing = nullptr;
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, &nothing), CLASS_E_NOAGGREGATION);
}

TEST_F(LocalServerTest, AnswersACodeWhenAnObjectCannotBeMade) {
    const ClassObject classObject(
        probeId, []() -> ComPtr<IDispatch> { throw Failure(L"Heute nicht"); },
        CLSCTX_LOCAL_SERVER | CLSCTX_INPROC_SERVER);
    ComPtr<IDispatch> object;
    EXPECT_EQ(CoCreateInstance(probeId, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.ReceiveVoid()),
              E_FAIL);
}

}  // namespace

}  // namespace kandora::simulators
