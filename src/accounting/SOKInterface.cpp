#include "accounting/SOKInterface.h"

#include <array>

#include "accounting/ClientOptions.h"
#include "automation/Errors.h"
#include "support/Convention.h"
#include "support/MDebug.h"
#include "support/MessageBoxes.h"

namespace kandora {

namespace {

constexpr const wchar_t* className = L"SOKInterface";

constexpr std::int32_t bookingsFolderMissing = 5003;
/// Also for a missing report, debtor or creditor folder: only the bookings folder has a number of its own.
constexpr std::int32_t placeholderMissing = 5004;
constexpr std::int32_t bookingUnreadable = 5010;
/// Also when a folder cannot be created.
constexpr std::int32_t optionsNotWritten = 1580;

struct FolderOption {
    std::int16_t key;
    Text ClientFolders::* folder;
    const wchar_t* name;
};

/// The client's four folders, in the order in which they are created and written.
constexpr auto newFolders = std::to_array<FolderOption>({
    {option::bookings, &ClientFolders::strPfadBuchungen, L"Buchungen"},
    {option::debtors, &ClientFolders::strPfadDebi, L"Debi"},
    {option::creditors, &ClientFolders::strPfadKredi, L"Kredi"},
    {option::reports, &ClientFolders::strPfadAuswertungen, L"Auswertungen"},
});

/// Origins of a booking; every other one is a general booking.
constexpr double fromDebtors = 1;
constexpr double fromCreditors = 2;

}  // namespace

SOKInterface::SOKInterface(const AccountingContext& context) : context_(context) {}

void SOKInterface::RecordAndRaise(const wchar_t* procedure) const {
    kandora::RecordAndRaise(context_.errHandler, {className, procedure});
}

// ---- Session ----

/// Departs from the convention: a failure is told to the user at once, and the caller gets no object.
LateBound SOKInterface::LoggedIn(Module& module) {
    try {
        if (module.object.IsNothing() || !module.object.Get(L"istoffen").ToBoolean()) {
            Anmelden(module);
        }
        return module.object;
    } catch (...) {
        const RuntimeError error = CurrentError();
        if (error.Number() == errors::serverGone) {
            module.object = {};  // its program has ended: the next access makes a new one
        }
        context_.userInterface.ShowMessage(error.Description(), boxstyle::okOnly, {});
        return {};
    }
}

/// Departs from the convention: a failure is told to the user at once, and the module keeps what it held when
/// it came.
void SOKInterface::Anmelden(Module& module) {
    try {
        module.object = context_.platform.CreateObject(hostClass);
        strMandantPfad_ = module.object.Get(L"letztermandant").ToText();
        strMandant_ = ReturnMandant(strMandantPfad_);
        if (!module.object.Get(L"istoffen").ToBoolean()) {
            Text mandant = strMandantPfad_;
            // What the host answers is not examined: whether the login succeeded shows on the next
            // "istoffen".
            static_cast<void>(module.object.Get(L"Login", module.number, ByRef(mandant)).ToLong());
        }
    } catch (...) {
        context_.userInterface.ShowMessage(
            Decimal(CurrentNumber()) + L" SOKInterface " + module.loginProcedure, boxstyle::okOnly, {});
    }
}

/// Departs from the convention: an error (a module that was never opened, say) is ignored and the next module
/// is tried.
void SOKInterface::AbmeldenVonSesam() {
    for (const LateBound& object : {fibu_.object, debi_.object, kredi_.object}) {
        try {
            if (object.Get(L"istoffen").ToBoolean()) {
                static_cast<void>(object.Get(L"Logout").ToLong());
            }
        } catch (...) {
            continue;
        }
    }
}

Text SOKInterface::ReturnMandant(const Text& text) const try {
    const std::size_t separator = text.find_last_of(L'\\');
    return separator == Text::npos ? text : text.substr(separator + 1);
} catch (...) {
    RecordAndRaise(L"ReturnMandant");
}

// ---- Vouchers and partners ----

Text SOKInterface::GetBuchungsType(const Text& strBelegNr, const Text& strBelegIndex) {
    oBuchung_ = LateBound(oSesamFibu().Get(L"neubuchung"));
    const LateBound booking = oBuchung_;
    Text number = strBelegNr;
    Text index = strBelegIndex;
    if (booking.Get(L"lesen", ByRef(number), ByRef(index)).ToInteger() != 0) {
        throw RuntimeError(bookingUnreadable, L"Belegtyp konnte nicht gelesen werden");
    }
    if (booking.Get(L"ursprung").ComparedTo(fromDebtors) == 0) {
        return L"Debi";
    }
    if (booking.Get(L"ursprung").ComparedTo(fromCreditors) == 0) {
        return L"Kredi";
    }
    return L"Beleg";
}

void SOKInterface::GetBelegDaten(const Text& /*strBelegNr*/, const Text& /*strIndex*/) {
    DocumentRecord& record = context_.state.records.cBeleg;
    const LateBound booking = oBuchung_;
    record.Kurzbezeichnung = booking.Get(L"Text").ToText();
    record.Valutadatum = booking.Get(L"Datum").ToText();
    record.Betrag = booking.Get(L"Betrag").ToText();
    oBuchung_ = {};
}

void SOKInterface::GetDebiDaten(const Text& /*strBelegNr*/, const Text& /*strIndex*/) {
    GetPartnerDaten(context_.state.records.cDebiBeleg, debi_);
}

void SOKInterface::GetKrediDaten(const Text& /*strBelegNr*/, const Text& /*strIndex*/) {
    GetPartnerDaten(context_.state.records.cKrediBeleg, kredi_);
}

/// A booking without an open item leaves the partner's fields of the record as they are.
void SOKInterface::GetPartnerDaten(DocumentRecord& record, Module& module) {
    LateBound oAdresse(oSesamFibu().Get(L"neuAdresse"));  // addresses always come from financial accounting
    LateBound oOP(LoggedIn(module).Get(L"neuOP"));
    const LateBound booking = oBuchung_;
    record.Kurzbezeichnung = booking.Get(L"Text").ToText();
    record.OPNr = booking.Get(L"OPNr").ToText();
    record.Valutadatum = booking.Get(L"Datum").ToText();
    if (const Variant openItem = booking.Get(L"OPNr"); !openItem.ToText().empty()) {
        oOP.Call(L"lesen", openItem);
        record.Rechnungsdatum = oOP.Get(L"Datum").ToText();
        record.Betrag = oOP.Get(L"BetragFaktura").ToText();
        record.PKNr = oOP.Get(L"PKNr").ToText();
        oPK_ = LateBound(LoggedIn(module).Get(L"neuPK"));
        const LateBound account = oPK_;
        account.Call(L"lesen", oOP.Get(L"PKNr"));
        record.AdressNr = account.Get(L"AdressID").ToText();
        oAdresse.Call(L"lesen", account.Get(L"AdressID"));
        record.Kundenname = oAdresse.Get(L"Firma").ToText();
        const Text postcode = oAdresse.Get(L"PLZ").ToJoinedText();
        record.Kundenort = postcode + L" " + oAdresse.Get(L"Ort").ToJoinedText();
    }
    oOP = {};
    oAdresse = {};
    oBuchung_ = {};
}

// ---- Client settings ----

void SOKInterface::EinstellungenLesen(bool& bResult) try {
    bResult = false;
    fibu_.object = {};  // so that the options are always read through a fresh login
    context_.state.folders = {};
    if (!context_.state.gbIniOK) {
        return;
    }
    // A missing option may come as null.
    const Text archiveOn = LowerCase(ReadOption(option::archiveOn).ToJoinedText());
    if (archiveOn == L"true") {
        bResult = true;
    } else if (archiveOn == L"false") {
        AbmeldenVonSesam();
        return;
    } else if (!context_.setsUpClients) {
        return;
    } else {
        EinstellungenSchreiben();
    }
    const Text placeholder = ReadOption(option::placeholder).ToText();
    context_.state.folders.strPlatzhalterDatei = placeholder;
    // "Platzhatlerdokument" is meant so: the box has always read like this.
    Assert(context_.platform.FileExists(placeholder),
           L"Die Datei '" + placeholder + L"' die als Platzhatlerdokument dient, ist nicht vorhanden",
           placeholderMissing);
    ReadFolder(option::bookings, &ClientFolders::strPfadBuchungen, bookingsFolderMissing);
    ReadFolder(option::reports, &ClientFolders::strPfadAuswertungen, placeholderMissing);
    ReadFolder(option::debtors, &ClientFolders::strPfadDebi, placeholderMissing);
    ReadFolder(option::creditors, &ClientFolders::strPfadKredi, placeholderMissing);
    bResult = true;
} catch (...) {
    RecordAndRaise(L"EinstellungenLesen");
}

bool SOKInterface::EinstellungenSchreiben() try {
    ClientFolders& folders = context_.state.folders;
    folders.strPlatzhalterDatei = ComponentFolder(context_.platform) + L"\\Platzhalter.pdf";
    RequireOptionWritten(option::placeholder, Text(folders.strPlatzhalterDatei));
    const Settings& settings = context_.state.settings;
    const Text year = settings.gbTreuhand ? Digits(context_.platform.Now().year, 4) + L"/" : Text();
    Text clientFolder = L"/" + settings.gsSagePfad + L"/" + year + strMandant_;
    const Text adjusted = context_.userInterface.InputBox(
        L"Bitte passen Sie allenfalls den Archivpfad des Mandanten an. Trennzeichen für Ordner ist '/'",
        L"Archivpfad erstellen", clientFolder, -2500, -1500);
    if (!adjusted.empty()) {
        clientFolder = adjusted;
    }
    for (const FolderOption& row : newFolders) {
        folders.*row.folder = clientFolder + L"/" + row.name;
    }
    for (const FolderOption& row : newFolders) {
        Text folder = folders.*row.folder;
        const Text failure = context_.folders.PFadErstellen(folder);
        folders.*row.folder = folder;
        Assert(failure.empty(), failure, optionsNotWritten);
        RequireOptionWritten(row.key, folder);
    }
    return WriteOption(option::archiveOn, L"true");
} catch (...) {
    RecordAndRaise(L"EinstellungenSchreiben");
}

Variant SOKInterface::ReadOption(std::int16_t key) {
    return oSesamFibu().Get(L"IniLesen", optionGroup, key);
}

bool SOKInterface::WriteOption(std::int16_t key, const Text& value) {
    return oSesamFibu().Get(L"Inischreiben", optionGroup, key, value).ToBoolean();
}

void SOKInterface::RequireOptionWritten(std::int16_t key, const Text& value) {
    Assert(WriteOption(key, value), L"Die Mandantendaten konnten nicht in die Optionen eingetragen werden.",
           optionsNotWritten);
}

void SOKInterface::ReadFolder(std::int16_t key, Text ClientFolders::* folder, std::int32_t errorNumber) {
    const Text path = ReadOption(key).ToText();
    context_.state.folders.*folder = path;
    const Text failure = context_.folders.CheckPFadVorhanden(path);
    Assert(failure.empty(), failure, errorNumber);
}

}  // namespace kandora
