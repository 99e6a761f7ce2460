#include "simulators/host/Accounting.h"

#include "simulators/common/CallFailure.h"
#include "simulators/common/DispatchObject.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Files.h"
#include "simulators/common/Output.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

constexpr std::int16_t moduleFibu = 1;
constexpr std::int16_t moduleDebtors = 2;
constexpr std::int16_t moduleCreditors = 3;

/// Answers of lesen, Login and Logout.
constexpr std::int32_t done = 0;
constexpr std::int16_t notFound = -1;
constexpr std::int32_t unknownModule = -1;
constexpr std::int32_t unknownClient = -2;
constexpr std::int32_t notOpen = -3;

constexpr std::int32_t errorNotOpen = 2001;
constexpr std::int32_t errorWrongModule = 2002;

using State = std::shared_ptr<Accounting>;

/// What an object has logged in to: the client used last, whichever that is by now, or another one.
struct OpenedClient {
    State accounting;
    std::wstring other;  ///< path of its file; empty for the client used last

    [[nodiscard]] ClientFile* Get() const {
        return other.empty() ? accounting->Client() : accounting->Other(other);
    }
};

/// A record object holds the values of a fresh record until lesen finds one.
template <class Record>
class RecordObject : public DispatchObject {
protected:
    RecordObject(const wchar_t* name, const MemberTable& members, OpenedClient client)
        : DispatchObject(name, members), client_(std::move(client)) {}

    /// Null while no client was ever opened.
    [[nodiscard]] ClientFile* Client() const { return client_.Get(); }

    /// Takes over the record that was found, or a fresh one for null. Returns the answer of lesen.
    Value Take(const Record* found) {
        record_ = found ? *found : Record{};
        return Value::Short(found ? static_cast<std::int16_t>(done) : notFound);
    }

    /// The getter of a property that is part of the record.
    template <class Make, class Part>
    static auto Give(Make make, Part Record::* part) {
        return [make, part](RecordObject& self, Arguments&) { return make(self.record_.*part); };
    }

private:
    OpenedClient client_;
    Record record_;
};

class BookingObject : public RecordObject<Booking> {
public:
    explicit BookingObject(OpenedClient client)
        : RecordObject(L"FibuNT.Buchung", Members(), std::move(client)) {}

private:
    static const MemberTable& Members() {
        static const MemberTable table = MemberTableOf<BookingObject>()
                                             .Method(L"lesen", 2, &BookingObject::Read)
                                             .Property(L"ursprung", Give(&Value::Short, &Booking::ursprung))
                                             .Property(L"Text", Give(&Value::Text, &Booking::text))
                                             .Property(L"Datum", Give(&Value::Date, &Booking::datum))
                                             .Property(L"Betrag", Give(&Value::Currency, &Booking::betrag))
                                             .Property(L"OPNr", Give(&Value::Text, &Booking::opNr));
        return table;
    }

    Value Read(Arguments& arguments) {
        ClientFile* client = Client();
        return Take(client ? client->FindBooking(arguments.Text(0), arguments.Text(1)) : nullptr);
    }
};

class OpenItemObject : public RecordObject<OpenItem> {
public:
    OpenItemObject(OpenedClient client, Ledger ledger)
        : RecordObject(L"FibuNT.OffenerPosten", Members(), std::move(client)), ledger_(ledger) {}

private:
    static const MemberTable& Members() {
        static const MemberTable table =
            MemberTableOf<OpenItemObject>()
                .Method(L"lesen", 1, &OpenItemObject::Read)
                .Property(L"Datum", Give(&Value::Date, &OpenItem::datum))
                .Property(L"BetragFaktura", Give(&Value::Currency, &OpenItem::betragFaktura))
                .Property(L"PKNr", Give(&Value::Long, &OpenItem::pkNr));
        return table;
    }

    Value Read(Arguments& arguments) {
        const ClientFile* client = Client();
        return Take(client ? client->FindOpenItem(ledger_, arguments.Text(0)) : nullptr);
    }

    Ledger ledger_;
};

class AccountObject : public RecordObject<PersonalAccount> {
public:
    AccountObject(OpenedClient client, Ledger ledger)
        : RecordObject(L"FibuNT.Personenkonto", Members(), std::move(client)), ledger_(ledger) {}

private:
    static const MemberTable& Members() {
        static const MemberTable table =
            MemberTableOf<AccountObject>()
                .Method(L"lesen", 1, &AccountObject::Read)
                .Property(L"AdressID", Give(&Value::Long, &PersonalAccount::adressId));
        return table;
    }

    /// Unlike the other records an account does not tell whether it was found.
    Value Read(Arguments& arguments) {
        const ClientFile* client = Client();
        Take(client ? client->FindAccount(ledger_, arguments.Long(0)) : nullptr);
        return Value();
    }

    Ledger ledger_;
};

class AddressObject : public RecordObject<Address> {
public:
    explicit AddressObject(OpenedClient client)
        : RecordObject(L"FibuNT.Adresse", Members(), std::move(client)) {}

private:
    static const MemberTable& Members() {
        static const MemberTable table = MemberTableOf<AddressObject>()
                                             .Method(L"lesen", 1, &AddressObject::Read)
                                             .Property(L"Firma", Give(&Value::Text, &Address::firma))
                                             .Property(L"PLZ", Give(&Value::Text, &Address::plz))
                                             .Property(L"Ort", Give(&Value::Text, &Address::ort));
        return table;
    }

    Value Read(Arguments& arguments) {
        const ClientFile* client = Client();
        return Take(client ? client->FindAddress(arguments.Long(0)) : nullptr);
    }
};

