#include "simulators/archive/tests/ArchiveFixture.h"

#include "interfaces/CodePages.h"
#include "interfaces/ComPtr.h"
#include "simulators/common/Files.h"

namespace kandora::simulators {

namespace {

/// Opens a file or directory that exists; fails the test when there is none.
FileHandle OpenForWriting(const std::wstring& path) {
    FileHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    EXPECT_TRUE(file.IsOpen()) << Utf8FromText(path);
    return file;
}

void AgeDirectory(const std::wstring& path) {
    constexpr std::uint64_t hour = 36000000000;
    for (const DirectoryItem& item : ListDirectory(path)) {
        if (item.isDirectory) {
            AgeDirectory(path + L"\\" + item.name);
        }
    }
    SetTime(path, StampOf(path).value().written - hour);
}

}  // namespace

void SetTime(const std::wstring& path, std::uint64_t time) {
    FILETIME written{};
    written.dwLowDateTime = static_cast<DWORD>(time);
    written.dwHighDateTime = static_cast<DWORD>(time >> 32);
    EXPECT_NE(SetFileTime(OpenForWriting(path).Get(), nullptr, nullptr, &written), 0) << Utf8FromText(path);
}

void EditInPlace(const std::wstring& path, const std::string& content) {
    const FileHandle file = OpenForWriting(path);
    DWORD written = 0;
    EXPECT_NE(WriteFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr),
              0);
    SetEndOfFile(file.Get());
}

StoreFixture::StoreFixture() {
    CreateSampleStore(StorePath());
}

Entry StoreFixture::Voucher(std::int32_t folder, std::wstring_view shortName) {
    Entry entry;
    entry.folder = folder;
    entry.mask = 2;
    entry.shortName = shortName;
    entry.fields = {{std::int16_t{1}, L"BC-1"}, {std::int16_t{2}, L"1001"}};
    return entry;
}

std::int32_t StoreFixture::FileVoucher(ArchiveStore& store, std::int32_t folder,
                                       std::wstring_view shortName) {
    const PostboxDocument document = store.AddToPostbox(document_, L"KAN");
    return store.File(Voucher(folder, shortName), document).id;
}

void StoreFixture::AgeDirectories() const {
    AgeDirectory(StorePath() + L"\\Ordner");
}

LateBoundClient ArchiveFixture::NewClient() {
    return LateBoundClient(MakeObject<ArchiveObject>(program_).Get());
}

LateBoundClient ArchiveFixture::LoggedOnClient() {
    LateBoundClient client = NewClient();
    EXPECT_EQ(
        client
            .Call(L"Login", {Value::Text(L"Kandora"), Value::Text(L"geheim"), Value::Text(L"Muster-Archiv")})
            .Long(),
        0);
    return client;
}

}  // namespace kandora::simulators
