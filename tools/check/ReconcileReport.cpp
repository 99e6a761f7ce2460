#include "tools/check/ReconcileReport.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "archive/ArchiveNumbers.h"
#include "interfaces/CodePages.h"
#include "tools/check/Checks.h"
#include "tools/check/Wording.h"

namespace kandora::check {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::int64_t lookedThrough = archive::lastHitExamined + 1;

Json JsonOf(const EntryFinding& finding) {
    Json json{{"art", Utf8FromText(NameOf(finding.kind).key)}};
    if (finding.entry != 0) {
        json["eintrag"] = finding.entry;
        json["treffer"] = finding.hit;
    }
    if (finding.hasIdentity) {
        json["nummer"] = Utf8FromText(finding.identity.number);
        json["index"] = Utf8FromText(finding.identity.index);
        json["dokId"] = Utf8FromText(finding.identity.docId);
        json["barcode"] = Utf8FromText(finding.identity.barcode);
    }
    if (finding.kind == Discrepancy::Duplicate) {
        json["wodurch"] = Utf8FromText(finding.by);
        json["weitere"] = finding.others;
    }
    if (!finding.fields.empty()) {
        Json fields = Json::array();
        for (const FieldDifference& field : finding.fields) {
            fields.push_back({{"feld", Utf8FromText(field.key)},
                              {"archiv", Utf8FromText(field.archive)},
                              {"buchhaltung", Utf8FromText(field.accounting)}});
        }
        json["felder"] = fields;
    }
    json["text"] = Utf8FromText(finding.text);
    return json;
}

Json JsonOf(const Reindexed& reindexed) {
    Json left = Json::array();
    for (const auto& [entry, reason] : reindexed.left) {
        left.push_back({{"eintrag", entry}, {"text", Utf8FromText(reason)}});
    }
    Json json{{"geschrieben", reindexed.written}, {"ausgelassen", left}};
    if (!reindexed.failure.empty()) {
        json["fehler"] = Utf8FromText(reindexed.failure);
    }
    return json;
}

Text Minutes(std::uint64_t milliseconds) {
    const std::uint64_t seconds = milliseconds / 1000;
    return seconds < 60 ? L"weniger als eine Minute"
                        : L"etwa " + Decimal(static_cast<std::int64_t>((seconds + 59) / 60)) + L" Minuten";
}

Json JsonOf(const Reconciled& reconciled) {
    Json masks = Json::array();
    for (const MaskFill& mask : reconciled.masks) {
        masks.push_back({{"maske", mask.mask}, {"eintraege", mask.entries}});
    }
    Json findings = Json::array();
    for (const EntryFinding& finding : reconciled.findings) {
        findings.push_back(JsonOf(finding));
    }
    Json json{{"vollstaendig", reconciled.isComplete}};
    if (!reconciled.isComplete) {
        json["grund"] = Utf8FromText(reconciled.reason);
    }
    json["mandant"] = Utf8FromText(reconciled.client);
    json["geprueft"] = reconciled.judged;
    json["andere"] = reconciled.others;
    json["masken"] = std::move(masks);
    json["befunde"] = std::move(findings);
    if (reconciled.reindexed) {
        json["neuIndexiert"] = JsonOf(*reconciled.reindexed);
    }
    return json;
}

}  // namespace

nlohmann::ordered_json JsonOf(const std::vector<Reconciled>& reconciled, bool isOfSeveralClients) {
    if (!isOfSeveralClients && !reconciled.empty()) {
        return {{"abgleich", JsonOf(reconciled.front())}};
    }
    Json all = Json::array();
    for (const Reconciled& one : reconciled) {
        all.push_back(JsonOf(one));
    }
    return {{"abgleiche", std::move(all)}};
}

std::string PageData(const std::vector<Reconciled>& reconciled, bool isOfSeveralClients) {
    const Json whole = JsonOf(reconciled, isOfSeveralClients);
    return (isOfSeveralClients ? whole : whole.front()).dump(-1, ' ', false, Json::error_handler_t::replace);
}

Finding LineFinding(const EntryFinding& finding) {
    Text name = NameOf(finding.kind).title;
    if (finding.entry != 0) {
        name += L": Eintrag " + Decimal(finding.entry);
    }
    const Identity& identity = finding.identity;
    if (finding.hasIdentity && !(identity.number.empty() && identity.index.empty())) {
        name += (finding.entry != 0 ? L", Beleg " : L": Beleg ") + identity.number + L" / " + identity.index;
    }
    return {area::reconciliation, name, Verdict::Warning, finding.text, {}};
}

Finding LineFinding(const MaskFill& mask) {
    const std::int64_t percent = mask.entries * std::int64_t{100} / lookedThrough;
    const Text value = Decimal(mask.entries) + L" von " + Decimal(lookedThrough) + L" Einträgen (" +
                       Decimal(percent) + L" %)";
    const Text name = L"Maske " + mask.name + L" (" + Decimal(mask.mask) + L")";
    constexpr std::int64_t fullFrom = 80;
    if (percent < fullFrom) {
        return {area::reconciliation, name, Verdict::Good, value, {}};
    }
    return {area::reconciliation, name, Verdict::Warning, value,
            L"Ältere Jahre in ein eigenes Archiv oder unter eigene Masken verlegen"};
}

Text SummaryOf(const Reconciled& reconciled) {
    std::vector<Text> parts;
    for (const DiscrepancyName& row : discrepancies) {
        const auto count = std::ranges::count(reconciled.findings, row.kind, &EntryFinding::kind);
        if (count > 0) {
            parts.push_back(Decimal(count) + L" " + row.title);
        }
    }
    return reconciled.client + L": " +
           (reconciled.isComplete ? Text() : L"nicht zu Ende (" + reconciled.reason + L"), ") +
           Counted(reconciled.judged, L" Eintrag geprüft, ", L" Einträge geprüft, ") +
           Decimal(reconciled.others) + L" andere, " +
           (parts.empty() ? Text(L"keine Befunde")
                          : Counted(static_cast<std::int64_t>(reconciled.findings.size()), L" Befund: ",
                                    L" Befunde: ") +
                                Joined(parts, L", "));
}

Text ProgressText(const ReconcileProgress& progress, std::uint64_t elapsed) {
    Text text = Text(L"Maske ") + progress.kind->maskKey + L" (" + Decimal(progress.mask) + L"): " +
                Decimal(progress.done) + L" von " + Decimal(progress.total) + L" Einträgen, " +
                Counted(static_cast<std::int64_t>(progress.findings), L" Befund", L" Befunde");
    if (progress.done > 0) {
        const auto done = static_cast<std::uint64_t>(progress.done);
        text +=
            L", noch " + Minutes(elapsed * static_cast<std::uint64_t>(progress.total - progress.done) / done);
    }
    return text;
}

}  // namespace kandora::check