class MandantObject : public DispatchObject {
public:
    explicit MandantObject(State accounting)
        : DispatchObject(L"FibuNT.Mandant", Members()), accounting_(std::move(accounting)),
          client_{accounting_, {}} {}

private:
    static const MemberTable& Members() {
        static const MemberTable table =
            MemberTableOf<MandantObject>()
                .Property(L"letztermandant",
                          [](auto& self, Arguments&) { return Value::Text(self.accounting_->LastClient()); })
                .Property(L"istoffen", [](auto& self, Arguments&) { return Value::Boolean(self.IsOpen()); })
                .Method(L"Login", 2, &MandantObject::Login)
                .Method(L"Logout", 0, &MandantObject::Logout)
                .Method(L"neubuchung", 0, &MandantObject::NewBooking)
                .Method(L"neuAdresse", 0, &MandantObject::NewAddress)
                .Method(L"neuOP", 0, &MandantObject::NewOpenItem)
                .Method(L"neuPK", 0, &MandantObject::NewAccount)
                .Method(L"IniLesen", 2, &MandantObject::ReadOption)
                .Method(L"Inischreiben", 3, &MandantObject::WriteOption);
        return table;
    }

    /// Another client than the accounting's stays open whatever its user does.
    bool IsOpen() const {
        return module_ != 0 && (!client_.other.empty() || session_ == accounting_->Session());
    }

    Value Login(Arguments& arguments) {
        const std::int16_t module = arguments.Short(0);
        const std::wstring client = arguments.Text(1);
        if (module < moduleFibu || module > moduleCreditors) {
            return Value::Long(unknownModule);
        }
        const bool isLast =
            accounting_->Client() != nullptr && EqualIgnoringCase(client, accounting_->LastClient());
        if (!isLast && accounting_->Other(client) == nullptr) {
            return Value::Long(unknownClient);
        }
        client_.other = isLast ? std::wstring() : client;
        module_ = module;
        session_ = accounting_->Session();
        return Value::Long(done);
    }

    Value Logout(Arguments&) {
        const bool wasOpen = IsOpen();
        module_ = 0;
        return Value::Long(wasOpen ? done : notOpen);
    }

    ClientFile& OpenClient() const {
        if (!IsOpen()) {
            throw AutomationError(errorNotOpen, L"Es ist kein Mandant geöffnet.");
        }
        return *client_.Get();
    }

    void RequireFibu() const {
        OpenClient();
        if (module_ != moduleFibu) {
            throw AutomationError(errorWrongModule,
                                  L"Buchungen und Adressen gibt es nur in der Finanzbuchhaltung (Modul 1).");
        }
    }

    Ledger RequireLedger() const {
        OpenClient();
        if (module_ == moduleFibu) {
            throw AutomationError(
                errorWrongModule,
                L"Offene Posten und Konten gibt es nur bei Debitoren (Modul 2) und Kreditoren (Modul 3).");
        }
        return module_ == moduleDebtors ? Ledger::Debtors : Ledger::Creditors;
    }

    Value NewBooking(Arguments&) {
        RequireFibu();
        return Value::Object(MakeObject<BookingObject>(client_).Get());
    }

    Value NewAddress(Arguments&) {
        RequireFibu();
        return Value::Object(MakeObject<AddressObject>(client_).Get());
    }

    Value NewOpenItem(Arguments&) {
        return Value::Object(MakeObject<OpenItemObject>(client_, RequireLedger()).Get());
    }

    Value NewAccount(Arguments&) {
        return Value::Object(MakeObject<AccountObject>(client_, RequireLedger()).Get());
    }

    Value ReadOption(Arguments& arguments) {
        return Value::Text(OpenClient().Option(arguments.Short(0), arguments.Short(1)));
    }

    Value WriteOption(Arguments& arguments) {
        ClientFile& client = OpenClient();
        try {
            client.SetOption(arguments.Short(0), arguments.Short(1), arguments.Text(2));
        } catch (const Failure& failure) {
            // The caller only learns that it failed; the reason is for whoever runs the stand-in.
            PrintErrorLine(failure.Message());
            return Value::Boolean(false);
        }
        return Value::Boolean(true);
    }

    State accounting_;
    OpenedClient client_;
    std::int16_t module_ = 0;
    unsigned session_ = 0;
};

}  // namespace

void Accounting::OpenClient(ClientFile client) {
    client_ = std::move(client);
    ++session_;
}

ClientFile* Accounting::Other(const std::wstring& path) {
    const auto known = others_.find(path);
    if (known != others_.end()) {
        return &known->second;
    }
    if (!IsFile(path)) {
        return nullptr;
    }
    try {
        return &others_.emplace(path, ClientFile::Load(path)).first->second;
    } catch (const Failure& failure) {
        PrintErrorLine(failure.Message());
        return nullptr;
    }
}

void Accounting::CloseClient() {
    ++session_;
}

const ServerClass& MandantClass() {
    static const ServerClass mandant{
        {0x257F05EA, 0x2E35, 0x4279, {0xA9, 0x61, 0x6F, 0x42, 0x84, 0xB6, 0xDA, 0x29}},
        L"FibuNT.Mandant",
        L"Mandant der Finanzbuchhaltung (Nachbildung)",
    };
    return mandant;
}

ComPtr<IDispatch> MakeMandant(std::shared_ptr<Accounting> accounting) {
    return ComPtr<IDispatch>(MakeObject<MandantObject>(std::move(accounting)).Get());
}

}  // namespace kandora::simulators
