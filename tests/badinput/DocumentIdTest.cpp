// Document ids of any length and content travel to the archive as they are.

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/badinput/Requests.h"
#include "tests/badinput/Troublemakers.h"
#include "tests/protocol/ProviderFixture.h"

namespace kandora::test {
namespace {

class DocumentId : public StartedProviderTest {
protected:
    /// The texts that the archive gets with a filing under the id, in the order of the index fields.
    std::vector<Text> FiledFields(const Text& docId) {
        std::vector<Text> fields;
        archive->Answers(L"setobjAttrib", [&](Call& call) {
            fields.push_back(call.TextAt(1));
            return Variant(std::int32_t{0});
        });
        Provider().SaveDocument(docId, VoucherMetadata());
        for (const std::string& line : talk.Take()) {
            EXPECT_FALSE(line.starts_with("box ")) << line;
        }
        return fields;
    }
};

std::vector<Text> OddIds() {
    std::vector<Text> ids{{},
                          Text(L"a\0b", 3),
                          Text(5, L'\0'),
                          Text(100'000, L'7'),
                          Text(L"\xD800"),
                          Text(L"\xDFFF\xD800"),
                          L"\r\n;[x]=\"'%s%n\\/¶#",
                          L"\x202E\xFEFF\xFFFF",
                          L"Zürich \x4E2D\x6587"};
    Random random(815);
    for (int i = 0; i < 500; ++i) {
        Text& id = ids.emplace_back(Below(random, 40), L'\0');
        for (wchar_t& unit : id) {
            unit = static_cast<wchar_t>(random());
        }
    }
    return ids;
}

TEST_F(DocumentId, ReachesTheArchiveUnchanged) {
    for (const Text& id : OddIds()) {
        const std::vector<Text> fields = FiledFields(id);
        ASSERT_EQ(fields.size(), 7U);
        ASSERT_TRUE(fields[4] == id) << Quoted(id.substr(0, 100));
    }
}

TEST_F(DocumentId, IsFoundWhateverItIs) {
    hits = {321};
    for (const Text& id : OddIds()) {
        archive->Answers(L"getobjAttrib", id);
        Provider().ShowDocument(id, VoucherMetadata());
        ASSERT_EQ(Occurrences(talk.Take(), "archive.GotoId(I4& 321) -> I4 1"), 1)
            << Quoted(id.substr(0, 100));
        // An id that differs only in its last character is another id.
        archive->Answers(L"getobjAttrib", id + L'\0');
        Provider().ShowDocument(id, VoucherMetadata());
        ASSERT_EQ(Occurrences(talk.Take(), "archive.GotoId(I4& 321) -> I4 1"), 0)
            << Quoted(id.substr(0, 100));
    }
}

TEST_F(DocumentId, IsTracedWhateverItIs) {
    SetIni("Debug", "Test", "True");
    State().settings.gbDebug = true;
    for (const Text& id : OddIds()) {
        machine.appended.clear();
        Provider().SetDocumentStatus(id, Variant());
        ASSERT_EQ(machine.appended.size(), 1U);
        ASSERT_EQ(machine.appended.begin()->second,
                  AnsiFromText(L"15.11.2026 01.12.58 | DMSProvider_SetDocumentStatus  [" + id +
                               L"]  [(Empty)]\r\n"));
    }
    talk.Take();
}

}  // namespace
}  // namespace kandora::test
