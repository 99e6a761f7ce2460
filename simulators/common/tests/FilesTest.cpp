#include <gtest/gtest.h>

#include <string>

#include "simulators/common/Files.h"
#include "simulators/common/tests/FailureOf.h"
#include "tests/support/TemporaryFolder.h"

namespace kandora::simulators {

namespace {

TEST(FilesTest, ReplacesAFileInOneStepAndLeavesNoTemporaryOne) {
    const kandora::test::TemporaryFolder directory;
    const std::wstring path = directory / L"Übersicht.json";
    WriteFileAtomically(path, "alt");
    WriteFileAtomically(path, std::string("neu\0!", 5));
    EXPECT_EQ(ReadWholeFile(path), std::string("neu\0!", 5));
    EXPECT_EQ(ListDirectory(directory.Path()).size(), 1U);
}

TEST(FilesTest, KeepsTheOldContentWhenWritingFails) {
    const kandora::test::TemporaryFolder directory;
    const std::wstring path = directory.Write(L"a.json", "alt");
    EXPECT_NE(FailureOf([&] { WriteFileAtomically(path, "neu", directory / L"fehlt\\a.tmp"); }), L"");
    EXPECT_EQ(ReadWholeFile(path), "alt");
}

TEST(FilesTest, TellsAnEditedFileByItsStamp) {
    const kandora::test::TemporaryFolder directory;
    const std::wstring path = directory / L"a.json";
    const FileStamp first = WriteFileAtomically(path, "alt");
    EXPECT_EQ(first.size, 3U);
    EXPECT_EQ(StampOf(path), first);
    EXPECT_EQ(ListDirectory(directory.Path()).at(0).stamp, first) << "both ways to ask agree";
    RenameFile(path, directory / L"b.json");
    EXPECT_EQ(StampOf(directory / L"b.json"), first) << "a renamed file is the same file";
    EXPECT_EQ(StampOf(path), std::nullopt);
    EXPECT_EQ(WriteFileAtomically(path, "länger").size, 7U);
    EXPECT_NE(StampOf(path), first);
}

TEST(FilesTest, ManagesPathsBeyondTheOldLimit) {
    const kandora::test::TemporaryFolder directory;
    std::wstring path = directory.Path();
    for (int level = 0; level < 8; ++level) {
        path += L"\\" + std::wstring(60, static_cast<wchar_t>(L'a' + level));
    }
    CreateDirectories(path);
    EXPECT_TRUE(IsDirectory(path));
    WriteFileAtomically(path + L"\\tief.txt", "x");
    EXPECT_EQ(ReadWholeFile(path + L"\\tief.txt"), "x");
    EXPECT_EQ(ListDirectory(path).at(0).name, L"tief.txt");
    RemoveFile(path + L"\\tief.txt");
    EXPECT_FALSE(IsFile(path + L"\\tief.txt"));
}

TEST(FilesTest, DoesNotCopyTheWriteProtection) {
    const kandora::test::TemporaryFolder directory;
    const std::wstring source = directory.Write(L"a.pdf", "Inhalt");
    SetFileAttributesW(source.c_str(), FILE_ATTRIBUTE_READONLY);
    CopyFileDurably(source, directory / L"b.pdf");
    EXPECT_EQ(ReadWholeFile(directory / L"b.pdf"), "Inhalt");
    EXPECT_EQ(GetFileAttributesW((directory / L"b.pdf").c_str()) & FILE_ATTRIBUTE_READONLY, 0U);
    SetFileAttributesW(source.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(FilesTest, NamesTheFileThatCannotBeCopied) {
    const kandora::test::TemporaryFolder directory;
    const std::wstring message =
        FailureOf([&] { CopyFileDurably(directory / L"weg.pdf", directory / L"b.pdf"); });
    EXPECT_NE(message.find(L"weg.pdf"), std::wstring::npos);
}

TEST(FilesTest, RenamesOnlyToANameThatIsFree) {
    const kandora::test::TemporaryFolder directory;
    const std::wstring one = directory.Write(L"1", "eins");
    const std::wstring two = directory.Write(L"2", "zwei");
    EXPECT_NE(FailureOf([&] { RenameFile(one, two); }), L"");
    EXPECT_EQ(ReadWholeFile(two), "zwei");
}

TEST(FilesTest, TakesTheDeletionOfAMissingFileAsDone) {
    const kandora::test::TemporaryFolder directory;
    EXPECT_EQ(FailureOf([&] { RemoveFile(directory / L"weg"); }), L"");
    EXPECT_EQ(FailureOf([&] { RemoveFile(directory / L"weg\\weg"); }), L"");
    EXPECT_TRUE(ListDirectory(directory / L"weg").empty());
}

}  // namespace

}  // namespace kandora::simulators
