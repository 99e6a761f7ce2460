#include "simulators/host/TrialBalance.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cwchar>
#include <map>
#include <set>

#include "simulators/host/PdfDocument.h"

namespace kandora::simulators {

namespace {

/// Lines of one account or month, in the order of their keys.
using Lines = std::map<std::int32_t, BalanceLine>;

/// Keys of the lines that belong to no account; they come last.
constexpr std::int32_t withoutItem = INT32_MAX;
constexpr std::int32_t itemGone = INT32_MAX - 1;

std::chrono::year_month_day DayOf(double date) {
    using namespace std::chrono;
    return sys_days(December / 30 / 1899) + days(static_cast<int>(date));
}

/// Puts an amount on a side, a negative one on the other.
void Book(BalanceLine& line, std::int64_t amount, bool isDebit) {
    ++line.bookings;
    ((amount >= 0) == isDebit ? line.debit : line.credit) += std::abs(amount);
}

BalanceLine& LineOfPartner(Lines& lines, const ClientFile& client, Ledger ledger, const Booking& booking,
                           const OpenItem* item) {
    const std::int32_t key = item != nullptr ? item->pkNr : booking.opNr.empty() ? withoutItem : itemGone;
    const auto [found, isNew] = lines.try_emplace(key);
    BalanceLine& line = found->second;
    if (!isNew) {
        return line;
    }
    if (key == withoutItem) {
        line.name = L"Buchungen ohne offenen Posten";
    } else if (key == itemGone) {
        line.name = L"Offener Posten nicht mehr vorhanden";
    } else {
        line.account = std::to_wstring(key);
        const PersonalAccount* account = client.FindAccount(ledger, key);
        const Address* address = account != nullptr ? client.FindAddress(account->adressId) : nullptr;
        line.name = address != nullptr   ? address->firma
                    : account != nullptr ? L"(Adresse nicht erfasst)"
                                         : L"(Konto nicht erfasst)";
        line.place = address != nullptr ? address->ort : L"";
    }
    return line;
}

constexpr std::array<const wchar_t*, 12> monthNames{L"Januar",    L"Februar", L"März",     L"April",
                                                    L"Mai",       L"Juni",    L"Juli",     L"August",
                                                    L"September", L"Oktober", L"November", L"Dezember"};

BalanceLine& LineOfMonth(Lines& lines, const Booking& booking) {
    const auto day = DayOf(booking.datum);
    const int year = static_cast<int>(day.year());
    const unsigned month = static_cast<unsigned>(day.month());
    BalanceLine& line = lines[year * 12 + static_cast<std::int32_t>(month)];
    line.name = std::wstring(monthNames[month - 1]) + L" " + std::to_wstring(year);
    return line;
}

void AddTo(BalanceLine& sum, const BalanceLine& line) {
    sum.bookings += line.bookings;
    sum.debit += line.debit;
    sum.credit += line.credit;
}

// ---- The printed page ------------------------------------------------------------------------------------

constexpr double leftEdge = 50;
constexpr double rightEdge = 545;
constexpr double nameColumn = 92;
constexpr double placeColumn = 258;
/// Right edges of the numbers.
constexpr double countColumn = 365;
constexpr double debitColumn = 425;
constexpr double creditColumn = 485;
constexpr double balanceColumn = rightEdge;
constexpr double topLine = 790;
constexpr double lowestLine = 70;
constexpr double footLine = 40;
constexpr double lineHeight = 14;
constexpr double textSize = 8.5;
constexpr double titleSize = 16;
constexpr double columnGap = 8;

std::wstring FittedTo(std::wstring text, double width) {
    if (PdfWidth(text, PdfFont::Regular, textSize) <= width) {
        return text;
    }
    while (!text.empty() && PdfWidth(text + L"…", PdfFont::Regular, textSize) > width) {
        text.pop_back();
    }
    return text + L"…";
}

/// Fills pages from the top and begins a new one, with the heading again, when one is full.
class Printer {
public:
    explicit Printer(const TrialBalance& balance)
        : balance_(balance), document_(L"Saldobilanz " + balance.client) {
        BeginPage();
    }

    void Section(const BalanceSection& section) {
        // A heading without lines below it must not end a page.
        Require(4 * lineHeight);
        y_ -= lineHeight / 2;
        Heading(section.title);
        for (const BalanceLine& line : section.lines) {
            if (y_ < lowestLine) {
                BeginPage();
                Heading(section.title + L" (Fortsetzung)");
            }
            Row(line, PdfFont::Regular);
        }
        Require(2 * lineHeight);
        Rule(0.5);
        Row(section.total, PdfFont::Bold);
    }

    void Total(const BalanceLine& total) {
        Require(3 * lineHeight);
        y_ -= lineHeight / 2;
        Rule(1);
        Row(total, PdfFont::Bold);
        Rule(1);
    }

    std::string Finish() {
        const std::size_t pages = document_.PageCount();
        for (std::size_t page = 0; page < pages; ++page) {
            document_.Line(page, leftEdge, rightEdge, footLine + lineHeight, 0.5);
            document_.Text(page, leftEdge, footLine, PdfFont::Regular, textSize, balance_.client);
            document_.TextEndingAt(page, rightEdge, footLine, PdfFont::Regular, textSize,
                                   L"Seite " + std::to_wstring(page + 1) + L" von " + std::to_wstring(pages));
        }
        return document_.Render();
    }

private:
    void BeginPage() {
        document_.AddPage();
        page_ = document_.PageCount() - 1;
        y_ = topLine;
        document_.Text(page_, leftEdge, y_, PdfFont::Bold, titleSize, L"Saldobilanz");
        document_.TextEndingAt(page_, rightEdge, y_, PdfFont::Regular, textSize,
                               balance_.from > 0 ? SwissDate(balance_.from) + L" – " + SwissDate(balance_.to)
                                                 : L"keine Buchungen");
        y_ -= 1.5 * lineHeight;
        document_.Text(page_, leftEdge, y_, PdfFont::Regular, textSize, L"Mandant " + balance_.client);
        y_ -= 1.5 * lineHeight;
        document_.Text(page_, leftEdge, y_, PdfFont::Bold, textSize, L"Konto");
        document_.Text(page_, nameColumn, y_, PdfFont::Bold, textSize, L"Bezeichnung");
        document_.Text(page_, placeColumn, y_, PdfFont::Bold, textSize, L"Ort");
        Numbers(PdfFont::Bold, {L"Buchungen", L"Soll", L"Haben", L"Saldo"});
        Rule(1);
        y_ -= 4;
    }

