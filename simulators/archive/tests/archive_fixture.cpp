#include "simulators/archive/tests/archive_fixture.h"

namespace simulators {

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

}  // namespace simulators
