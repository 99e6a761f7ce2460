#include "tests/component/CallingValue.h"
#include "tests/component/ComponentSupport.h"

#include <gtest/gtest.h>

#include <set>

#include "DmsSolution.h"
#include "Kandora.h"

// What enters the component while one of its requests waits for another program.
namespace kandora::component_tests {
namespace {

constexpr HRESULT retryLater = RPC_E_SERVERCALL_RETRYLATER;
constexpr HRESULT error5 = static_cast<HRESULT>(0x800A0005);

/// The first request of a host is traced beside the component; TearDown removes these files.
class Reentry : public testing::Test {
protected:
    Reentry()
        : own_(Component::Built().Create<_ELOProvider>(CLSID_ELOProvider, IID__ELOProvider)),
          host_(own_.As<DMSProvider>(IID_DMSProvider)) {}
    void TearDown() override {
        for (const fs::path& file : Logs()) {
            if (!before_.contains(file)) {
                fs::remove(file);
            }
        }
    }

    /// Runs the action while a request of the host is in progress.
    void DuringARequest(std::function<void()> action) {
        bool hasRun = false;
        CallingValue value([&] {
            action();
            hasRun = true;
        });
        EXPECT_EQ(host_->FibuVersion(value.AsVariant()), S_OK);
        EXPECT_TRUE(hasRun);
    }

    static std::set<fs::path> Logs() {
        std::set<fs::path> logs;
        for (const fs::directory_entry& entry : fs::directory_iterator(BinFolder())) {
            if (entry.path().extension() == L".log") {
                logs.insert(entry.path());
            }
        }
        return logs;
    }

    std::set<fs::path> before_ = Logs();
    Apartment apartment_;
    ComPtr<_ELOProvider> own_;
    ComPtr<DMSProvider> host_;
};

TEST_F(Reentry, AnOutsideCallersCallIsTurnedAwayUntilTheRequestIsDone) {
    const auto client = Component::Built().Create<_ELODMS>(CLSID_ELODMS, IID__ELODMS);
    const auto accounting = Component::Built().Create<_SOKInterface>(CLSID_SOKInterface, IID__SOKInterface);
    DuringARequest([&] {
        Bstr result;
        EXPECT_EQ(client->CheckLogin(result.Receive()), retryLater);
        ComPtr<IErrorInfo> info;
        ASSERT_EQ(GetErrorInfo(0, info.Receive()), S_OK);
        Bstr description;
        info->GetDescription(description.Receive());
        EXPECT_EQ(description.Text(),
                  L"Es ist gerade eine andere Anfrage in Arbeit. Bitte versuchen Sie es danach noch einmal.");
        VARIANT_BOOL active = VARIANT_TRUE;
        EXPECT_EQ(accounting->EinstellungenLesen(&active), retryLater);
        EXPECT_EQ(active, VARIANT_FALSE);
        EXPECT_EQ(Call(client.Get(), L"CheckLogin").code, retryLater);
    });
    Bstr result;
    EXPECT_EQ(client->CheckLogin(result.Receive()), error5) << "without credentials";
}

TEST_F(Reentry, RecordsStayWithinReach) {
    const auto record = Component::Built().Create<_cBeleg>(CLSID_cBeleg, IID__cBeleg);
    DuringARequest([&] {
        const Bstr number(L"1001");
        EXPECT_EQ(record->put_BelegNr(number.Get()), S_OK);
        Bstr read;
        EXPECT_EQ(record->get_BelegNr(read.Receive()), S_OK);
        EXPECT_EQ(read.Text(), L"1001");
    });
}

TEST_F(Reentry, TheHostsRequestsSucceed) {
    DuringARequest([&] {
        const Bstr id(L"20260105093000");
        const Value voucher = Value::Texts({L"", L"", L"1001", L"1", L"MU26000001"});
        EXPECT_EQ(host_->SaveDocument(id.Get(), voucher.Raw()), S_OK);
        Bstr text;
        EXPECT_EQ(host_->CreateDocID(voucher.Raw(), text.Receive()), S_OK);
        EXPECT_EQ(text.Text(), L"") << "nothing is on before the start";
    });
}

TEST_F(Reentry, TheHostMayLetGoOfTheProviderMeanwhile) {
    DuringARequest([&] {
        const Bstr id(L"20260105093000");
        EXPECT_EQ(host_->ShowDocument(id.Get(), Value().Raw()), S_OK);
        own_.Reset();
    });
    EXPECT_EQ(host_->StartProvider(Value().Raw()), S_OK);
}

}  // namespace
}  // namespace kandora::component_tests
