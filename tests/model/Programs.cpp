#include "tests/model/Programs.h"

#include <algorithm>
#include <new>
#include <utility>

#include "automation/Errors.h"

namespace kandora::model_tests {

namespace {

using simulators::Arguments;
using simulators::AutomationError;
using simulators::Call;
using simulators::DispatchObject;
using simulators::HresultError;
using simulators::MemberTable;
using simulators::MemberTableOf;
using simulators::Value;

constexpr HRESULT callFailed = static_cast<HRESULT>(0x800706BE);  // the server died during the call
constexpr HRESULT notThere = static_cast<HRESULT>(0x800706BA);    // it was dead before
constexpr std::int32_t firstHit = 0x10000000;
constexpr std::int32_t documentEntry = 254;
constexpr std::int32_t noCurrentObject = -3;
constexpr std::int32_t unknownObject = -5;

/// Does what a fault says, or the call itself. `refusal` is the answer that means "no"; empty where a caller
/// would have to believe it.
template <class Program>
Value Disturbed(Program& program, const std::function<Value()>& proceed, const Value& refusal) {
    const std::optional<FaultKind> fault = program.faults.Next();
    if (!fault) {
        return proceed();
    }
    switch (*fault) {
    case FaultKind::Error:
        throw AutomationError(1000, L"Störung", L"Probe");
    case FaultKind::NoMemory:
        throw HresultError(E_OUTOFMEMORY);
    case FaultKind::Gone:
        program.Die();
        throw HresultError(callFailed);
    case FaultKind::GoneAfter:
        static_cast<void>(proceed());
        program.Die();
        throw HresultError(callFailed);
    case FaultKind::LostAnswer:
        static_cast<void>(proceed());
        throw HresultError(E_FAIL);
    case FaultKind::Refused:
        if (refusal.Type() != VT_EMPTY) {
            return refusal;
        }
        throw HresultError(E_FAIL);
    case FaultKind::WrongType:
        static_cast<void>(proceed());
        return Value::Object(nullptr);
    case FaultKind::Code:
        break;
    }
    throw HresultError(E_FAIL);
}

/// An object of the archive's or the accounting's process.
template <class Program>
class ProgramObject : public DispatchObject {
protected:
    ProgramObject(const wchar_t* name, const MemberTable& members, Program& program)
        : DispatchObject(name, members), program_(program), process_(program.process) {}

    virtual Value Refusal(const Call& call) const = 0;

    Value Perform(const Call& call, const std::function<Value()>& proceed) override {
        [[maybe_unused]] const auto guard = program_.Guard();
        if (process_ != program_.process) {
            throw HresultError(notThere);
        }
        return Disturbed(program_, proceed, Refusal(call));
    }
    [[nodiscard]] bool IsAlive() const { return process_ == program_.process; }

    Program& program_;

private:
    unsigned process_;
};

/// "ELO.professional": one session.
class ArchiveObject final : public ProgramObject<Archive> {
public:
    explicit ArchiveObject(Archive& archive) : ProgramObject(L"ELO.professional", Members(), archive) {}
    ~ArchiveObject() override {
        const auto guard = program_.Guard();
        LogOff();
    }

private:
    enum class State : std::uint8_t { Nothing, New, Search, Loaded };

    static const MemberTable& Members() {
        using A = ArchiveObject;
        static const MemberTable table =
            MemberTableOf<A>()
                .Method(L"Login", 3, &A::Login)
                .Method(L"EloWindow", 1, [](A&, Arguments&) { return Value::Long(1); })
                .Method(L"BringToFront", 0, [](A&, Arguments&) { return Value::Long(1); })
                .Method(L"SelectView", 1, [](A&, Arguments&) { return Value::Long(1); })
                .Method(L"clickon", 1, [](A&, Arguments&) { return Value::Long(1); })
                .Method(L"GetEntryId", 1, &A::GetEntryId)
                .Method(L"LookupDelimiter", 0, [](A&, Arguments&) { return Value::Text(L"¶"); })
                .Method(L"LookupIndex", 1, &A::LookupIndex)
                .Method(L"CreateStructure", 2, &A::CreateStructure)
                .Method(L"ReadObjMask", 1,
                        [](A&, Arguments& arguments) {
                            return Value::Long(FirstLine(arguments.Long(0)) != 0 ? 1 : -1);
                        })
                .Method(L"PrepareObjectEx", 3, &A::Prepare)
                .Property(
                    L"ObjMaskNo", [](A& self, Arguments&) { return Value::Long(self.Current().mask); },
                    [](A& self, Arguments& arguments) { self.Current().mask = arguments.Long(0); })
                .Property(
                    L"ObjShort", [](A& self, Arguments&) { return Value::Text(self.Current().title); },
                    [](A& self, Arguments& arguments) { self.Current().title = arguments.Text(0); })
                .Method(L"setobjAttrib", 2, &A::SetAttribute)
                .Method(L"getobjAttrib", 1, &A::GetAttribute)
                .Method(L"AddPostboxFile", 1, &A::AddPostboxFile)
                .Method(L"MoveToArchive", 1, &A::MoveToArchive)
                .Method(L"UpdateObject", 0, &A::UpdateObject)
                .Method(L"DoInvisibleSearch", 0, &A::Search)
                .Method(L"GotoId", 1,
                        [](A& self, Arguments& arguments) {
                            return Value::Long(self.program_.entries.contains(arguments.Long(0)) ? 1 : 0);
                        })
                .Method(L"DeleteObj", 1, &A::Delete);
        return table;
    }

