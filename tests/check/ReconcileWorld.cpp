#include "tests/check/ReconcileWorld.h"

#include "interfaces/CodePages.h"
#include "tests/support/Rendering.h"

namespace kandora::check_tests {

std::string Short(const check::EntryFinding& finding) {
    Text text = check::NameOf(finding.kind).key;
    if (finding.entry != 0) {
        text += L" " + Decimal(finding.entry);
    }
    if (!finding.by.empty()) {
        text += L" " + finding.by;
    }
    for (const std::int32_t other : finding.others) {
        text += L" " + Decimal(other);
    }
    for (const check::FieldDifference& field : finding.fields) {
        text += L" " + field.key;
    }
    return Utf8FromText(text);
}

test::Lines Short(const std::vector<check::EntryFinding>& findings) {
    test::Lines lines;
    for (const check::EntryFinding& finding : findings) {
        lines.push_back(Short(finding));
    }
    return lines;
}

ReconcileWorld::ReconcileWorld() {
    machine.seam = &conductor;
    screen.seam = &conductor;
    machine.files.insert(test::SampleFolders().strPlatzhalterDatei);
    machine.Makes(test::archiveProgId, [this] { return archive.NewObject(); });
    machine.Makes(test::hostProgId, [this] { return host.NewObject(); });
    globals.state.settings = test::SampleSettings();
    globals.state.folders = test::SampleFolders();
    globals.state.gbIniOK = true;
    for (const Kind& kind : {voucher, debtor, creditor}) {
        archive.AddFolder(kind.folder);
    }
    archive.AddFolder(L"/Sesam/Nachbar/Buchungen");
    voucherEntry = File(voucher, L"17");
    debtorEntry = File(debtor, L"18", L"20261114080001");
    creditorEntry = File(creditor, L"19", L"20261114080002");
    talk.Take();
}

std::int32_t ReconcileWorld::File(const Kind& kind, const Text& number, const Text& docId) {
    host.bookings[{number, L"1"}] = {
        kind.origin, L"Miete Büro " + number, L"14.11.2026",   L"1200.50",     L"77-" + number, L"01.11.2026",
        L"1234.55",  L"1100-" + number,       L"42-" + number, L"Muster & Co", L"8000",         L"Zürich"};
    return globals.goArchiv()->AddDokument(globals.state.folders.strPlatzhalterDatei, L"BC-" + number, number,
                                           L"1", L"Pendent", docId);
}

std::int32_t ReconcileWorld::Copy(std::int32_t entry) {
    return archive.AddEntry(archive.entries.at(entry));
}

void ReconcileWorld::Expect(const test::Lines& findings) {
    const test::Entries before = archive.entries;
    const check::Reconciled result = Compare();
    EXPECT_TRUE(result.isComplete) << Utf8FromText(result.reason);
    EXPECT_EQ(Short(result.findings), findings);
    EXPECT_EQ(result.ExitCode(), findings.empty() ? 0 : 1);
    EXPECT_EQ(archive.entries, before);
}

}  // namespace kandora::check_tests
