// How a host document is looked for in the archive: three passes over what the archive holds of a mask each.

#include <algorithm>
#include <numeric>

#include "tests/protocol/ArchiveClientFixture.h"

namespace kandora::test {
namespace {

constexpr int vouchersMask = 2;
constexpr int creditorsMask = 5;
constexpr int debtorsMask = 4;
constexpr std::int32_t firstHit = 0x10000000;

class Lookup : public OpenArchiveTest {
protected:
    Lookup() {
        // The archive lists what it holds of the mask that was prepared last with object id 0.
        archive->Answers(L"PrepareObjectEx", [this](Call& call) {
            if (call.LongAt(0) == 0) {
                searched_ = call.LongAt(2);
            } else {
                loaded_ = call.LongAt(0);
            }
            return Variant(std::int32_t{1});
        });
        archive->Answers(L"GetEntryId", [this](Call& call) {
            const std::int32_t which = call.LongAt(0);
            if (which == -1) {
                return Variant(std::int32_t{0});
            }
            const auto hit = static_cast<std::size_t>(which - firstHit);
            const auto& ids = held[searched_];
            return Variant(hit < ids.size() ? ids[hit] : std::int32_t{0});
        });
        archive->Answers(L"getobjAttrib", [this](Call& call) { return fields[{loaded_, call.LongAt(0)}]; });
    }

    static Lines Searched(int mask) {
        return Probed({"archive.PrepareObjectEx(I2 0, I2 0, I4& " + std::to_string(mask) + ")",
                       "archive.DoInvisibleSearch()"});
    }
    static Lines Hit(int hit, int id) {
        return Probed(
            {"archive.GetEntryId(I4 " + std::to_string(firstHit + hit) + ") -> I4 " + std::to_string(id)});
    }
    static Lines EmptyPass(int mask) { return Together({Searched(mask), Hit(0, 0)}); }
    static Lines Loaded(int id, int mask) {
        return Probed({"archive.PrepareObjectEx(I4& " + std::to_string(id) + ", I2 0, " +
                       (mask == 0 ? "I2 0" : "I4& " + std::to_string(mask)) + ")"});
    }
    static Lines Field(int position, const std::string& value) {
        return Probed({"archive.getobjAttrib(I2& " + std::to_string(position) + ") -> " + value});
    }

    /// Object ids by mask, and field values by object id and position.
    std::map<std::int32_t, std::vector<std::int32_t>> held;
    std::map<std::pair<std::int32_t, std::int32_t>, Variant> fields;

private:
    std::int32_t searched_ = 0;
    std::int32_t loaded_ = 0;
};

TEST_F(Lookup, ByIdGoesThroughVouchersCreditorsAndDebtors) {
    EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), 0);
    Expect(Together({EmptyPass(vouchersMask), EmptyPass(creditorsMask), EmptyPass(debtorsMask)}));
}

TEST_F(Lookup, ByIdComparesEachHitAndReadsItsFieldTwice) {
    held[creditorsMask] = {100, 101, 102};
    fields[{100, 55}] = Variant(L"andere");
    fields[{101, 55}] = Variant(L"ID");
    EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), 101);
    const Lines other = Field(55, R"(BSTR "andere")");
    const Lines same = Field(55, R"(BSTR "ID")");
    Expect(
        Together({EmptyPass(vouchersMask), Searched(creditorsMask), Hit(0, 100), Loaded(100, creditorsMask),
                  other, other, Hit(1, 101), Loaded(101, creditorsMask), same, same}));
}

TEST_F(Lookup, ByIdUsesTheFieldOfEachMask) {
    for (const auto& [mask, position] :
         std::map<int, int>{{vouchersMask, 15}, {creditorsMask, 55}, {debtorsMask, 35}}) {
        held = {{mask, {77}}};
        fields = {{{77, position}, Variant(L"ID")}};
        EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), 77);
    }
    talk.Take();
}

