#include "simulators/host/ClientFile.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <set>

#include "interfaces/CodePages.h"
#include "simulators/common/Files.h"
#include "simulators/common/JsonFile.h"
#include "simulators/host/RequestFile.h"

namespace kandora::simulators {

namespace {

/// Currency holds four decimals; beyond this amount a double no longer tells Rappen apart.
constexpr double largestAmount = 1e11;

class Reader {
public:
    explicit Reader(const JsonFile& file) : file_(file) {}

    std::wstring RequiredText(const Json& record, std::string_view key) const {
        return file_.NonEmptyText(file_.Required(record, key));
    }

    std::wstring OptionalText(const Json& record, std::string_view key) const {
        const Json* node = file_.Optional(record, key);
        return node ? file_.Text(*node) : std::wstring();
    }

    std::wstring TextOrEmpty(const Json& record, std::string_view key) const {
        return file_.Text(file_.Required(record, key));
    }

    std::int32_t Number(const Json& record, std::string_view key, std::int32_t highest) const {
        return file_.Integer(file_.Required(record, key), 0, highest);
    }

    double Date(const Json& record, std::string_view key) const {
        const Json& node = file_.Required(record, key);
        double date = 0;
        if (!ParseDate(file_.Text(node), date)) {
            file_.Fail(node, L"Hier muss ein Datum wie \"2026-03-31\" stehen.");
        }
        return date;
    }

    std::int64_t Amount(const Json& record, std::string_view key) const {
        const Json& node = file_.Required(record, key);
        const double amount = file_.Number(node);
        if (std::abs(amount) > largestAmount) {
            file_.Fail(node, L"Der Betrag ist zu gross.");
        }
        return std::llround(amount * 10000);
    }

    /// The elements of a list; none when the list is missing.
    const Json& List(const Json& parent, std::string_view key) const {
        static const Json none = Json::array();
        const Json* node = file_.Optional(parent, key);
        return node ? file_.Array(*node) : none;
    }

