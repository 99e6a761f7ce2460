#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulators/host/ClientFile.h"

namespace kandora::simulators {

/// One line of a trial balance. Amounts are ten-thousandths; neither side is negative.
struct BalanceLine {
    /// Account number; empty for a line that belongs to none.
    std::wstring account;
    std::wstring name;
    std::wstring place;
    std::size_t bookings = 0;
    std::int64_t debit = 0;
    std::int64_t credit = 0;

    [[nodiscard]] std::int64_t Balance() const { return debit - credit; }
};

/// The lines of one kind of booking, and their sum.
struct BalanceSection {
    std::wstring title;
    std::vector<BalanceLine> lines;
    BalanceLine total;
};

struct TrialBalance {
    /// The client's name, without its path.
    std::wstring client;
    /// Automation dates of the first and last booking; 0 for a client without bookings.
    double from = 0;
    double to = 0;
    /// Debtors and creditors by account, general ledger by month.
    std::vector<BalanceSection> sections;
    BalanceLine total;
};

/// Adds up the client's bookings. In a sub-ledger the first booking of an open item is its invoice, all
/// others are payments; so are bookings without a known open item. Invoices to customers are debits, those of
/// suppliers credits, payments the opposite; a negative amount changes sides.
TrialBalance ComputeTrialBalance(const ClientFile& client);

/// The trial balance as a PDF file of A4 pages.
std::string RenderTrialBalance(const TrialBalance& balance);

/// "1'234.50", with a minus sign before negative amounts, rounded to Rappen.
std::wstring SwissAmount(std::int64_t amount);

/// "31.12.2026".
std::wstring SwissDate(double date);

}  // namespace kandora::simulators
