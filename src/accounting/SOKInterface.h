#pragma once

#include <cstdint>

#include "accounting/ArchiveFolders.h"
#include "automation/LateBound.h"
#include "automation/Platform.h"
#include "automation/Text.h"
#include "model/Settings.h"
#include "support/CErrHandler.h"
#include "ui/UserInterface.h"

namespace kandora {

/// What the accounting side works with; everything outlives it.
struct AccountingContext {
    Platform& platform;
    UserInterface& userInterface;
    CErrHandler& errHandler;
    SharedState& state;
    ArchiveFolders& folders;
    bool setsUpClients = true;  ///< a client without a decision is set up; otherwise it counts as off
};

/// The one place that talks to the host's object kit: the host's client, opened once for each of its three
/// modules, the bookings in it, and the client's archive settings among its options.
class SOKInterface {
public:
    explicit SOKInterface(const AccountingContext& context);
    SOKInterface(const SOKInterface&) = delete;
    SOKInterface& operator=(const SOKInterface&) = delete;

    /// Reads the client's archive folders and placeholder document into the shared state and checks them;
    /// sets up a client without a decision first, if it may. `bResult` becomes true when the archive is on
    /// for the client; it stays true when an error comes after that was known. Raises 5003 (bookings folder)
    /// or 5004 (another folder, placeholder) when one is missing.
    void EinstellungenLesen(bool& bResult);
    /// Proposes a folder layout, lets the user adjust it, creates it in the archive and writes the client's
    /// options. True when the archive has been switched on among them; raises 1580 when a folder or another
    /// option cannot be written.
    bool EinstellungenSchreiben();

    /// Transfers the booking that GetBuchungsType loaded into the record of its kind. The booking is used up
    /// by it; number and index are not read. Raises 91 when none is loaded.
    void GetKrediDaten(const Text& strBelegNr, const Text& strIndex);
    void GetDebiDaten(const Text& strBelegNr, const Text& strIndex);
    void GetBelegDaten(const Text& strBelegNr, const Text& strIndex);

    /// The client's object of one module, logged in again when the host has closed the client. No object
    /// after a failure, which the user has then been told.
    LateBound oSesamFibu() { return LoggedIn(fibu_); }
    LateBound oSesamDebi() { return LoggedIn(debi_); }
    LateBound oSesamKredi() { return LoggedIn(kredi_); }

    /// Loads a booking and tells its kind: "Debi", "Kredi" or "Beleg". Raises 5010 when it cannot be read, 91
    /// when the client cannot be reached.
    Text GetBuchungsType(const Text& strBelegNr, const Text& strBelegIndex);

private:
    /// The host's client as seen by one of its modules.
    struct Module {
        std::int16_t number;            ///< as the host counts its modules
        const wchar_t* loginProcedure;  ///< in the box after a failed login
        LateBound object;
    };

    /// Records the error being handled with the procedure as its frame, and raises it again.
    [[noreturn]] void RecordAndRaise(const wchar_t* procedure) const;

    LateBound LoggedIn(Module& module);
    void Anmelden(Module& module);
    void AbmeldenVonSesam();
    [[nodiscard]] Text ReturnMandant(const Text& text) const;
    void GetPartnerDaten(DocumentRecord& record, Module& module);

    [[nodiscard]] Variant ReadOption(std::int16_t key);
    [[nodiscard]] bool WriteOption(std::int16_t key, const Text& value);
    void RequireOptionWritten(std::int16_t key, const Text& value);
    void ReadFolder(std::int16_t key, Text ClientFolders::* folder, std::int32_t errorNumber);

    AccountingContext context_;
    Module fibu_{1, L"AnmeldenAnSage", {}};
    Module debi_{2, L"AnmeldenAnSesamDebi", {}};
    Module kredi_{3, L"AnmeldenAnSesamKredi", {}};
    Text strMandantPfad_;  ///< the client as the host names it, at the latest login of any module
    Text strMandant_;      ///< the client's name in it
    LateBound oBuchung_;
    LateBound oPK_;
};

}  // namespace kandora