TEST_F(Lookup, ByIdTakesOnlyTheSecondReadingOfAField) {
    held[vouchersMask] = {100};
    archive->Next(L"getobjAttrib", L"ID");
    archive->Next(L"getobjAttrib", L"andere");
    EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), 0);
    talk.Take();
    archive->Next(L"getobjAttrib", L"andere");
    archive->Next(L"getobjAttrib", L"ID");
    EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), 100);
    talk.Take();
}

TEST_F(Lookup, PrefersTheVoucher) {
    held = {{vouchersMask, {200}}, {creditorsMask, {100}}, {debtorsMask, {50}}};
    fields = {{{200, 15}, Variant(L"ID")}, {{100, 55}, Variant(L"ID")}, {{50, 35}, Variant(L"ID")}};
    EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), 200);
    for (const std::string& line : talk.Take()) {
        EXPECT_EQ(line.find("I4& 5)"), std::string::npos) << "the first hit ends the search";
    }
}

TEST_F(Lookup, ComparesExactly) {
    held[vouchersMask] = {100};
    struct Case {
        Variant field;
        const wchar_t* wanted;
        int found;
    };
    for (const Case& row : std::vector<Case>{{Variant(L"ID"), L"ID", 100},
                                             {Variant(L"id"), L"ID", 0},
                                             {Variant(L"ID "), L"ID", 0},
                                             {Variant(Text(L"I\0D", 3)), L"I", 0},
                                             {Variant(L"ä"), L"ä", 100},
                                             {Variant(L""), L"", 100},
                                             {Variant(), L"", 100},
                                             {Variant(), L"0", 0},
                                             {Variant::Null(), L"", 0},
                                             {Variant::Null(), L"ID", 0},
                                             {Variant(std::int32_t{17}), L"17", 0},
                                             {Variant(L"17"), L"17", 100}}) {
        fields[{100, 15}] = row.field;
        EXPECT_EQ(Client().FindSageDocumentByID(row.wanted), row.found)
            << Shown(row.field) << " as " << Spelled(row.wanted);
    }
    talk.Take();
}

TEST_F(Lookup, EndsAPassAtAnIdBelowTwo) {
    for (const std::int32_t last : {1, 0, -1}) {
        held = {{vouchersMask, {last, 100}}, {creditorsMask, {last}}, {debtorsMask, {last}}};
        EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), 0);
        Expect(Together({Searched(vouchersMask), Hit(0, last), Searched(creditorsMask), Hit(0, last),
                         Searched(debtorsMask), Hit(0, last)}));
    }
    held = {{vouchersMask, {2}}};
    fields[{2, 15}] = Variant(L"ID");
    EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), 2);
    talk.Take();
}

TEST_F(Lookup, ExaminesTenThousandAndOneHitsOfAPass) {
    std::vector<std::int32_t> ids(10002);
    for (std::size_t i = 0; i < ids.size(); ++i) {
        ids[i] = static_cast<std::int32_t>(i) + 2;
    }
    held = {{vouchersMask, ids}};
    fields[{10002, 15}] = Variant(L"zuletzt");  // hit number 10000
    fields[{10003, 15}] = Variant(L"dahinter");
    EXPECT_EQ(Client().FindSageDocumentByID(L"zuletzt"), 10002);
    talk.Take();
    EXPECT_EQ(Client().FindSageDocumentByID(L"dahinter"), 0);
    const Lines said = talk.Take();
    EXPECT_EQ(Occurrences(said, "archive.GetEntryId(I4 268445456) -> I4 10002"), 1);
    EXPECT_EQ(Occurrences(said, "archive.GetEntryId(I4 268445457) -> I4 10003"), 0);
    ExpectLines(Lines(said.end() - 12, said.end()),
                Together({EmptyPass(creditorsMask), EmptyPass(debtorsMask)}));
}