    /// Only where the component checks the answer. Where it has to believe a "no", that would be an untrue
    /// answer.
    Value Refusal(const Call& call) const override {
        const std::wstring& member = call.member;
        if (member == L"GetEntryId") {
            return call.arguments.Long(0) == -1 ? Value::Long(-1) : Value();
        }
        if (member == L"PrepareObjectEx") {
            return call.arguments.Long(1) == documentEntry ? Value::Long(0) : Value();
        }
        if (member == L"ReadObjMask" || member == L"Login") {
            return Value::Long(-1);
        }
        if (member == L"CreateStructure") {
            return Value::Text(L"-7");
        }
        if (member == L"LookupIndex" || member == L"AddPostboxFile" || member == L"MoveToArchive" ||
            member == L"DeleteObj" || member == L"SelectView" || member == L"GotoId") {
            return Value::Long(0);
        }
        return {};
    }

    Value Perform(const Call& call, const std::function<Value()>& proceed) override {
        return ProgramObject::Perform(call, [&]() -> Value {
            if (!isLoggedOn_ && call.member != L"Login" && call.member != L"EloWindow") {
                if (call.kind != simulators::CallKind::Method) {
                    throw AutomationError(5, L"Es ist niemand angemeldet.");
                }
                return Value::Long(-1);
            }
            return proceed();
        });
    }

    void LogOff() {
        if (std::exchange(isLoggedOn_, false) && IsAlive()) {
            --program_.sessions;
        }
        Forget();
        hits_.clear();
        lastFiled_ = 0;
    }
    void Forget() {
        state_ = State::Nothing;
        current_ = {};
        currentId_ = 0;
    }
    Entry& Current() {
        if (state_ == State::Nothing) {
            throw AutomationError(5, L"Es ist kein Archivobjekt geladen.");
        }
        return current_;
    }
    [[nodiscard]] bool HasLine(std::int16_t line) const {
        const std::int16_t first = FirstLine(current_.mask);
        return first != 0 && line >= first && line < first + LineCount(current_.mask);
    }

    Value Login(Arguments& arguments) {
        LogOff();
        if (arguments.Text(0) == L"LOGOUT") {
            return Value::Long(0);
        }
        if (arguments.Text(0) != L"anna" || arguments.Text(1) != L"geheim" ||
            arguments.Text(2) != L"Hauptarchiv") {
            return Value::Long(-2);
        }
        isLoggedOn_ = true;
        ++program_.sessions;
        ++program_.logins;
        return Value::Long(0);
    }

    Value GetEntryId(Arguments& arguments) {
        const std::int32_t which = arguments.Long(0);
        if (which == -1) {
            return Value::Long(currentId_);
        }
        if (which == -2) {
            return Value::Long(lastFiled_);
        }
        const auto hit = static_cast<std::size_t>(which - firstHit);
        return Value::Long(hit < hits_.size() ? hits_[hit] : 0);
    }

    Value LookupIndex(Arguments& arguments) {
        const auto found = program_.folders.find(WithSlashes(arguments.Text(0)));
        return Value::Long(found == program_.folders.end() ? 0 : found->second);
    }
    Value CreateStructure(Arguments& arguments) {
        return Value::Text(Decimal(program_.CreateFolders(WithSlashes(arguments.Text(0)))));
    }
    static Text WithSlashes(const Text& path) { return Replaced(path, L"¶", L"/"); }

