// What a comparison of archive and accounting finds, and what it says to both.
#include "tests/check/ReconcileWorld.h"

#include <functional>
#include <set>

#include "archive/ArchiveNumbers.h"
#include "interfaces/CodePages.h"
#include "tests/support/Rendering.h"
#include "tools/check/Surroundings.h"

namespace kandora::check_tests {

namespace {

using test::Lines;

std::string Id(std::int32_t entry) {
    return std::to_string(entry);
}

TEST_F(ReconcileWorld, NothingIsWrong) {
    const check::Reconciled result = Compare();
    EXPECT_TRUE(result.isComplete);
    EXPECT_EQ(result.ExitCode(), 0);
    EXPECT_EQ(Short(result.findings), Lines());
    EXPECT_EQ(result.client, L"C:\\Daten\\Muster");
    EXPECT_EQ(result.judged, 3);
    EXPECT_EQ(result.others, 0);
    ASSERT_EQ(result.masks.size(), 3U);
    EXPECT_EQ(result.masks[0].mask, 2);  // in the order in which the component searches
    EXPECT_EQ(result.masks[1].mask, 5);
    EXPECT_EQ(result.masks[2].mask, 4);
    EXPECT_EQ(result.masks[0].entries, 1);
}

TEST_F(ReconcileWorld, EveryFieldOfEveryKind) {
    for (const auto& [kind, entry, fields] : {std::tuple(voucher, voucherEntry, std::int16_t{7}),
                                              std::tuple(debtor, debtorEntry, std::int16_t{13}),
                                              std::tuple(creditor, creditorEntry, std::int16_t{13})}) {
        const auto key = [](std::int16_t field) {
            return Utf8FromText(partnerIndexFields[static_cast<std::size_t>(field)].key);
        };
        for (std::int16_t field = ValueDate; field < fields; ++field) {
            Text& value = FieldOf(entry, kind, static_cast<Field>(field));
            const Text before = std::exchange(value, L"andere; \"Ü\"\r\n");
            Expect({"abweichend " + Id(entry) + " " + key(field)});
            FieldOf(entry, kind, static_cast<Field>(field)) = before;
        }
        archive.entries.at(entry).shortName = L"alt";
        Expect({"abweichend " + Id(entry) + " Kurzbezeichnung"});
        archive.entries.at(entry).shortName = BookingOf(FieldOf(entry, kind, Number)).text;
        Expect({});
    }
}

TEST_F(ReconcileWorld, WhatTheRequestTellsIsNotCompared) {
    FieldOf(voucherEntry, voucher, Barcode) = L"anderer";
    FieldOf(voucherEntry, voucher, Status) = L"Erfasst";
    FieldOf(voucherEntry, voucher, DocId) = L"20261113080000";
    Expect({});
}

TEST_F(ReconcileWorld, ABookingThatIsGone) {
    for (const wchar_t* const number : {L"17", L"18", L"19"}) {
        host.bookings.erase({number, L"1"});
    }
    Expect({"ohneBuchung " + Id(voucherEntry), "ohneBuchung " + Id(creditorEntry),
            "ohneBuchung " + Id(debtorEntry)});
}

TEST_F(ReconcileWorld, ABookingOfAnotherKind) {
    BookingOf(L"17").origin = 1;
    Expect({"andereArt " + Id(voucherEntry)});
    EXPECT_EQ(
        Compare().findings.front().text,
        L"Liegt in «/Sesam/Muster/Buchungen» mit Maske 2, gehört nach «/Sesam/Muster/Debi» mit Maske 4.");
}

TEST_F(ReconcileWorld, TheRightMaskInAnotherFolderIsComparedAsWell) {
    archive.entries.at(debtorEntry).folder = voucher.folder;
    FieldOf(debtorEntry, debtor, Amount) = L"1";
    Expect({"andereArt " + Id(debtorEntry), "abweichend " + Id(debtorEntry) + " Betrag"});
}

TEST_F(ReconcileWorld, ANumberThatIsUsedAgain) {
    for (const auto& [kind, entry] : {std::pair(voucher, voucherEntry), std::pair(debtor, debtorEntry),
                                      std::pair(creditor, creditorEntry)}) {
        FieldOf(entry, kind, ValueDate) = L"14.11.2025";
        FieldOf(entry, kind, Amount) = L"5";
        archive.entries.at(entry).shortName = L"ganz anders";
    }
    const std::string fields = " Valutadatum Betrag";
    Expect({"andereBuchung " + Id(voucherEntry) + fields, "andereBuchung " + Id(creditorEntry) + fields,
            "andereBuchung " + Id(debtorEntry) + fields});
}

TEST_F(ReconcileWorld, AnEntryWithoutIdentity) {
    for (const auto& [kind, entry] : {std::pair(voucher, voucherEntry), std::pair(debtor, debtorEntry),
                                      std::pair(creditor, creditorEntry)}) {
        FieldOf(entry, kind, Number).clear();
        FieldOf(entry, kind, DocId).clear();
    }
    Expect({"leer " + Id(voucherEntry), "leer " + Id(creditorEntry), "leer " + Id(debtorEntry)});
}

TEST_F(ReconcileWorld, EntriesThatWaitForLong) {
    FieldOf(voucherEntry, voucher, DocId) = L"20261015235959";    // 31 days
    FieldOf(creditorEntry, creditor, DocId) = L"20261016000000";  // 30
    FieldOf(debtorEntry, debtor, DocId) = L"20261399000000";      // no day: the value date counts
    Expect({"pendent " + Id(voucherEntry)});
    EXPECT_EQ(Compare().findings.front().text, L"Der Status sagt seit 31 Tagen «Pendent»; ob der Beleg "
                                               L"inzwischen eingescannt ist, ist nicht bekannt.");
    options.days = 0;
    Expect({"pendent " + Id(voucherEntry), "pendent " + Id(creditorEntry), "pendent " + Id(debtorEntry)});
    FieldOf(creditorEntry, creditor, Status) = L"Erfasst";
    options.days = 29;
    Expect({"pendent " + Id(voucherEntry)});
}

TEST_F(ReconcileWorld, DoubleEntriesByEachCriterion) {
    const std::int32_t twin = Copy(debtorEntry);
    const std::int32_t third = Copy(debtorEntry);
    FieldOf(twin, debtor, Barcode) = L"BC-17";  // a voucher's, which comes first
    FieldOf(third, debtor, DocId).clear();
    const std::string first = Id(debtorEntry) + " ";
    Expect({"doppelt " + first + "dokId " + Id(twin),
            "doppelt " + first + "nummer " + Id(twin) + " " + Id(third),
            // The debtor's and the third have one barcode as well, but were told of already.
            "doppelt " + Id(voucherEntry) + " barcode " + Id(twin)});
}

TEST_F(ReconcileWorld, WhatAChangeHitsMayBelongToAnother) {
    const std::int32_t neighbour = archive.AddEntry({2,
                                                     L"fremd",
                                                     {{std::int16_t{12}, L"18"}, {std::int16_t{13}, L"1"}},
                                                     L"/Sesam/Nachbar/Buchungen",
                                                     {}});
    const std::int32_t twin = Copy(debtorEntry);
    const check::Reconciled result = Compare();
    EXPECT_EQ(result.others, 1);
    ASSERT_EQ(result.findings.size(), 1U);
    EXPECT_EQ(
        Utf8FromText(result.findings[0].text),
        "Dieselbe Dokument-ID «20261114080001» hat auch Eintrag " + Id(twin) +
            ". Eine Änderung trifft den Eintrag " + Id(neighbour) +
            " ausserhalb der Ordner dieses Mandanten, eine Löschung und eine Anzeige treffen den Eintrag " +
            Id(debtorEntry) + ".");
}

TEST_F(ReconcileWorld, EntriesBeyondTheHitsThatAreLookedThrough) {
    const std::int32_t lookedThrough = archive::lastHitExamined + 1;
    Lines expected;
    int number = 100;
    for (const Kind& kind : {voucher, creditor, debtor}) {
        std::int32_t hits = 1;
        const auto fillUpTo = [&](std::int32_t count) {
            for (; hits < count; ++hits) {
                archive.AddEntry({kind.mask, L"fremd", {}, L"/Sesam/Nachbar/Buchungen", {}});
            }
        };
        const auto file = [&] {
            ++number;
            ++hits;
            return Id(File(kind, Decimal(number), L"20261114080" + Decimal(number)));
        };
        fillUpTo(lookedThrough - 1);
        file();  // the last hit that is looked at
        expected.push_back("unauffindbar " + file());
        fillUpTo(lookedThrough + 5);
        expected.push_back("unauffindbar " + file());
    }
    const check::Reconciled result = Compare();
    EXPECT_EQ(Short(result.findings), expected);
    EXPECT_EQ(result.findings.front().hit, lookedThrough);
    EXPECT_EQ(result.judged, 12);
    for (const check::MaskFill& mask : result.masks) {
        EXPECT_GT(mask.entries, lookedThrough);
    }
}

TEST_F(ReconcileWorld, SomebodyMendsAnEntryMeanwhile) {
    FieldOf(voucherEntry, voucher, Amount) = L"1";
    bool isMended = false;
    options.onProgress = [&](const check::ReconcileProgress&) {
        // The entry is read in the next moment; with the second look it is right.
        if (!std::exchange(isMended, true)) {
            conductor.Begin();
            conductor.Meanwhile(15, [this] { FieldOf(voucherEntry, voucher, Amount) = L"1200.50"; });
        }
    };
    const check::Reconciled result = Compare();
    EXPECT_TRUE(isMended);
    EXPECT_EQ(result.ExitCode(), 0) << testing::PrintToString(Short(result.findings));
}

TEST_F(ReconcileWorld, AnEntryVanishesMeanwhile) {
    host.bookings.erase({L"17", L"1"});
    Copy(creditorEntry);
    const std::int32_t twin = archive.entries.rbegin()->first;
    options.onProgress = [&](const check::ReconcileProgress& progress) {
        if (progress.done == 0) {
            archive.entries.erase(voucherEntry);
        }
        if (progress.mask == debtor.mask) {
            archive.entries.erase(twin);
        }
    };
    const check::Reconciled result = Compare();
    EXPECT_TRUE(result.isComplete);
    EXPECT_EQ(Short(result.findings), Lines());
}

TEST_F(ReconcileWorld, AnEntryGoesElsewhereWhileItIsJudged) {
    // Behind the last hit that is looked through, each own entry is told of without another look.
    for (std::int32_t hit = 1; hit <= archive::lastHitExamined; ++hit) {
        archive.AddEntry({voucher.mask, L"fremd", {}, L"/Sesam/Nachbar/Buchungen", {}});
    }
    const std::int32_t last = File(voucher, L"20", L"20261114080003");
    FieldOf(last, voucher, Amount) = L"1";
    const auto entry = archive.entries.at(last);
    const Lines findings{"abweichend " + Id(last) + " Betrag", "unauffindbar " + Id(last)};
    struct Event {
        const char* what;
        std::function<void()> happens;
        std::int32_t others;
        Lines findings;
    };
    for (const Event& event :
         {Event{"nothing", [] {}, archive::lastHitExamined, findings},
          Event{"moved",
                [&] { archive.entries.at(last).folder = L"/Sesam/Nachbar/Buchungen"; },
                archive::lastHitExamined + 1,
                {}},
          Event{"deleted", [&] { archive.entries.erase(last); }, archive::lastHitExamined, {}}}) {
        SCOPED_TRACE(event.what);
        archive.entries.insert_or_assign(last, entry);
        bool hasHappened = false;
        options.onProgress = [&](const check::ReconcileProgress& progress) {
            if (progress.done == archive::lastHitExamined + 1) {
                // It is read in the next moment; with the second look it lies elsewhere.
                conductor.Begin();
                conductor.Meanwhile(15, [&] {
                    hasHappened = true;
                    event.happens();
                });
            }
        };
        const check::Reconciled result = Compare();
        EXPECT_TRUE(hasHappened);
        EXPECT_TRUE(result.isComplete) << Utf8FromText(result.reason);
        EXPECT_EQ(Short(result.findings), event.findings);
        EXPECT_EQ(result.judged, event.findings.empty() ? 3 : 4);
        EXPECT_EQ(result.others, event.others);
    }
}

TEST_F(ReconcileWorld, AnotherClientIsOpenedMeanwhile) {
    options.onProgress = [&](const check::ReconcileProgress& progress) {
        if (progress.done == 1) {
            host.client = L"C:\\Daten\\Anderer";
            host.bookings.clear();
        }
    };
    const check::Reconciled result = Compare();
    EXPECT_FALSE(result.isComplete);
    EXPECT_EQ(result.ExitCode(), 2);
    EXPECT_EQ(Short(result.findings), Lines());
    EXPECT_EQ(result.reason,
              L"In der Finanzbuchhaltung ist jetzt ein anderer Mandant offen: C:\\Daten\\Anderer");
}

TEST_F(ReconcileWorld, AClientThatIsNotTheOpenOne) {
    const Text path = L"C:\\Daten\\Zweiter";
    check::CheckedPlatform platform(machine, L"C:\\Kandora\\Kandora.dll");
    platform.UseClient(path);
    MGlobals other(platform, screen);
    other.state = globals.state;
    conductor.Begin(true);
    const check::Reconciled result = check::Reconcile(other, options);
    other.ReleaseServices();
    platform.LeaveHost();
    conductor.End();
    EXPECT_TRUE(result.isComplete) << Utf8FromText(result.reason);
    EXPECT_EQ(result.client, path);
    EXPECT_EQ(result.judged, 3);
    int open = 0;
    int opened = 0;
    for (const test::SeenCall& call : conductor.Seen()) {
        if (call.side != "archive" && call.operation == L"Login") {
            EXPECT_EQ(call.TextAt(1), path);
            ++open;
            ++opened;
        }
        open -= call.side != "archive" && call.operation == L"Logout" ? 1 : 0;
    }
    EXPECT_GT(opened, 0);
    EXPECT_EQ(open, 0);
}

TEST_F(ReconcileWorld, AnInterruptionKeepsWhatThereIs) {
    BookingOf(L"17").amount = L"7";
    bool isWanted = false;
    options.onFinding = [&](const check::EntryFinding&) { isWanted = true; };
    options.isInterrupted = [&] { return isWanted; };
    const check::Reconciled result = Compare();
    EXPECT_EQ(result.ExitCode(), 2);
    EXPECT_EQ(result.reason, L"unterbrochen");
    EXPECT_EQ(Short(result.findings), Lines({"abweichend " + Id(voucherEntry) + " Betrag"}));
}

TEST_F(ReconcileWorld, TheArchiveRestartsMeanwhile) {
    options.onProgress = [&](const check::ReconcileProgress&) { archive.Restart(); };
    Expect({});
}

TEST_F(ReconcileWorld, WhatIsAsked) {
    archive.AddEntry({2, L"fremd", {}, L"/Sesam/Nachbar/Buchungen", {}});
    conductor.Begin(true);
    Compare();
    conductor.End();
    const std::set<Text> reading{L"create",
                                 L"Login",
                                 L"EloWindow",
                                 L"GetEntryId",
                                 L"LookupDelimiter",
                                 L"LookupIndex",
                                 L"PrepareObjectEx",
                                 L"DoInvisibleSearch",
                                 L"ObjMainParent",
                                 L"ObjShort",
                                 L"getobjAttrib",
                                 L"istoffen",
                                 L"letztermandant",
                                 L"neubuchung",
                                 L"neuAdresse",
                                 L"neuOP",
                                 L"neuPK",
                                 L"lesen",
                                 L"ursprung",
                                 L"Text",
                                 L"Datum",
                                 L"Betrag",
                                 L"OPNr",
                                 L"BetragFaktura",
                                 L"PKNr",
                                 L"AdressID",
                                 L"Firma",
                                 L"PLZ",
                                 L"Ort",
                                 L"exists"};
    Lines archiveCalls;
    for (const test::SeenCall& call : conductor.Seen()) {
        EXPECT_TRUE(reading.contains(call.operation) || call.side == "machine")
            << Utf8FromText(call.operation);
        if (call.side == "archive") {
            if (call.operation == L"PrepareObjectEx") {
                EXPECT_NE(call.LongAt(1), test::documentEntry) << "prepared for writing";
            }
            if (call.operation == L"ObjShort" || call.operation == L"ObjMainParent") {
                EXPECT_TRUE(call.answered && call.arguments.empty()) << "assigned";
            }
            archiveCalls.push_back(Utf8FromText(call.operation));
        }
    }
    const Lines vouchersField(7, "getobjAttrib");
    const Lines partnersField(13, "getobjAttrib");
    const Lines foundNone(2, "GetEntryId");
    const Lines search{"PrepareObjectEx", "DoInvisibleSearch", "GetEntryId"};
    const Lines load{"PrepareObjectEx", "ObjMainParent"};
    EXPECT_EQ(archiveCalls,
              test::Together({{"GetEntryId"},  // whether the session lives
                              {"GetEntryId", "LookupDelimiter", "GetEntryId", "LookupIndex"},
                              {"GetEntryId", "LookupDelimiter", "GetEntryId", "LookupIndex"},
                              {"GetEntryId", "LookupDelimiter", "GetEntryId", "LookupIndex"},
                              search,
                              {"GetEntryId"},
                              foundNone,
                              search,
                              foundNone,
                              search,
                              foundNone,
                              load,
                              vouchersField,
                              {"ObjShort"},
                              load,
                              {"getobjAttrib", "getobjAttrib", "getobjAttrib"},  // another client's
                              load,
                              partnersField,
                              {"ObjShort"},
                              load,
                              partnersField,
                              {"ObjShort"}}));
}

}  // namespace

}  // namespace kandora::check_tests