TEST_F(Lookup, OfEachKindFindsTheFirstHitAndTheLastExaminedOneAndNoneBeyond) {
    std::vector<std::int32_t> ids(10002);
    std::iota(ids.begin(), ids.end(), 2);
    const std::vector<std::pair<std::size_t, bool>> asked{{0, true}, {10000, true}, {10001, false}};
    for (const auto& [mask, position] :
         std::map<int, int>{{vouchersMask, 15}, {creditorsMask, 55}, {debtorsMask, 35}}) {
        held = {{mask, ids}};
        for (const auto& [hit, found] : asked) {
            const std::int32_t id = ids[hit];
            fields = {{{id, position}, Variant(L"ID")},
                      {{id, position - 3}, Variant(L"17")},
                      {{id, position - 2}, Variant(L"2")}};
            EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), found ? id : 0) << mask << " " << hit;
            EXPECT_EQ(Client().FindSageDocumentByBelegNr(L"17", L"2"), found ? id : 0) << mask << " " << hit;
            talk.Take();
        }
    }
}

TEST_F(Lookup, FindsInALaterPassWhatLiesBeyondTheLimitOfTheFirst) {
    held = {{vouchersMask, std::vector<std::int32_t>(10002, 7)}, {debtorsMask, {50}}};
    fields[{50, 35}] = Variant(L"ID");
    EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), 50);
    talk.Take();
}

TEST_F(Lookup, ByNumberLoadsWithoutAMaskAndComparesNumberAndIndex) {
    held[debtorsMask] = {100, 101};
    fields = {{{100, 32}, Variant(L"17")},
              {{100, 33}, Variant(L"1")},
              {{101, 32}, Variant(L"17")},
              {{101, 33}, Variant(L"2")}};
    EXPECT_EQ(Client().FindSageDocumentByBelegNr(L"17", L"2"), 101);
    Expect(Together({EmptyPass(vouchersMask), EmptyPass(creditorsMask), Searched(debtorsMask), Hit(0, 100),
                     Loaded(100, 0), Field(32, R"(BSTR "17")"), Field(33, R"(BSTR "1")"), Hit(1, 101),
                     Loaded(101, 0), Field(32, R"(BSTR "17")"), Field(33, R"(BSTR "2")")}));
}

TEST_F(Lookup, ByNumberReadsTheIndexEvenWhenTheNumberDiffers) {
    held[vouchersMask] = {100};
    fields = {{{100, 12}, Variant(L"18")}, {{100, 13}, Variant(L"2")}};
    EXPECT_EQ(Client().FindSageDocumentByBelegNr(L"17", L"2"), 0);
    Expect(Together({Searched(vouchersMask), Hit(0, 100), Loaded(100, 0), Field(12, R"(BSTR "18")"),
                     Field(13, R"(BSTR "2")"), Hit(1, 0), EmptyPass(creditorsMask), EmptyPass(debtorsMask)}));
}

TEST_F(Lookup, ByNumberUsesTheFieldsOfEachMask) {
    for (const auto& [mask, position] :
         std::map<int, int>{{vouchersMask, 12}, {creditorsMask, 52}, {debtorsMask, 32}}) {
        held = {{mask, {77}}};
        fields = {{{77, position}, Variant(L"17")}, {{77, position + 1}, Variant(L"2")}};
        EXPECT_EQ(Client().FindSageDocumentByBelegNr(L"17", L"2"), 77);
    }
    talk.Take();
}

TEST_F(Lookup, ByNumberTakesNullForNoMatch) {
    held[vouchersMask] = {100};
    fields = {{{100, 12}, Variant::Null()}, {{100, 13}, Variant(L"2")}};
    EXPECT_EQ(Client().FindSageDocumentByBelegNr(L"", L"2"), 0);
    fields = {{{100, 12}, Variant(L"17")}, {{100, 13}, Variant::Null()}};
    EXPECT_EQ(Client().FindSageDocumentByBelegNr(L"17", L""), 0);
    talk.Take();
}