    const Json& Section(std::string_view key) const {
        static const Json none = Json::object();
        const Json* node = file_.Optional(file_.Root(), key);
        return node ? file_.Object(*node) : none;
    }

private:
    const JsonFile& file_;
};

Booking ReadBooking(const JsonFile& file, const Json& record) {
    const Reader reader(file);
    file.AllowOnly(
        record, {"belegNr", "belegIndex", "ursprung", "text", "datum", "betrag", "opNr", "barcode", "docId"});
    Booking booking;
    booking.belegNr = reader.RequiredText(record, "belegNr");
    booking.belegIndex = reader.RequiredText(record, "belegIndex");
    booking.ursprung = static_cast<std::int16_t>(
        reader.Number(record, "ursprung", std::numeric_limits<std::int16_t>::max()));
    booking.text = reader.TextOrEmpty(record, "text");
    booking.datum = reader.Date(record, "datum");
    booking.betrag = reader.Amount(record, "betrag");
    booking.opNr = reader.OptionalText(record, "opNr");
    booking.barcode = reader.OptionalText(record, "barcode");
    booking.docId = reader.OptionalText(record, "docId");
    return booking;
}

template <class Key, class Record>
void AddOnce(const JsonFile& file, const Json& node, std::map<Key, Record>& records, const Key& key,
             Record record) {
    if (!records.emplace(key, std::move(record)).second) {
        file.Fail(node, L"Diese Nummer kommt schon weiter oben vor.");
    }
}

std::string NameOf(Ledger ledger) {
    return ledger == Ledger::Debtors ? "debitoren" : "kreditoren";
}

/// Lists put one record on a line, everything else is spread out with two blanks per level, as generate.py
/// does.
void RenderInto(std::string& text, const nlohmann::ordered_json& node, std::size_t depth) {
    const std::string indent((depth + 1) * 2, ' ');
    if (!node.is_structured() || node.empty()) {
        text += node.dump();
        return;
    }
    text += node.is_object() ? "{\n" : "[\n";
    bool first = true;
    for (auto item = node.begin(); item != node.end(); ++item) {
        text += first ? "" : ",\n";
        text += indent;
        first = false;
        if (node.is_object()) {
            text += nlohmann::ordered_json(item.key()).dump() + ": ";
            RenderInto(text, item.value(), depth + 1);
        } else {
            text += item->dump();
        }
    }
    text += '\n';
    text.append(depth * 2, ' ');
    text += node.is_object() ? '}' : ']';
}

}  // namespace

ClientFile ClientFile::Load(const std::filesystem::path& path) {
    const std::string text = ReadWholeFile(path.wstring());
    const JsonFile file = JsonFile::Parse(path.wstring(), text);
    const Reader reader(file);
    const Json& root = file.Root();
    file.AllowOnly(root, {"mandant", "geschaeftsjahr", "optionen", "bewusstFehlend", "buchungen",
                          "offenePosten", "konten", "adressen"});
    ClientFile client;
    client.path_ = std::filesystem::absolute(path);
    client.mandant_ = reader.RequiredText(root, "mandant");

    const Json& options = reader.Section("optionen");
    for (auto group = options.begin(); group != options.end(); ++group) {
        file.Object(group.value());
        for (auto option = group->begin(); option != group->end(); ++option) {
            file.Text(option.value());
        }
    }

    std::set<std::pair<std::wstring, std::wstring>> bookingKeys;
    for (const Json& record : reader.List(root, "buchungen")) {
        Booking booking = ReadBooking(file, record);
        if (!bookingKeys.emplace(booking.belegNr, booking.belegIndex).second) {
            file.Fail(record, L"Belegnummer und Belegindex kommen schon weiter oben vor.");
        }
        client.bookings_.push_back(std::move(booking));
    }

    constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
    const Json& openItems = reader.Section("offenePosten");
    const Json& accounts = reader.Section("konten");
    for (const Ledger ledger : {Ledger::Debtors, Ledger::Creditors}) {
        LedgerData& data = ledger == Ledger::Debtors ? client.debtors_ : client.creditors_;
        for (const Json& record : reader.List(openItems, NameOf(ledger))) {
            file.AllowOnly(record, {"opNr", "datum", "betragFaktura", "pkNr"});
            const OpenItem item{reader.RequiredText(record, "opNr"), reader.Date(record, "datum"),
                                reader.Amount(record, "betragFaktura"),
                                reader.Number(record, "pkNr", largest)};
            AddOnce(file, record, data.openItems, item.opNr, item);
        }
        for (const Json& record : reader.List(accounts, NameOf(ledger))) {
            file.AllowOnly(record, {"pkNr", "adressId"});
            const PersonalAccount account{reader.Number(record, "pkNr", largest),
                                          reader.Number(record, "adressId", largest)};
            AddOnce(file, record, data.accounts, account.pkNr, account);
        }
    }
    for (const Json& record : reader.List(root, "adressen")) {
        file.AllowOnly(record, {"adressId", "firma", "plz", "ort"});
        const Address address{reader.Number(record, "adressId", largest), reader.TextOrEmpty(record, "firma"),
                              reader.TextOrEmpty(record, "plz"), reader.TextOrEmpty(record, "ort")};
        AddOnce(file, record, client.addresses_, address.adressId, address);
    }
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    client.document_ = nlohmann::ordered_json::parse(
        text.substr(text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0));
    return client;
}

Booking* ClientFile::FindBooking(const std::wstring& belegNr, const std::wstring& belegIndex) {
    const auto found = std::ranges::find_if(bookings_, [&](const Booking& booking) {
        return booking.belegNr == belegNr && booking.belegIndex == belegIndex;
    });
    return found == bookings_.end() ? nullptr : &*found;
}

const OpenItem* ClientFile::FindOpenItem(Ledger ledger, const std::wstring& opNr) const {
    const auto& items = Data(ledger).openItems;
    const auto found = items.find(opNr);
    return found == items.end() ? nullptr : &found->second;
}

const PersonalAccount* ClientFile::FindAccount(Ledger ledger, std::int32_t pkNr) const {
    const auto& accounts = Data(ledger).accounts;
    const auto found = accounts.find(pkNr);
    return found == accounts.end() ? nullptr : &found->second;
}

const Address* ClientFile::FindAddress(std::int32_t adressId) const {
    const auto found = addresses_.find(adressId);
    return found == addresses_.end() ? nullptr : &found->second;
}

std::wstring ClientFile::Option(int group, int key) const {
    const nlohmann::json::json_pointer place =
        nlohmann::json::json_pointer("/optionen") / std::to_string(group) / std::to_string(key);
    return document_.contains(place) ? TextFromUtf8(document_[place].get<std::string>()) : std::wstring();
}

void ClientFile::SetOption(int group, int key, const std::wstring& value) {
    nlohmann::ordered_json document = document_;
    document["optionen"][std::to_string(group)][std::to_string(key)] = Utf8FromText(value);
    Write(std::move(document));
}

void ClientFile::Keep(const Booking& booking, const std::vector<FieldChange>& changes) {
    if (!keepsChanges_) {
        return;
    }
    nlohmann::ordered_json document = document_;
    nlohmann::ordered_json& record =
        document["buchungen"][static_cast<std::size_t>(&booking - bookings_.data())];
    for (const FieldChange& change : changes) {
        nlohmann::ordered_json& value = record[Utf8FromText(change.field)];
        if (change.field == L"betrag") {
            value = static_cast<double>(booking.betrag) / 10000;
        } else if (change.field == L"ursprung") {
            value = booking.ursprung;
        } else {
            value = Utf8FromText(change.value);
        }
    }
    Write(std::move(document));
}

void ClientFile::Write(nlohmann::ordered_json document) {
    document_.swap(document);
    try {
        WriteFileAtomically(path_.wstring(), Render());
    } catch (...) {
        document_.swap(document);
        throw;
    }
}

std::string ClientFile::Render() const {
    std::string text;
    RenderInto(text, document_, 0);
    return text + "\n";
}

std::vector<std::wstring> ClientFile::UnresolvedReferences() const {
    std::vector<std::wstring> complaints;
    const auto isDeclared = [&](const std::string& place, const nlohmann::ordered_json& key) {
        const nlohmann::json::json_pointer list("/bewusstFehlend/" + place);
        return document_.contains(list) &&
               std::find(document_[list].begin(), document_[list].end(), key) != document_[list].end();
    };
    const auto complain = [&](const std::wstring& owner, const std::wstring& what) {
        complaints.push_back(path_.wstring() + L": " + owner + L" verweist auf " + what +
                             L", was nicht erfasst ist.");
    };
    for (const Booking& booking : bookings_) {
        if (booking.opNr.empty() || (booking.ursprung != 1 && booking.ursprung != 2)) {
            continue;
        }
        const Ledger ledger = booking.ursprung == 1 ? Ledger::Debtors : Ledger::Creditors;
        if (FindOpenItem(ledger, booking.opNr) == nullptr &&
            !isDeclared("offenePosten/" + NameOf(ledger), Utf8FromText(booking.opNr))) {
            complain(L"Buchung " + booking.belegNr + L"/" + booking.belegIndex,
                     L"den offenen Posten " + booking.opNr);
        }
    }
    for (const Ledger ledger : {Ledger::Debtors, Ledger::Creditors}) {
        for (const auto& [opNr, item] : Data(ledger).openItems) {
            if (FindAccount(ledger, item.pkNr) == nullptr &&
                !isDeclared("konten/" + NameOf(ledger), item.pkNr)) {
                complain(L"Offener Posten " + opNr, L"das Konto " + std::to_wstring(item.pkNr));
            }
        }
        for (const auto& [pkNr, account] : Data(ledger).accounts) {
            if (FindAddress(account.adressId) == nullptr && !isDeclared("adressen", account.adressId)) {
                complain(L"Konto " + std::to_wstring(pkNr),
                         L"die Adresse " + std::to_wstring(account.adressId));
            }
        }
    }
    return complaints;
}

std::wstring SetBookingField(Booking& booking, const std::wstring& field, const std::wstring& value) {
    if (field == L"text") {
        booking.text = value;
    } else if (field == L"opNr") {
        booking.opNr = value;
    } else if (field == L"barcode") {
        booking.barcode = value;
    } else if (field == L"docId") {
        booking.docId = value;
    } else if (field == L"belegNr" || field == L"belegIndex") {
        if (value.empty()) {
            return L"Belegnummer und Belegindex können nicht leer sein.";
        }
        (field == L"belegNr" ? booking.belegNr : booking.belegIndex) = value;
    } else if (field == L"datum") {
        if (!ParseDate(value, booking.datum)) {
            return L"Ein Datum hat die Form 2026-03-31, nicht " + Guillemets(value) + L".";
        }
    } else if (field == L"betrag") {
        if (!ParseAmount(value, booking.betrag)) {
            return L"Ein Betrag hat die Form 1234.50, nicht " + Guillemets(value) + L".";
        }
    } else if (field == L"ursprung") {
        if (value.size() != 1 || value.front() < L'0' || value.front() > L'9') {
            return L"Der Ursprung ist eine Ziffer, nicht " + Guillemets(value) + L".";
        }
        booking.ursprung = static_cast<std::int16_t>(value.front() - L'0');
    } else {
        return L"Eine Buchung hat kein Feld " + Guillemets(field) + L".";
    }
    return {};
}

bool ParseDate(const std::wstring& text, double& date) {
    constexpr std::wstring_view pattern = L"0000-00-00";
    if (text.size() != pattern.size()) {
        return false;
    }
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        const bool digit = text[at] >= L'0' && text[at] <= L'9';
        if (pattern[at] == L'0' ? !digit : text[at] != pattern[at]) {
            return false;
        }
    }
    using namespace std::chrono;
    const year_month_day day(year(std::stoi(text.substr(0, 4))),
                             month(static_cast<unsigned>(std::stoi(text.substr(5, 2)))),
                             std::chrono::day(static_cast<unsigned>(std::stoi(text.substr(8, 2)))));
    constexpr sys_days automationEpoch = sys_days(December / 30 / 1899);
    if (!day.ok() || sys_days(day) <= automationEpoch) {
        return false;
    }
    date = static_cast<double>((sys_days(day) - automationEpoch).count());
    return true;
}

bool ParseAmount(const std::wstring& text, std::int64_t& amount) {
    std::wstring_view rest = text;
    const bool negative = rest.starts_with(L'-');
    rest.remove_prefix(negative ? 1 : 0);
    const std::size_t point = rest.find(L'.');
    const std::wstring_view whole = rest.substr(0, point);
    std::wstring decimals(point == std::wstring_view::npos ? L"0" : rest.substr(point + 1));
    constexpr std::wstring_view digits = L"0123456789";
    if (whole.empty() || whole.size() > 11 || decimals.empty() || decimals.size() > 4 ||
        whole.find_first_not_of(digits) != std::wstring_view::npos ||
        decimals.find_first_not_of(digits) != std::wstring::npos) {
        return false;
    }
    decimals.resize(4, L'0');
    amount = std::stoll(std::wstring(whole)) * 10000 + std::stoll(decimals);
    amount = negative ? -amount : amount;
    return true;
}

}  // namespace kandora::simulators