    void Heading(const std::wstring& title) {
        document_.Text(page_, leftEdge, y_, PdfFont::Bold, textSize + 1.5, title);
        y_ -= lineHeight;
    }

    void Row(const BalanceLine& line, PdfFont font) {
        document_.Text(page_, leftEdge, y_, font, textSize, line.account);
        const double room = (line.place.empty() ? countColumn - 45 : placeColumn - columnGap) - nameColumn;
        document_.Text(page_, nameColumn, y_, font, textSize, FittedTo(line.name, room));
        document_.Text(page_, placeColumn, y_, font, textSize,
                       FittedTo(line.place, countColumn - 25 - placeColumn));
        Numbers(font, {std::to_wstring(line.bookings), SwissAmount(line.debit), SwissAmount(line.credit),
                       SwissAmount(line.Balance())});
    }

    void Numbers(PdfFont font, const std::array<std::wstring, 4>& texts) {
        constexpr std::array<double, 4> columns{countColumn, debitColumn, creditColumn, balanceColumn};
        for (std::size_t at = 0; at < columns.size(); ++at) {
            document_.TextEndingAt(page_, columns[at], y_, font, textSize, texts[at]);
        }
        y_ -= lineHeight;
    }

    /// Draws a rule between the line above and the next one.
    void Rule(double thickness) {
        document_.Line(page_, leftEdge, rightEdge, y_ + lineHeight - 4, thickness);
        y_ -= 3;
    }

    void Require(double height) {
        if (y_ - height < lowestLine - lineHeight) {
            BeginPage();
        }
    }

    const TrialBalance& balance_;
    PdfDocument document_;
    std::size_t page_ = 0;
    double y_ = 0;
};

}  // namespace

TrialBalance ComputeTrialBalance(const ClientFile& client) {
    TrialBalance balance;
    const std::wstring& path = client.Mandant();
    balance.client = path.substr(path.find_last_of(L'\\') + 1);
    Lines debtors;
    Lines creditors;
    Lines months;
    std::set<std::pair<Ledger, std::wstring>> invoiced;
    for (const Booking& booking : client.Bookings()) {
        balance.from = balance.from == 0 ? booking.datum : std::min(balance.from, booking.datum);
        balance.to = std::max(balance.to, booking.datum);
        if (booking.ursprung != 1 && booking.ursprung != 2) {
            Book(LineOfMonth(months, booking), booking.betrag, true);
            continue;
        }
        const Ledger ledger = booking.ursprung == 1 ? Ledger::Debtors : Ledger::Creditors;
        const OpenItem* item = booking.opNr.empty() ? nullptr : client.FindOpenItem(ledger, booking.opNr);
        const bool isInvoice = item != nullptr && invoiced.emplace(ledger, booking.opNr).second;
        Lines& lines = ledger == Ledger::Debtors ? debtors : creditors;
        Book(LineOfPartner(lines, client, ledger, booking, item), booking.betrag,
             isInvoice == (ledger == Ledger::Debtors));
    }
    const auto addSection = [&](const wchar_t* title, Lines& lines) {
        BalanceSection section;
        section.title = title;
        section.total.name = std::wstring(L"Total ") + title;
        for (auto& [key, line] : lines) {
            AddTo(section.total, line);
            section.lines.push_back(std::move(line));
        }
        AddTo(balance.total, section.total);
        balance.sections.push_back(std::move(section));
    };
    addSection(L"Debitoren", debtors);
    addSection(L"Kreditoren", creditors);
    addSection(L"Finanzbuchhaltung", months);
    balance.total.name = L"Total aller Buchungen";
    return balance;
}

std::string RenderTrialBalance(const TrialBalance& balance) {
    Printer printer(balance);
    for (const BalanceSection& section : balance.sections) {
        printer.Section(section);
    }
    printer.Total(balance.total);
    return printer.Finish();
}

std::wstring SwissAmount(std::int64_t amount) {
    const std::int64_t rappen = (std::abs(amount) + 50) / 100;
    std::wstring whole = std::to_wstring(rappen / 100);
    for (std::size_t place = whole.size(); place > 3; place -= 3) {
        whole.insert(place - 3, 1, L'\'');
    }
    const std::int64_t cents = rappen % 100;
    return (amount < 0 && rappen != 0 ? L"-" : L"") + whole + (cents < 10 ? L".0" : L".") +
           std::to_wstring(cents);
}

std::wstring SwissDate(double date) {
    const auto day = DayOf(date);
    std::array<wchar_t, 16> text{};
    const int length =
        std::swprintf(text.data(), text.size(), L"%02u.%02u.%04d", static_cast<unsigned>(day.day()),
                      static_cast<unsigned>(day.month()), static_cast<int>(day.year()));
    return {text.data(), static_cast<std::size_t>(std::max(length, 0))};
}

}  // namespace kandora::simulators