TEST_F(Lookup, ByNumberHasTheSameLimit) {
    held = {{vouchersMask, std::vector<std::int32_t>(10002, 7)}};
    EXPECT_EQ(Client().FindSageDocumentByBelegNr(L"17", L"2"), 0);
    const Lines said = talk.Take();
    EXPECT_EQ(Occurrences(said, "archive.GetEntryId(I4 268445456) -> I4 7"), 1);
    EXPECT_EQ(Occurrences(said, "archive.GetEntryId(I4 268445457) -> I4 7"), 0);
}

TEST_F(Lookup, ReturnsTheListedIdWhateverTheArchiveWritesBack) {
    held[vouchersMask] = {100};
    fields[{100, 15}] = Variant(L"ID");
    archive->Next(L"PrepareObjectEx", 1);
    archive->Next(L"PrepareObjectEx", [](Call& call) {
        call.Store(0, Variant(std::int32_t{999}));
        return Variant(std::int32_t{1});
    });
    archive->Answers(L"getobjAttrib", L"ID");
    archive->Answers(L"GetEntryId",
                     [](Call& call) { return Variant(std::int32_t{call.LongAt(0) == -1 ? 0 : 100}); });
    EXPECT_EQ(Client().FindSageDocumentByID(L"ID"), 100);
    talk.Take();
}

TEST_F(Lookup, PassesOnWhateverFailsOnTheWay) {
    held[vouchersMask] = {100};
    for (const wchar_t* const member : {L"PrepareObjectEx", L"DoInvisibleSearch", L"getobjAttrib"}) {
        archive->Next(member, Failure::Exception(1000, L"gesperrt"));
        EXPECT_EQ(Failing([&] { Client().FindSageDocumentByID(L"ID"); }),
                  Shown(1000, "gesperrt", "ELODMS.FindSageDocumentByID"));
        EXPECT_TRUE(talk.Take().back().ends_with("!! 1000 \"gesperrt\""));
        archive->Next(member, Failure::Exception(1000, L"gesperrt"));
        EXPECT_EQ(Failing([&] { Client().FindSageDocumentByBelegNr(L"17", L"2"); }),
                  Shown(1000, "gesperrt", "ELODMS.FindSageDocumentByBelegNr"));
        EXPECT_TRUE(talk.Take().back().ends_with("!! 1000 \"gesperrt\""));
    }
}

TEST_F(Lookup, TellsThatAnIdIsNoNumber) {
    archive->Answers(L"GetEntryId", [](Call& call) {
        return call.LongAt(0) == -1 ? Variant(std::int32_t{0}) : Variant(L"viele");
    });
    EXPECT_EQ(Failing([&] { Client().FindSageDocumentByID(L"ID"); }),
              Shown(13, Spelled(DescriptionOf(13)), "ELODMS.FindSageDocumentByID"));
    talk.Take();
}

TEST_F(Lookup, OfAnObjectIdIsTheArchivesAnswer) {
    struct Case {
        int id;
        int answer;
        bool exists;
    };
    for (const Case& row : std::vector<Case>{
             {7, 1, true}, {7, 2, true}, {7, 0, false}, {7, -1, false}, {0, 0, false}, {0, 1, true}}) {
        archive->Next(L"PrepareObjectEx", row.answer);
        EXPECT_EQ(Client().IsDokumentVorhanden(row.id), row.exists);
        Expect(Probed({"archive.PrepareObjectEx(I4& " + std::to_string(row.id) + ", I2 0, I2 0) -> I4 " +
                       std::to_string(row.answer)}));
    }
    archive->Next(L"PrepareObjectEx", Failure::Code(E_INVALIDARG));
    EXPECT_EQ(Failing([&] { Client().IsDokumentVorhanden(7); }),
              Shown(5, Spelled(DescriptionOf(5)), "ELODMS.IsDokumentVorhanden"));
    talk.Take();
}

}  // namespace
}  // namespace kandora::test
