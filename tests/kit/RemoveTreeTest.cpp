#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"
#include "tools/kit/RemoveTree.h"

namespace kandora::kit_tests {

namespace {

namespace fs = std::filesystem;

TEST(RemovingTrees, TakesProtectedFilesAndLongPaths) {
    const test::TemporaryFolder folder;
    const fs::path top = folder / L"oben";
    std::wstring deep = kit::LongPathOf(top);
    CreateDirectoryW(deep.c_str(), nullptr);
    for (int level = 0; level < 12; ++level) {
        deep += L"\\" + std::wstring(60, static_cast<wchar_t>(L'a' + level));
        ASSERT_NE(CreateDirectoryW(deep.c_str(), nullptr), FALSE);
    }
    const fs::path file = folder.Write(L"oben\\ü\\geschützt.txt", "x");
    SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(kit::RemoveTree(top));
    EXPECT_FALSE(fs::exists(top));
    EXPECT_TRUE(fs::exists(folder.Path()));
    EXPECT_TRUE(kit::RemoveTree(top));
}

TEST(RemovingTrees, TellsThatSomethingStays) {
    const test::TemporaryFolder folder;
    const fs::path file = folder.Write(L"oben\\offen.txt", "x");
    const HANDLE open = CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_FALSE(kit::RemoveTree(folder / L"oben"));
    EXPECT_TRUE(fs::exists(file));
    CloseHandle(open);
    EXPECT_TRUE(kit::RemoveTree(folder / L"oben"));
}

TEST(RemovingTrees, NamesLongPathsOfBothKinds) {
    EXPECT_EQ(kit::LongPathOf(L"C:/Ordner/Datei"), L"\\\\?\\C:\\Ordner\\Datei");
    EXPECT_EQ(kit::LongPathOf(L"\\\\Server\\Freigabe"), L"\\\\?\\UNC\\Server\\Freigabe");
    EXPECT_EQ(kit::LongPathOf(L"\\\\?\\C:\\Ordner"), L"\\\\?\\C:\\Ordner");
}

}  // namespace

}  // namespace kandora::kit_tests