    Value Prepare(Arguments& arguments) {
        Forget();
        const std::int32_t id = arguments.Long(0);
        const std::int32_t mask = arguments.Long(2);
        if (id != 0) {
            const auto found = program_.entries.find(id);
            if (found == program_.entries.end()) {
                return Value::Long(0);
            }
            current_ = found->second;
            currentId_ = id;
            state_ = State::Loaded;
            return Value::Long(1);
        }
        if (FirstLine(mask) == 0) {
            return Value::Long(-1);
        }
        current_.mask = mask;
        state_ = arguments.Long(1) == documentEntry ? State::New : State::Search;
        return Value::Long(1);
    }

    Value SetAttribute(Arguments& arguments) {
        const std::int16_t line = arguments.Short(0);
        if (state_ == State::Nothing) {
            return Value::Long(noCurrentObject);
        }
        if (!HasLine(line)) {
            return Value::Long(-8);
        }
        const bool isForgotten =
            program_.defect == Defect::ForgetsField && line == FirstLine(current_.mask) + 6;
        if (!isForgotten) {
            current_.fields[line] = arguments.Text(1);
        }
        return Value::Long(1);
    }
    Value GetAttribute(Arguments& arguments) {
        if (state_ == State::Nothing) {
            return Value::Long(noCurrentObject);
        }
        const auto found = current_.fields.find(arguments.Short(0));
        return Value::Text(found == current_.fields.end() ? Text() : found->second);
    }

    Value AddPostboxFile(Arguments& arguments) {
        if (state_ != State::New) {
            return Value::Long(noCurrentObject);
        }
        current_.document = arguments.Text(0);
        return Value::Long(1);
    }
    Value MoveToArchive(Arguments& arguments) {
        if (state_ != State::New || current_.document.empty()) {
            return Value::Long(noCurrentObject);
        }
        current_.folder = program_.PathOf(std::stoi(arguments.Text(0).substr(1)));
        if (current_.folder.empty()) {
            return Value::Long(unknownObject);
        }
        if (program_.defect == Defect::SwapsKinds && current_.mask == creditors) {
            current_.folder = Replaced(current_.folder, L"Kredi", L"Debi");
        }
        if (program_.defect == Defect::FilesTwice && program_.nextId % 7 == 0) {
            program_.entries[program_.nextId++] = current_;
        }
        currentId_ = lastFiled_ = program_.nextId++;
        program_.entries[currentId_] = current_;
        state_ = State::Loaded;
        return Value::Long(1);
    }
    Value UpdateObject(Arguments&) {
        if (state_ != State::Loaded || !program_.entries.contains(currentId_)) {
            return Value::Long(noCurrentObject);
        }
        if (program_.defect != Defect::NeverSaves) {
            program_.entries[currentId_] = current_;
        }
        return Value::Long(3);
    }
    Value Delete(Arguments& arguments) {
        auto found = program_.entries.find(arguments.Long(0));
        if (found == program_.entries.end()) {
            return Value::Long(unknownObject);
        }
        if (program_.defect == Defect::DeletesAnother) {
            found = std::prev(program_.entries.end());
        }
        program_.entries.erase(found);
        return Value::Long(1);
    }
    Value Search(Arguments&) {
        hits_.clear();
        if (state_ != State::Search) {
            return Value::Long(noCurrentObject);
        }
        for (const auto& [id, entry] : program_.entries) {
            if (entry.mask == current_.mask) {
                hits_.push_back(id);
            }
        }
        return Value::Long(static_cast<std::int32_t>(hits_.size()));
    }

    bool isLoggedOn_ = false;
    State state_ = State::Nothing;
    Entry current_;
    std::int32_t currentId_ = 0;
    std::int32_t lastFiled_ = 0;
    std::vector<std::int32_t> hits_;
};

using AccountingObject = ProgramObject<Accounting>;

/// A booking; empty until "lesen" finds one.
class BookingObject final : public AccountingObject {
public:
    explicit BookingObject(Accounting& accounting) : ProgramObject(L"Buchung", Members(), accounting) {}

private:
    static const MemberTable& Members() {
        using B = BookingObject;
        static const MemberTable table =
            MemberTableOf<B>()
                .Method(L"lesen", 2,
                        [](B& self, Arguments& arguments) {
                            const Booking* found =
                                self.program_.ledger.Find(arguments.Text(0), arguments.Text(1));
                            self.booking_ = found == nullptr ? Booking() : *found;
                            return Value::Short(found == nullptr ? -1 : 0);
                        })
                .Property(L"ursprung", [](B& self, Arguments&) { return Value::Long(self.booking_.origin); })
                .Property(L"Text", [](B& self, Arguments&) { return Value::Text(self.booking_.text); })
                .Property(L"Datum", [](B& self, Arguments&) { return Value::Text(self.booking_.date); })
                .Property(L"Betrag", [](B& self, Arguments&) { return Value::Text(self.booking_.amount); })
                .Property(L"OPNr", [](B& self, Arguments&) { return Value::Text(self.booking_.openItem); });
        return table;
    }
    Value Refusal(const Call& call) const override {
        return call.member == L"lesen" ? Value::Short(-1) : Value();
    }

