// What each request costs, counted: a request that begins to ask, call, allocate or open more than it did is
// a regression, however fast the machine is. A count that falls is welcome: then the row here falls with it.

#include <gtest/gtest.h>

#include <ostream>

#include "interfaces/CodePages.h"
#include "tests/component/ComponentSupport.h"
#include "tests/cost/Workbench.h"

namespace kandora::cost_tests {

// NOLINTNEXTLINE(misc-use-internal-linkage): the test framework looks for it beside Cost
std::ostream& operator<<(std::ostream& stream, const Cost& cost) {
    return stream << "{" << cost.ids << ", " << cost.calls << ", " << cost.allocations << ", " << cost.texts
                  << ", " << cost.files << "}";
}

namespace {

/// A started component with tracing off, an archive session, and a client whose archive is on.
class CostTest : public testing::Test {
protected:
    CostTest() : bench(component_tests::ComponentFile(), folder_.Path()), provider(bench.NewProvider()) {
        Start(false);
    }
    void TearDown() override {
        for (const std::wstring& box : Workbench::Boxes()) {
            ADD_FAILURE() << "a box: " << Utf8FromText(box);
        }
    }

    void Start(bool isTraced) {
        bench.SetTracing(isTraced);
        Init();
    }
    void Init() {
        VARIANT result{};
        provider->InitProvider(VARIANT{}, &result);
    }
    void Save() { provider->SaveDocument(docId_.Get(), voucher_.Value()); }

    /// The cost of the second of two equal requests: by then, what is made once and kept is there.
    [[nodiscard]] static Cost Of(const std::function<void()>& request) {
        request();
        return Workbench::CostOf(request);
    }

    test::TemporaryFolder folder_;
    component_tests::Bstr docId_{L"20261120093000"};
    MetaData voucher_{L"1001", L"1", L"4711"};
    MetaData withoutBarcode_{L"1001", L"1", L""};
    // What the session's end calls must live until the thread has left COM.
    Workbench bench;
    Apartment apartment_;
    ComPtr<DMSProvider> provider;
};

TEST_F(CostTest, InitProvider) {
    EXPECT_EQ(Of([&] { Init(); }), (Cost{4, 42, 559, 55, 50}));
}

TEST_F(CostTest, RequestsThatAreOnlyTraced) {
    EXPECT_EQ(Of([&] { provider->FibuVersion(VARIANT{}); }), (Cost{0, 0, 0, 0, 0}));
    EXPECT_EQ(Of([&] { provider->SetDocumentStatus(docId_.Get(), voucher_.Value()); }),
              (Cost{0, 0, 1, 0, 0}));
    EXPECT_EQ(Of([&] { provider->SavePendingDocument(VARIANT{}, docId_.Get(), voucher_.Value()); }),
              (Cost{0, 0, 1, 0, 0}));
}

TEST_F(CostTest, RequestsThatAnswer) {
    const auto text = [](auto&& request) {
        component_tests::Bstr answer;
        request(answer.Receive());
    };
    EXPECT_EQ(Of([&] { text([&](BSTR* answer) { provider->GetVirtualPrinterName(answer); }); }),
              (Cost{4, 30, 28, 6, 0}));
    EXPECT_EQ(Of([&] { text([&](BSTR* answer) { provider->CreateDocID(VARIANT{}, answer); }); }),
              (Cost{4, 30, 28, 6, 0}));
    EXPECT_EQ(Of([&] {
                  VARIANT answer{};
                  provider->GetOpenDocInfo(&answer);
                  VariantClear(&answer);
              }),
              (Cost{4, 30, 34, 9, 0}));
}

TEST_F(CostTest, StartProvider) {
    EXPECT_EQ(Of([&] { provider->StartProvider(VARIANT{}); }), (Cost{4, 34, 27, 6, 0}));
}

TEST_F(CostTest, SaveDocumentOfEachKind) {
    EXPECT_EQ(Of([&] { Save(); }), (Cost{10, 68, 52, 19, 0}));
    bench.world.origin = 1;
    EXPECT_EQ(Of([&] { Save(); }), (Cost{21, 98, 69, 25, 0}));
    bench.world.origin = 2;
    EXPECT_EQ(Of([&] { Save(); }), (Cost{21, 99, 69, 25, 0}));
}

TEST_F(CostTest, SaveDocumentWithoutBarcode) {
    EXPECT_EQ(Of([&] { provider->SaveDocument(docId_.Get(), withoutBarcode_.Value()); }),
              (Cost{4, 30, 28, 5, 0}));
}

TEST_F(CostTest, ClientWithoutArchive) {
    bench.world.options[100] = L"false";
    EXPECT_EQ(Of([&] { Save(); }), (Cost{5, 6, 18, 1, 0}));
}

TEST_F(CostTest, DocumentChanged) {
    const auto change = [&] { provider->DocumentChanged(docId_.Get(), voucher_.Value()); };
    EXPECT_EQ(Of(change), (Cost{10, 86, 52, 19, 0})) << "not filed yet";
    bench.world.hits = 1;
    bench.world.match = 0;
    bench.world.wanted = L"7";
    const MetaData filed(L"7", L"7", L"4711");
    EXPECT_EQ(Of(change), (Cost{10, 110, 52, 19, 0})) << "another one is filed";
    EXPECT_EQ(Of([&] { provider->DocumentChanged(docId_.Get(), filed.Value()); }), (Cost{10, 70, 39, 15, 0}))
        << "filed";
}

TEST_F(CostTest, DocumentsFoundById) {
    bench.world.hits = 1;
    bench.world.match = 0;
    bench.world.wanted = L"20261120093000";
    EXPECT_EQ(Of([&] { provider->ShowDocument(docId_.Get(), voucher_.Value()); }), (Cost{4, 50, 30, 6, 0}));
    EXPECT_EQ(Of([&] { provider->DeleteDocument(docId_.Get(), voucher_.Value()); }),
              (Cost{7, 67, 36, 15, 0}));
}

/// Each further hit costs the same, and keeps nothing.
TEST_F(CostTest, SearchIsLinear) {
    const auto costWith = [&](std::int32_t hits) {
        bench.world.hits = hits;
        return Of([&] { provider->DeleteDocument(docId_.Get(), voucher_.Value()); });
    };
    const Cost none = costWith(0);
    const Cost one = costWith(1);
    const Cost perHit{one.ids - none.ids, one.calls - none.calls, one.allocations - none.allocations,
                      one.texts - none.texts, one.files - none.files};
    EXPECT_EQ(perHit, (Cost{0, 24, 0, 0, 0}));
    const Cost many = costWith(1000);
    EXPECT_EQ(many.ids, none.ids);
    EXPECT_EQ(many.calls, none.calls + 1000 * perHit.calls);
    EXPECT_EQ(many.allocations, none.allocations + 1000 * perHit.allocations);
    EXPECT_EQ(many.texts, none.texts + 1000 * perHit.texts);
    EXPECT_EQ(many.files, none.files);
}

TEST_F(CostTest, TracedRequests) {
    Start(true);
    EXPECT_EQ(Of([&] { provider->FibuVersion(VARIANT{}); }), (Cost{0, 0, 4, 0, 1}));
    EXPECT_EQ(Of([&] { provider->SetDocumentStatus(docId_.Get(), voucher_.Value()); }),
              (Cost{0, 0, 6, 0, 1}));
    EXPECT_EQ(Of([&] { Save(); }), (Cost{10, 68, 57, 19, 1}));
}

}  // namespace

}  // namespace kandora::cost_tests

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
