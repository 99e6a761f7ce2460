#include <gtest/gtest.h>

#include "interfaces/CodePages.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/kit/Plan.h"
#include "tools/kit/Pledges.h"

namespace kandora::kit_tests {

namespace {

using kit::Pledges;
using kit::RegistryPlace;
using kit::RegistryTree;

constexpr const wchar_t* top = L"Software\\Kandora.KitTests";

RegistryPlace Place(const Text& below = {}) {
    return {HKEY_CURRENT_USER, KEY_WOW64_64KEY, top + below};
}

RegistryTree SomeTree() {
    RegistryTree tree;
    tree.values[L""] = {REG_SZ, {'a', 0, 0, 0}};
    tree.values[L"Zahl"] = {REG_DWORD, {1, 2, 3, 4}};
    tree.values[L"Ü"] = {REG_BINARY, {}};
    tree.keys[L"Unten"].values[L"Text"] = {REG_EXPAND_SZ, {'%', 0, 0, 0}};
    tree.keys[L"Leer"] = {};
    return tree;
}

class GivingBack : public testing::Test {
protected:
    GivingBack() { RestoreTree(Place(), std::nullopt); }
    ~GivingBack() override { RestoreTree(Place(), std::nullopt); }

    [[nodiscard]] std::filesystem::path File() const { return folder_ / L"Zurueck.json"; }
    /// Gives back what the file has; a product is gone when it is asked to.
    std::vector<Text> GiveBack(bool isRemovable = true) {
        return Pledges(File()).GiveBack([&](const Text& product) {
            removed_.push_back(product);
            return isRemovable;
        });
    }

    test::TemporaryFolder folder_;
    std::vector<Text> removed_;
};

TEST_F(GivingBack, WritesAndReadsTrees) {
    EXPECT_EQ(ReadTree(Place()), std::nullopt);
    RestoreTree(Place(), SomeTree());
    EXPECT_EQ(ReadTree(Place()), SomeTree());
    RestoreTree(Place(), std::nullopt);
    EXPECT_EQ(ReadTree(Place()), std::nullopt);
    RestoreTree(Place(), std::nullopt);
}

TEST_F(GivingBack, PutsTreesIntoJsonAndBack) {
    for (const auto& tree : {std::optional(SomeTree()), std::optional<RegistryTree>()}) {
        const auto [place, read] = kit::SavedTreeFrom(nlohmann::json::parse(JsonOf(Place(), tree).dump()));
        EXPECT_EQ(place, Place());
        EXPECT_EQ(read, tree);
    }
}

TEST_F(GivingBack, TakesAwayWhatWasNotThere) {
    Pledges(File()).KeepRegistry({Place()});
    RestoreTree(Place(), SomeTree());
    EXPECT_TRUE(Pledges(File()).IsOpen());
    EXPECT_TRUE(GiveBack().empty());
    EXPECT_EQ(ReadTree(Place()), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(File()));
}

TEST_F(GivingBack, BringsBackWhatWasThere) {
    RestoreTree(Place(), SomeTree());
    Pledges(File()).KeepRegistry({Place()});
    RegistryTree other = SomeTree();
    other.values.erase(L"Zahl");
    other.values[L"Neu"] = {REG_SZ, {}};
    other.values[L""] = {REG_SZ, {'b', 0, 0, 0}};
    other.keys.erase(L"Leer");
    other.keys[L"Unten"].values.clear();
    other.keys[L"Neu"].keys[L"Darunter"] = {};
    RestoreTree(Place(), other);
    EXPECT_EQ(ReadTree(Place()), other);
    EXPECT_TRUE(GiveBack().empty());
    EXPECT_EQ(ReadTree(Place()), SomeTree());
    RestoreTree(Place(), SomeTree());
    Pledges(File()).KeepRegistry({Place()});
    RestoreTree(Place(), std::nullopt);
    EXPECT_TRUE(GiveBack().empty());
    EXPECT_EQ(ReadTree(Place()), SomeTree());
}

TEST_F(GivingBack, KeepsWhatWasThereFirst) {
    Pledges pledges(File());
    pledges.KeepRegistry({Place()});
    RestoreTree(Place(), SomeTree());
    pledges.KeepRegistry({Place(), Place(L".Anderes")});
    EXPECT_TRUE(GiveBack().empty());
    EXPECT_EQ(ReadTree(Place()), std::nullopt);
}

TEST_F(GivingBack, RemovesProductsBeforeTheRegistryComesBack) {
    Pledges(File()).KeepRegistry({Place()});
    Pledges(File()).KeepProduct(L"{1}");
    RestoreTree(Place(), SomeTree());
    Pledges pledges(File());
    pledges.KeepProduct(L"{1}");
    const auto complaints = pledges.GiveBack([&](const Text& product) {
        removed_.push_back(product);
        EXPECT_NE(ReadTree(Place()), std::nullopt);
        return true;
    });
    EXPECT_TRUE(complaints.empty());
    EXPECT_EQ(removed_, std::vector<Text>{L"{1}"});
    EXPECT_EQ(ReadTree(Place()), std::nullopt);
}

TEST_F(GivingBack, RemembersWhatDidNotGo) {
    Pledges(File()).KeepProduct(L"{1}");
    Pledges(File()).KeepRegistry({Place()});
    EXPECT_EQ(GiveBack(false), std::vector<Text>{L"Das Paket {1} lässt sich nicht entfernen."});
    EXPECT_TRUE(Pledges(File()).IsOpen());
    EXPECT_TRUE(GiveBack().empty());
    EXPECT_EQ(removed_.size(), 2U);
    EXPECT_FALSE(Pledges(File()).IsOpen());
}

TEST_F(GivingBack, TellsOfAFileThatCannotBeRead) {
    test::WriteBytes(File(), "{\"registry\": [");
    EXPECT_THROW(Pledges{File()}, kit::KitFailure);
}

}  // namespace

}  // namespace kandora::kit_tests