    Booking booking_;
};

class OpenItemObject final : public AccountingObject {
public:
    explicit OpenItemObject(Accounting& accounting)
        : ProgramObject(L"OffenerPosten", Members(), accounting) {}

private:
    static const MemberTable& Members() {
        using O = OpenItemObject;
        static const MemberTable table =
            MemberTableOf<O>()
                .Method(L"lesen", 1,
                        [](O& self, Arguments& arguments) {
                            self.item_ = self.program_.ledger.openItems.at(arguments.Text(0));
                            return Value::Long(0);
                        })
                .Property(L"Datum", [](O& self, Arguments&) { return Value::Text(self.item_.date); })
                .Property(L"BetragFaktura",
                          [](O& self, Arguments&) { return Value::Text(self.item_.amount); })
                .Property(L"PKNr", [](O& self, Arguments&) { return Value::Long(self.item_.account); });
        return table;
    }
    Value Refusal(const Call&) const override { return {}; }

    OpenItem item_{};
};

class AccountObject final : public AccountingObject {
public:
    explicit AccountObject(Accounting& accounting) : ProgramObject(L"Personenkonto", Members(), accounting) {}

private:
    static const MemberTable& Members() {
        using A = AccountObject;
        static const MemberTable table =
            MemberTableOf<A>()
                .Method(L"lesen", 1,
                        [](A& self, Arguments& arguments) {
                            self.address_ = self.program_.ledger.addressOfAccount.at(arguments.Long(0));
                            return Value::Long(0);
                        })
                .Property(L"AdressID", [](A& self, Arguments&) { return Value::Long(self.address_); });
        return table;
    }
    Value Refusal(const Call&) const override { return {}; }

    int address_ = 0;
};

class AddressObject final : public AccountingObject {
public:
    explicit AddressObject(Accounting& accounting) : ProgramObject(L"Adresse", Members(), accounting) {}

private:
    static const MemberTable& Members() {
        using A = AddressObject;
        static const MemberTable table =
            MemberTableOf<A>()
                .Method(L"lesen", 1,
                        [](A& self, Arguments& arguments) {
                            self.address_ = self.program_.ledger.addresses.at(arguments.Long(0));
                            return Value::Long(0);
                        })
                .Property(L"Firma", [](A& self, Arguments&) { return Value::Text(self.address_.company); })
                .Property(L"PLZ", [](A& self, Arguments&) { return Value::Text(self.address_.postcode); })
                .Property(L"Ort", [](A& self, Arguments&) { return Value::Text(self.address_.place); });
        return table;
    }
    Value Refusal(const Call&) const override { return {}; }

    Address address_;
};

/// "FibuNT.Mandant": the client in use, closed until somebody logs in.
class ClientObject final : public AccountingObject {
public:
    explicit ClientObject(Accounting& accounting) : ProgramObject(L"FibuNT.Mandant", Members(), accounting) {}

private:
    static const MemberTable& Members() {
        using C = ClientObject;
        static const MemberTable table =
            MemberTableOf<C>()
                .Property(L"letztermandant",
                          [](C& self, Arguments&) { return Value::Text(self.Ledger().Current().path); })
                .Property(L"istoffen", [](C& self, Arguments&) { return Value::Boolean(self.IsOpen()); })
                .Method(L"Login", 2,
                        [](C& self, Arguments& arguments) {
                            const bool isKnown = arguments.Text(1) == self.Ledger().Current().path;
                            self.opened_ = isKnown ? self.Ledger().open + 1 : 0;
                            self.session_ = self.program_.session;
                            return Value::Long(isKnown ? 0 : -2);
                        })
                .Method(L"Logout", 0,
                        [](C& self, Arguments&) {
                            self.opened_ = 0;
                            return Value::Long(0);
                        })
                .Method(L"IniLesen", 2,
                        [](C& self, Arguments& arguments) {
                            return Value::Text(self.Options()[arguments.Long(1)]);
                        })
                .Method(L"Inischreiben", 3,
                        [](C& self, Arguments& arguments) {
                            self.Options()[arguments.Long(1)] = arguments.Text(2);
                            return Value::Boolean(true);
                        })
                .Method(L"neubuchung", 0, &C::Make<BookingObject>)
                .Method(L"neuOP", 0, &C::Make<OpenItemObject>)
                .Method(L"neuPK", 0, &C::Make<AccountObject>)
                .Method(L"neuAdresse", 0, &C::Make<AddressObject>);
        return table;
    }
    Value Refusal(const Call& call) const override {
        return call.member == L"istoffen" || call.member == L"Inischreiben" ? Value::Boolean(false) : Value();
    }

