// The parts of a comparison that need nobody: dates, logs, double entries, the files that are written, the
// command line.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "interfaces/CodePages.h"
#include "tools/check/Age.h"
#include "tools/check/CheckCommandLine.h"
#include "tools/check/EntryIndex.h"
#include "tools/check/Page.h"
#include "tools/check/ReconcileReport.h"
#include "tools/check/Spreadsheet.h"
#include "tools/check/TracedRequests.h"

namespace kandora::check_tests {

namespace {

using check::Day;
using namespace std::string_literals;

// ---- Dates ----

TEST(AgeTest, ADocumentIdIsTheTimeOfItsMaking) {
    EXPECT_EQ(check::DayOfDocId(L"20261115011258"), (Day{2026, 11, 15}));
    for (const wchar_t* const id : {L"", L"2026111501125", L"202611150112580", L"20261315011258",
                                    L"20260230000000", L"20261115241258", L"2026111501125a", L"ALT-1"}) {
        EXPECT_EQ(check::DayOfDocId(id), std::nullopt) << Utf8FromText(id);
    }
}

TEST(AgeTest, DatesAsTheHostWritesThem) {
    EXPECT_EQ(check::DayOfDate(L"5.1.2026"), (Day{2026, 1, 5}));
    EXPECT_EQ(check::DayOfDate(L"05.01.2026"), (Day{2026, 1, 5}));
    for (const wchar_t* const text :
         {L"", L"31.02.2026", L"1200.50", L"12", L"Miete", L"01.2026", L"77-17"}) {
        EXPECT_EQ(check::DayOfDate(text), std::nullopt) << Utf8FromText(text);
    }
}

TEST(AgeTest, DaysBetween) {
    EXPECT_EQ(check::DaysBetween({2026, 2, 28}, {2026, 3, 1}), 1);
    EXPECT_EQ(check::DaysBetween({2026, 10, 15}, {2026, 11, 15}), 31);
    EXPECT_EQ(check::DaysBetween({2026, 11, 15}, {2026, 11, 14}), -1);
}

// ---- Logs ----

constexpr const wchar_t* client = L"C:\\Daten\\Müller, Meier AG";

check::TracedRequests Read(const std::string& log, const Text& whose = client, std::size_t piece = 7) {
    check::TracedRequests requests(whose);
    std::size_t begin = 0;
    requests.ReadLog(L"a.log", [&] {
        std::string bytes = log.substr(std::min(begin, log.size()), piece);
        begin += bytes.size();
        return bytes;
    });
    return requests;
}

std::string Line(const std::string& time, const std::string& request, const std::string& docId,
                 const std::string& number, const std::string& barcode,
                 const std::string& whose = AnsiFromText(client)) {
    return "15.11.2026 " + time + " | DMSProvider_" + request + "  [" + docId + "]  [[" + number + "/1, " +
           whose + ", " + number + ", 1, " + barcode + "]]\r\n";
}

TEST(TracedRequestsTest, WhatMustHaveBeenFiled) {
    const auto requests = Read("15.11.2026 01.12.58 | DMSProvider_InitProvider  []\r\n"
                               "15.11.2026 01.12.59 | DMSProvider_GetOpenDocInfo[Kein Parameter]\r\n" +
                               Line("01.13.00", "SaveDocument", "D1", "17", "BC-1") +
                               Line("01.13.01", "SaveDocument", "D2", "18", "") +
                               Line("01.13.02", "DocumentChanged", "D3", "19", "BC-3") +
                               Line("01.13.03", "DeleteDocument", "D3", "19", ""));
    ASSERT_EQ(requests.Filed().size(), 1U);
    const check::TracedRequest& filed = *requests.Filed().front();
    EXPECT_EQ(filed.identity, (check::Identity{L"17", L"1", L"D1", L"BC-1"}));
    EXPECT_EQ(filed.time, L"15.11.2026 01.13.00");
    EXPECT_EQ(filed.line, 3);
    EXPECT_EQ(filed.Name(), Text(L"SaveDocument"));
    ASSERT_EQ(requests.Deleted().size(), 1U);
    EXPECT_EQ(requests.Deleted().front()->identity.docId, L"D3");
    EXPECT_EQ(requests.BarcodeOf({L"17", L"1", L"D1", {}}), L"BC-1");
    EXPECT_EQ(requests.BarcodeOf({L"17", L"1", L"another", {}}), L"");
    EXPECT_TRUE(requests.Complaints().empty());
}

TEST(TracedRequestsTest, TheLatestCountsWhereverItStands) {
    const auto requests = Read(Line("09.00.00", "DeleteDocument", "D1", "17", "") +
                               Line("08.00.00", "SaveDocument", "D1", "17", "BC-1") +
                               Line("10.00.00", "SaveDocument", "D2", "18", "alt") +
                               Line("10.00.00", "DocumentChanged", "D2", "18", "neu"));
    EXPECT_EQ(requests.Deleted().size(), 1U);
    ASSERT_EQ(requests.Filed().size(), 1U);
    EXPECT_EQ(requests.Filed().front()->identity.barcode, L"neu");
}

TEST(TracedRequestsTest, AnotherClientsRequests) {
    const std::string log = Line("08.00.00", "SaveDocument", "D1", "17", "BC-1") +
                            Line("09.00.00", "DeleteDocument", "D1", "17", "", "C:\\Daten\\Nachbar");
    EXPECT_EQ(Read(log).Deleted().size(), 0U);
    EXPECT_EQ(Read(log).Filed().size(), 1U);
    // Where the host names none of them, all count.
    EXPECT_EQ(Read(Line("08.00.00", "SaveDocument", "D1", "17", "BC-1", "3")).Filed().size(), 1U);
}

TEST(TracedRequestsTest, ValuesWithLineEnds) {
    const auto requests = Read(Line("08.00.00", "SaveDocument", "D1", "1\r\n7", "BC\r\n-1") +
                               Line("08.00.01", "SaveDocument", "D2", "18", "BC-2"));
    EXPECT_TRUE(requests.Complaints().empty());
    ASSERT_EQ(requests.Filed().size(), 2U);
    EXPECT_EQ(requests.Filed().front()->identity.number, L"1\r\n7");
    EXPECT_EQ(requests.Filed().back()->line, 5);
}

TEST(TracedRequestsTest, WhatIsNotUnderstoodIsTold) {
    const std::string good = Line("08.00.00", "SaveDocument", "D1", "17", "BC-1");
    const auto complaint = [](const std::string& log) {
        const auto requests = Read(log);
        return requests.Complaints().empty() ? std::string() : Utf8FromText(requests.Complaints().front());
    };
    EXPECT_EQ(complaint(good), "");
    EXPECT_EQ(complaint("kein Protokoll\r\n" + good), "a.log: 1 Zeile ist nicht zu verstehen (Zeile 1)");
    EXPECT_EQ(complaint(good + "x\r\n\r\ny\r\n"),
              "a.log: 3 Zeilen sind nicht zu verstehen (die erste: Zeile 2)");
    EXPECT_EQ(complaint(good + good.substr(0, 60)), "a.log: 1 Zeile ist nicht zu verstehen (Zeile 2)");
    EXPECT_EQ(complaint(good + "15.11.2026 08.00.01 | DMSProvider_SaveDocument  [D2]  [17]\r\n"),
              "a.log: 1 Zeile ist nicht zu verstehen (Zeile 2)");
    EXPECT_EQ(complaint(good + std::string(5, '\0') + "\r\n"),
              "a.log: 1 Zeile ist nicht zu verstehen (Zeile 2)");
    EXPECT_EQ(Read(good + good.substr(0, 60)).Filed().size(), 1U);
}

TEST(TracedRequestsTest, LinesThatRanIntoEachOther) {
    const std::string first = Line("08.00.00", "SaveDocument", "D1", "17", "BC-1");
    const std::string second = Line("08.00.01", "SaveDocument", "D2", "18", "BC-2");
    for (std::size_t length = 1; length < first.size() - 2; ++length) {
        const auto requests = Read(first.substr(0, length) + second + first);
        ASSERT_EQ(requests.Complaints().size(), 1U) << length;
        ASSERT_FALSE(requests.Filed().empty()) << length;
        EXPECT_EQ(requests.Filed().front()->identity, (check::Identity{L"17", L"1", L"D1", L"BC-1"}));
    }
}

TEST(TracedRequestsTest, AnotherVersionsLog) {
    const std::string good = Line("08.00.00", "SaveDocument", "D1", "17", "BC-1");
    const std::string time = "15.11.2026 08.00.00 | ";
    // A request that nobody knows leaves nothing and takes nothing.
    EXPECT_TRUE(Read(good + time + "DMSProvider_Neues  [D2]\r\n").Complaints().empty());
    for (const std::string& line :
         {"2026-11-15 08:00:00 | DMSProvider_SaveDocument  [D2]  [[18/1, x, 18, 1, BC-2]]\r\n"s,
          time + "DMSProvider_SaveDocument(D2)\r\n", time + "Provider_SaveDocument  [D2]  [[]]\r\n",
          time + "DMSProvider_SaveDocument  [D2]  [[18/1, x, 18, 1]]\r\n",
          time + "DMSProvider_SaveDocument  [D2]  [[18/1, x, 18, 1, BC-2]]  [neu]\r\n"}) {
        const auto requests = Read(good + line);
        EXPECT_EQ(requests.Complaints().size(), 1U) << line;
        EXPECT_EQ(requests.Filed().size(), 1U) << line;
    }
}

TEST(TracedRequestsTest, WhoIsNamedLaterIsStillTheOnlyOneThatCounts) {
    const std::string log = Line("08.00.00", "SaveDocument", "D1", "17", "BC-1", "C:\\Daten\\Nachbar") +
                            Line("08.00.01", "SaveDocument", "D2", "18", "BC-2") +
                            Line("08.00.02", "SaveDocument", "D3", "19", "BC-3", "C:\\Daten\\Nachbar");
    const auto filed = Read(log).Filed();
    ASSERT_EQ(filed.size(), 1U);
    EXPECT_EQ(filed.front()->identity.docId, L"D2");
}

// ---- Who is found by what ----

TEST(EntryIndexTest, FirstHitsFollowTheComponentsSearch) {
    check::EntryIndex index;
    index.Add({1, 10001, 0, true, {L"17", L"1", L"X", L"B"}});  // beyond what is looked through
    index.Add({2, 10000, 0, false, {L"17", L"1", L"E", {}}});
    index.Add({3, 5, 2, true, {L"17", L"1", L"D", L"B"}});
    index.Add({4, 5, 1, true, {L"17", L"2", L"D", {}}});
    EXPECT_EQ(index.FirstByNumber(L"17", L"1")->id, 2);
    EXPECT_EQ(index.FirstByDocId(L"D")->id, 4);
    EXPECT_EQ(index.FirstByDocId(L"X"), nullptr);
    EXPECT_EQ(index.FirstByDocId(L"Y"), nullptr);
    const auto doubles = index.Duplicates();
    ASSERT_EQ(doubles.size(), 2U);  // the same barcode says nothing new
    const auto ids = [](const check::Doubles& group) {
        std::vector<std::int32_t> found;
        for (const check::IndexedIdentity* entry : group.entries) {
            found.push_back(entry->id);
        }
        return found;
    };
    EXPECT_EQ(ids(doubles[0]), (std::vector<std::int32_t>{4, 3}));  // by the document id
    EXPECT_EQ(ids(doubles[1]), (std::vector<std::int32_t>{3, 1}));  // by the number: not the other client's
    EXPECT_EQ(doubles[1].by, Text(L"nummer"));
    EXPECT_TRUE(index.HasEntryOf({L"17", L"1", L"whatever", {}}));
    index.Remove(3);
    index.Remove(1);
    // Another client's voucher may have the same number; with the same document id it is the one, moved.
    EXPECT_FALSE(index.HasEntryOf({L"17", L"1", L"whatever", {}}));
    EXPECT_TRUE(index.HasEntryOf({L"17", L"1", L"E", {}}));
    index.Replace(4, {L"99", L"1", {}, {}});
    EXPECT_TRUE(index.Duplicates().empty());
    EXPECT_EQ(index.FirstByDocId(L"D"), nullptr);
    EXPECT_TRUE(index.HasEntryOf({L"99", L"1", L"whatever", {}}));
    EXPECT_FALSE(index.HasEntryOf({L"17", L"2", L"D", {}}));
    EXPECT_FALSE(index.Knows(3));
}

// ---- The files ----

TEST(SpreadsheetTest, Cells) {
    EXPECT_EQ(check::Cell(L"Miete"), L"Miete");
    EXPECT_EQ(check::Cell(L"Öl; Äpfel"), L"\"Öl; Äpfel\"");
    EXPECT_EQ(check::Cell(L"\"süss\""), L"\"\"\"süss\"\"\"");
    EXPECT_EQ(check::Cell(L"zwei\r\nZeilen"), L"\"zwei\r\nZeilen\"");
    for (const wchar_t* const formula : {L"=1+2", L"+A1", L"-A1", L"@SUM(A1)", L" =1", L"=", L"\t=1"}) {
        EXPECT_EQ(check::Cell(formula).front(), L'\'') << Utf8FromText(formula);
    }
    EXPECT_EQ(check::Cell(L"=A1;B1"), L"\"'=A1;B1\"");
    for (const wchar_t* const number : {L"-37.25", L"+3", L"-1'200.50", L"5"}) {
        EXPECT_EQ(check::Cell(number), number);
    }
}

check::Reconciled Sample() {
    check::Reconciled sample;
    sample.isComplete = true;
    sample.client = L"C:\\Daten\\Müller";
    sample.judged = 2;
    sample.others = 5;
    sample.masks = {{2, L"Belege", 8001}};
    check::EntryFinding finding;
    finding.kind = check::Discrepancy::Differing;
    finding.entry = 811;
    finding.hit = 4;
    finding.hasIdentity = true;
    finding.identity = {L"17", L"1", L"20261115011258", L"BC-17"};
    finding.fields = {{L"Valutadatum", L"5.1.2026", L"06.01.2026"},
                      {L"Kurzbezeichnung", L"</script>", L"<!--"}};
    finding.text = L"Anders.";
    sample.findings.push_back(finding);
    check::EntryFinding twice;
    twice.kind = check::Discrepancy::Duplicate;
    twice.entry = 12;
    twice.hasIdentity = true;
    twice.by = L"dokId";
    twice.others = {13, 14};
    twice.text = L"Zweimal.";
    sample.findings.push_back(twice);
    check::EntryFinding unreadable;
    unreadable.text = L"a.log: fehlt.";
    sample.findings.push_back(unreadable);
    return sample;
}

TEST(SpreadsheetTest, ARowForEachField) {
    EXPECT_EQ(
        check::SpreadsheetOf({Sample()}),
        "\xEF\xBB\xBF"
        "Mandant;Befund;Eintrag;Treffer;Belegnummer;Belegindex;Dokument-ID;Barcode;Wodurch;Weitere;Feld;"
        "Archiv;Buchhaltung;Text\r\n"
        "C:\\Daten\\Müller;abweichend;811;4;17;1;20261115011258;BC-17;;;Valutadatum;05.01.2026;06.01.2026;"
        "Anders.\r\n"
        "C:\\Daten\\Müller;abweichend;811;4;17;1;20261115011258;BC-17;;;Kurzbezeichnung;</script>;<!--;"
        "Anders.\r\n"
        "C:\\Daten\\Müller;doppelt;12;0;;;;;dokId;13, 14;;;;Zweimal.\r\n"
        "C:\\Daten\\Müller;nicht prüfbar;;;;;;;;;;;;a.log: fehlt.\r\n");
}

TEST(PageTest, NothingInTheDataEndsTheScript) {
    EXPECT_EQ(check::PageWith("<script>@DATEN@</script>", R"({"a":"</script><!--<script>"})"),
              R"(<script>{"a":"<\/script>\u003c!--\u003cscript>"}</script>)");
    const std::string page = check::PageWith("@DATEN@", check::PageData({Sample()}, false));
    EXPECT_EQ(page.find("</"), std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(page)["befunde"][0]["felder"][1]["archiv"], "</script>");
}

TEST(ReconcileReportTest, TheJson) {
    const auto whole = check::JsonOf({Sample()}, false);
    const auto& json = whole["abgleich"];
    EXPECT_EQ(json["vollstaendig"], true);
    EXPECT_FALSE(json.contains("grund"));
    EXPECT_EQ(json["geprueft"], 2);
    EXPECT_EQ(json["andere"], 5);
    EXPECT_EQ(json["masken"].dump(), R"([{"maske":2,"eintraege":8001}])");
    EXPECT_EQ(json["befunde"][1].dump(),
              R"({"art":"doppelt","eintrag":12,"treffer":0,"nummer":"","index":"","dokId":"","barcode":"",)"
              R"("wodurch":"dokId","weitere":[13,14],"text":"Zweimal."})");
    EXPECT_EQ(json["befunde"][2].dump(), R"({"art":"nichtPruefbar","text":"a.log: fehlt."})");
    EXPECT_EQ(check::JsonOf({Sample(), Sample()}, true)["abgleiche"].size(), 2U);
}

TEST(ReconcileReportTest, TheLines) {
    EXPECT_EQ(Utf8FromText(check::LineOf(check::LineFinding(Sample().findings[0]))),
              "Warnung  Abgleich: abweichend: Eintrag 811, Beleg 17 / 1: Anders.");
    EXPECT_EQ(
        Utf8FromText(check::LineOf(check::LineFinding(check::MaskFill{2, L"Belege", 8001}))),
        "Warnung  Abgleich: Maske Belege (2): 8001 von 10001 Einträgen (80 %) → Ältere Jahre in ein eigenes "
        "Archiv oder unter eigene Masken verlegen");
    EXPECT_EQ(check::LineFinding(check::MaskFill{2, L"Belege", 8000}).verdict, check::Verdict::Good);
    EXPECT_EQ(Utf8FromText(check::SummaryOf(Sample())), "C:\\Daten\\Müller: 2 Einträge geprüft, 5 andere, 3 "
                                                        "Befunde: 1 doppelt, 1 abweichend, 1 nicht prüfbar");
    EXPECT_EQ(Utf8FromText(check::ProgressText({&voucherKind, 2, 250, 1000, 1}, 90000)),
              "Maske Belege (2): 250 von 1000 Einträgen, 1 Befund, noch etwa 5 Minuten");
}

// ---- The command line ----

check::CommandLine Parsed(const std::vector<Text>& arguments) {
    return check::ParseCommandLine(arguments);
}

TEST(ReconcileCommandLineTest, WhatIsAskedFor) {
    const auto line = Parsed({L"--reconcile", L"--days", L"7", L"--logs", L"C:\\L", L"--csv", L"ö.csv",
                              L"--client", L"C:\\A", L"--client", L"C:\\B"});
    EXPECT_TRUE(line.reconcile);
    EXPECT_EQ(line.days, 7);
    EXPECT_EQ(line.csv, L"ö.csv");
    EXPECT_EQ(line.clients, (std::vector<Text>{L"C:\\A", L"C:\\B"}));
    EXPECT_TRUE(Parsed({L"--reindex", L"--yes"}).reconcile);
    EXPECT_EQ(Parsed({L"--reconcile"}).days, 30);
}

TEST(ReconcileCommandLineTest, WhatDoesNotGo) {
    for (const std::vector<Text>& arguments : {std::vector<Text>{L"--csv", L"a"},
                                               {L"--reconcile", L"--yes"},
                                               {L"--reindex", L"--json"},
                                               {L"--reconcile", L"--days", L"-1"},
                                               {L"--reconcile", L"--days", L"viele"},
                                               {L"--reconcile", L"--client", L"@C:\\gibt es nicht.txt"}}) {
        EXPECT_THROW(Parsed(arguments), check::UsageError) << Utf8FromText(Joined(arguments, L" "));
    }
}

TEST(ReconcileCommandLineTest, Lists) {
    const std::vector<Text> expected{L"C:\\Müller", L"C:\\B"};
    EXPECT_EQ(check::LinesOf("\xEF\xBB\xBF"
                             "C:\\M\xC3\xBCller\r\n\r\n  C:\\B  "),
              expected);
    EXPECT_EQ(check::LinesOf("C:\\M\xFCller\nC:\\B\n"), expected);
}

}  // namespace

}  // namespace kandora::check_tests
