#pragma once

#include <memory>

#include "accounting/ArchiveFolders.h"
#include "accounting/SOKInterface.h"
#include "archive/ELODMS.h"
#include "archive/VoucherData.h"
#include "archive/cUser.h"
#include "automation/Platform.h"
#include "model/Settings.h"
#include "provider/RequestOrder.h"
#include "support/CErrHandler.h"
#include "support/CIniFile.h"
#include "support/MSimpleLog.h"
#include "ui/UserInterface.h"

namespace kandora {

/// The state of one thread: settings, flags, records, error handler and log, and the service objects, each
/// created on first use and kept until the thread's state ends. Also the one place that knows how the parts
/// are wired.
class MGlobals {
public:
    /// Platform and user interface outlive this object.
    MGlobals(Platform& platform, UserInterface& userInterface);
    ~MGlobals();
    MGlobals(const MGlobals&) = delete;
    MGlobals& operator=(const MGlobals&) = delete;

    /// Lets go of the service objects; the archive's logs out, for which automation must still work.
    void ReleaseServices() noexcept;

    SharedState state;

    [[nodiscard]] CErrHandler& goErrHandler() noexcept { return errHandler_; }
    [[nodiscard]] MSimpleLog& Log() noexcept { return log_; }
    [[nodiscard]] Platform& Machine() noexcept { return platform_; }
    [[nodiscard]] UserInterface& Screen() noexcept { return userInterface_; }
    [[nodiscard]] RequestOrder& Order() noexcept { return order_; }

    /// The shared archive client; owned jointly by this object and the caller.
    std::shared_ptr<ELODMS> goArchiv();
    /// The shared access to the accounting host; owned jointly by this object and the caller.
    std::shared_ptr<SOKInterface> goSesamSOK();
    /// The user record, filled anew from the settings at each access; always the same object.
    std::shared_ptr<cUser> User();
    /// A new object for the default INI file at each call.
    [[nodiscard]] std::unique_ptr<CIniFile> NewIniFile();

    /// What an archive client or an accounting access of an outside caller works with: this thread's state
    /// and objects.
    [[nodiscard]] ArchiveContext ArchiveSide();
    [[nodiscard]] AccountingContext AccountingSide();

    /// Reads and checks all settings. False when the archive is switched off in them; raises on every other
    /// failure: 5000 names missing, 5001 login, 5002 mask, 6 or 13 for a value of the wrong kind.
    bool IniLesen();

    /// Whether the archive is on for the client that the host has open, asked while something else is in
    /// progress: with an access, folders and flags of its own, and as a guest on the archive's session, so
    /// that what is in progress loses nothing. Sets no client up: one without a decision counts as off.
    bool IsArchiveOnMeanwhile();

private:
    class VouchersOfHost;
    class FoldersOfArchive;

    /// Records the error being handled with the procedure as its frame, and raises it again.
    [[noreturn]] void RecordAndRaise(const wchar_t* procedure);
    ArchiveContext ArchiveSideWith(SharedState& itsState);

    Platform& platform_;
    UserInterface& userInterface_;
    RequestOrder order_;
    CErrHandler errHandler_;
    MSimpleLog log_;
    std::unique_ptr<VouchersOfHost> vouchers_;
    std::unique_ptr<FoldersOfArchive> folders_;
    std::shared_ptr<cUser> user_;
    std::shared_ptr<SOKInterface> sesamSOK_;
    std::shared_ptr<ELODMS> archiv_;
};

}  // namespace kandora