    [[nodiscard]] const model_tests::Ledger& Ledger() const { return program_.ledger; }
    [[nodiscard]] bool IsOpen() const { return opened_ == Ledger().open + 1 && session_ == program_.session; }
    std::map<int, Text>& Options() {
        RequireOpen();
        return program_.options[Ledger().open];
    }
    void RequireOpen() const {
        if (!IsOpen()) {
            throw AutomationError(2001, L"Es ist kein Mandant geöffnet.");
        }
    }
    template <class Object>
    Value Make(Arguments&) {
        RequireOpen();
        return Value::Object(MakeObject<Object>(program_).Get());
    }

    std::size_t opened_ = 0;  ///< the client's place, from 1
    unsigned session_ = 0;
};

class Dialog final : public ReportDialog {
public:
    Dialog(Faults& faults, const Ledger& ledger) : faults_(faults), ledger_(ledger) {}

    bool GetIndex() override {
        if (faults_.Next()) {
            throw std::bad_alloc();
        }
        return ledger_.isReportConfirmed;
    }
    [[nodiscard]] Text txtKurzbezeichnung() const override { return ledger_.describedReport[0]; }
    [[nodiscard]] Text txtBeschreibung() const override { return ledger_.describedReport[1]; }
    [[nodiscard]] Text txtVon() const override { return ledger_.describedReport[2]; }
    [[nodiscard]] Text txtBis() const override { return ledger_.describedReport[3]; }

private:
    Faults& faults_;
    const Ledger& ledger_;
};

constexpr const char* iniFile = "C:\\Kandora\\Kandora.ini";

}  // namespace

std::int16_t FirstLine(std::int32_t mask) {
    switch (mask) {
    case structure:
        return 1;
    case vouchers:
        return 11;
    case reports:
        return 21;
    case debtors:
        return 31;
    case creditors:
        return 51;
    default:
        return 0;
    }
}

std::int16_t LineCount(std::int32_t mask) {
    switch (mask) {
    case vouchers:
        return 7;
    case reports:
        return 3;
    case structure:
        return 1;
    default:
        return 13;
    }
}

std::int32_t Archive::CreateFolders(const Text& path) {
    std::int32_t id = 0;
    for (std::size_t end = path.find(L'/', 1);; end = path.find(L'/', end + 1)) {
        std::int32_t& folder = folders[path.substr(0, end)];
        if (folder == 0) {
            folder = nextId++;
        }
        id = folder;
        if (end == Text::npos) {
            return id;
        }
    }
}

Text Archive::PathOf(std::int32_t folder) const {
    const auto found = std::ranges::find(folders, folder, [](const auto& each) { return each.second; });
    return found == folders.end() ? Text() : found->first;
}

ComPtr<IDispatch> NewSession(Archive& archive) {
    return ComPtr<IDispatch>(MakeObject<ArchiveObject>(archive).Get());
}

ComPtr<IDispatch> NewClient(Accounting& accounting) {
    return ComPtr<IDispatch>(MakeObject<ClientObject>(accounting).Get());
}

std::vector<IniKey> SuitableSettings() {
    std::vector<IniKey> keys;
    const auto set = [&](const char* section, const char* key, const std::string& value) {
        keys.push_back({section, key, value});
    };
    set("Debug", "Test", "False");
    set("Archiv", "ArchivAktiv", "True");
    set("Archiv", "EloPrinterFile", "C:\\Druck\\Liste.pdf");
    set("Archiv", "Archivname", "Hauptarchiv");
    set("Archiv", "Treuhand", "False");
    set("Archiv", "SagePFad", "Sesam");
    set("Maske", "Struktur", std::to_string(structure));
    set("Maske", "Belege", std::to_string(vouchers));
    set("Maske", "Auswertung", std::to_string(reports));
    set("Maske", "Debi", std::to_string(debtors));
    set("Maske", "Kredi", std::to_string(creditors));
    set("Login", "ELOUSERNAME", "anna");
    set("Login", "ELOPW", "geheim");
    set("Login", "ELOKUERZEL", "an");
    const auto lines = [&](const char* section, std::int32_t mask, std::initializer_list<const char*> names) {
        int line = FirstLine(mask);
        for (const char* const key : names) {
            set(section, key, std::to_string(line++));
        }
    };
    lines("IndexBelege", vouchers,
          {"Barcode", "BelegNr", "BelegIndex", "Belegstatus", "SesamDocID", "Valutadatum", "Betrag"});
    lines("IndexAuswertungen", reports, {"Listenbeschreibung", "DatumVon", "DatumBis"});
    for (const auto& [section, mask] :
         {std::pair{"IndexDebi", debtors}, std::pair{"IndexKredi", creditors}}) {
        lines(section, mask,
              {"Barcode", "BelegNr", "BelegIndex", "Belegstatus", "SesamDocID", "Valutadatum", "Betrag",
               "Rechnungsdatum", "OPNr", "PKNr", "AdressNr", "Kundenname", "Kundenort"});
    }
    return keys;
}

// --- The machine ---

Machine::Machine(Faults& faults, Archive& archive, Accounting& accounting, const Ledger& ledger)
    : faults_(faults), archive_(archive), accounting_(accounting), ledger_(ledger) {
    for (const IniKey& each : SuitableSettings()) {
        profile_.Set(iniFile, each.section, each.key, each.value);
    }
}

void Machine::TurnTracing(bool on) {
    profile_.Set(iniFile, "Debug", "Test", on ? "True" : "False");
}

LateBound Machine::CreateObject(const Text& progId) {
    const bool isArchive = progId == L"ELO.professional";
    if (const std::optional<FaultKind> fault = faults_.Next()) {
        if (*fault == FaultKind::NoMemory) {
            throw std::bad_alloc();
        }
        if (*fault == FaultKind::Gone || *fault == FaultKind::GoneAfter) {
            isArchive ? archive_.Die() : accounting_.Die();
            throw RuntimeError(errors::serverGone);
        }
        throw RuntimeError(errors::cannotCreateObject);
    }
    return isArchive ? LateBound(NewSession(archive_).Get()) : LateBound(NewClient(accounting_).Get());
}

bool Machine::FileExists(const Text& path) {
    if (const std::optional<FaultKind> fault = faults_.Next()) {
        if (*fault == FaultKind::NoMemory) {
            throw std::bad_alloc();
        }
        return false;
    }
    return path == printedFile || (path == placeholderFile && ledger_.isPlaceholderThere);
}

bool Machine::FolderExists(const Text& path) {
    return path == L"C:\\Kandora";
}

void Machine::GetPrivateProfileString(const char* section, const char* key, std::span<char> buffer,
                                      const std::string& file) {
    if (faults_.Next()) {
        throw std::bad_alloc();
    }
    profile_.ReadString(section, key, buffer, file);
}

void Machine::GetPrivateProfileSection(const char* section, std::span<char> buffer, const std::string& file) {
    profile_.ReadSection(section, buffer, file);
}

bool Machine::WritePrivateProfileString(const char*, const char*, const char*, const std::string&) {
    return false;
}

void Machine::AppendToFile(const Text&, const std::string&) {
    if (const std::optional<FaultKind> fault = faults_.Next()) {
        if (*fault == FaultKind::NoMemory) {
            throw std::bad_alloc();
        }
        throw RuntimeError(errors::pathFileAccess);
    }
}

Text Machine::Environment(const wchar_t*) {
    return L"user01";
}

void Machine::Sleep(std::uint32_t) {}

// --- The user ---

void User::ShowMessage(const Text& prompt, int, const Text&) {
    boxes.push_back(prompt);
}

Text User::InputBox(const Text&, const Text&, const Text&, std::int32_t, std::int32_t) {
    if (faults_.Next()) {
        throw std::bad_alloc();
    }
    return ledger_.typedFolder;
}

std::unique_ptr<ReportDialog> User::NewReportDialog() {
    return std::make_unique<Dialog>(faults_, ledger_);
}

}  // namespace kandora::model_tests
