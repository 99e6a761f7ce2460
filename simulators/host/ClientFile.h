#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace kandora::simulators {

struct FieldChange;

/// The option group in which the document archive keeps its settings.
constexpr int optionGroup = 600;

/// The two sub-ledgers of a client. Their open items and accounts are numbered independently of each other.
enum class Ledger { Debtors, Creditors };

struct Booking {
    std::wstring belegNr;
    std::wstring belegIndex;
    /// 1 debtors, 2 creditors, anything else general ledger.
    std::int16_t ursprung = 0;
    std::wstring text;
    /// Automation date: days since 30 December 1899.
    double datum = 0;
    /// Ten-thousandths, as automation currency counts.
    std::int64_t betrag = 0;
    /// Empty for a booking without open item.
    std::wstring opNr;
    /// Empty for a booking that is saved without barcode.
    std::wstring barcode;
    std::wstring docId;
};

struct OpenItem {
    std::wstring opNr;
    double datum = 0;
    std::int64_t betragFaktura = 0;
    std::int32_t pkNr = 0;
};

struct PersonalAccount {
    std::int32_t pkNr = 0;
    std::int32_t adressId = 0;
};

struct Address {
    std::int32_t adressId = 0;
    std::wstring firma;
    std::wstring plz;
    std::wstring ort;
};

/// A client (Mandant) of the accounting: what its file holds, and its options, which are written back.
/// Changed bookings are written to a copy of a client alone: a sample stays what it is.
// NOLINTNEXTLINE(bugprone-exception-escape): the JSON library's move does not throw, it only does not say so
class ClientFile {
public:
    /// Reads and checks the file. Throws Failure with a message that names the file and the place.
    static ClientFile Load(const std::filesystem::path& path);

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

    /// The client's text as the accounting hands it out: its full path.
    [[nodiscard]] const std::wstring& Mandant() const { return mandant_; }

    [[nodiscard]] const std::vector<Booking>& Bookings() const { return bookings_; }

    /// Null when there is no such record. The pointers hold until the client file is replaced.
    Booking* FindBooking(const std::wstring& belegNr, const std::wstring& belegIndex);
    [[nodiscard]] const OpenItem* FindOpenItem(Ledger ledger, const std::wstring& opNr) const;
    [[nodiscard]] const PersonalAccount* FindAccount(Ledger ledger, std::int32_t pkNr) const;
    [[nodiscard]] const Address* FindAddress(std::int32_t adressId) const;

    /// The option's text; empty when it was never set.
    [[nodiscard]] std::wstring Option(int group, int key) const;

    /// Sets an option and writes the file. Throws Failure when it cannot be written; the option then keeps
    /// its value.
    void SetOption(int group, int key, const std::wstring& value);

    /// From now on the file is a copy to work on.
    void KeepChanges() { keepsChanges_ = true; }

    /// Writes what has changed of a booking of this client, if the file is a copy. Throws Failure when it
    /// cannot be written.
    void Keep(const Booking& booking, const std::vector<FieldChange>& changes);

    /// References in the file that lead nowhere and are not declared as gaps under "bewusstFehlend", one
    /// German line each.
    [[nodiscard]] std::vector<std::wstring> UnresolvedReferences() const;

    /// The text of the file as it is written back: records one a line, UTF-8.
    [[nodiscard]] std::string Render() const;

private:
    struct LedgerData {
        std::map<std::wstring, OpenItem> openItems;
        std::map<std::int32_t, PersonalAccount> accounts;
    };

    [[nodiscard]] const LedgerData& Data(Ledger ledger) const {
        return ledger == Ledger::Debtors ? debtors_ : creditors_;
    }

    /// Writes the file anew. The client keeps what it held when that fails.
    void Write(nlohmann::ordered_json document);

    std::filesystem::path path_;
    bool keepsChanges_ = false;
    nlohmann::ordered_json document_;
    std::wstring mandant_;
    std::vector<Booking> bookings_;
    LedgerData debtors_;
    LedgerData creditors_;
    std::map<std::int32_t, Address> addresses_;
};

/// The JSON text form of a field of a booking, as `change` and the client file give it, taken over into
/// `booking`. Returns the German reason when the value does not suit the field, else the empty text.
std::wstring SetBookingField(Booking& booking, const std::wstring& field, const std::wstring& value);

/// "2026-03-31" as an automation date; false when the text is no such date.
bool ParseDate(const std::wstring& text, double& date);

/// "1234.5" or "-0.05" as ten-thousandths; false when the text is no amount or has more than four decimals.
bool ParseAmount(const std::wstring& text, std::int64_t& amount);

}  // namespace kandora::simulators
