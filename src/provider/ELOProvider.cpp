#include "provider/ELOProvider.h"

#include "support/Convention.h"
#include "support/MString.h"
#include "support/MessageBoxes.h"

namespace kandora {

namespace {

/// The provider's class tag in the call stack is the product's name.
constexpr const wchar_t* className = L"Kandora";

/// Elements of the host's metadata array that are read.
namespace element {
constexpr std::int32_t unused = 0;
constexpr std::int32_t voucherNumber = 2;
constexpr std::int32_t voucherIndex = 3;
constexpr std::int32_t barcode = 4;
}  // namespace element

/// The voucher's identity in the host's metadata. Element 0 is read and not used, so that metadata without it
/// is an error.
struct Voucher {
    Text number;
    Text index;

    explicit Voucher(const Variant& vtMetaData) {
        static_cast<void>(ToText(vtMetaData.Element(element::unused)));
        number = ToText(vtMetaData.Element(element::voucherNumber));
        index = ToText(vtMetaData.Element(element::voucherIndex));
    }
};

Text BarcodeIn(const Variant& vtMetaData) {
    return ToText(vtMetaData.Element(element::barcode));
}

}  // namespace

// The request gate
// ---------------------------------------------------------------------------------------------------

void ELOProvider::Trace(const wchar_t* method, std::initializer_list<Traced> arguments) {
    std::vector<Variant> values;
    for (const Traced& argument : arguments) {
        values.push_back(argument.Value());
    }
    globals_.Log().WriteLog(Text(L"DMSProvider_") + method, values);
}

/// Asks the host whether the archive is on for the client that is open; nothing is kept from one request to
/// the next.
void ELOProvider::RefreshClient() {
    bool active = false;
    globals_.goSesamSOK()->EinstellungenLesen(active);
    globals_.state.gbMandantArchivAktiv = active;
}

/// The same while something else is in progress, from which nothing may be taken.
void ELOProvider::RefreshClientMeanwhile() {
    globals_.state.gbMandantArchivAktiv = globals_.IsArchiveOnMeanwhile();
}

/// What cannot be shown to the user either is given up.
void ELOProvider::Attempt(const wchar_t* method, Work body) noexcept {
    try {
        Outermost(globals_.goErrHandler(), {className, method}, body);
    } catch (...) {
        globals_.goErrHandler().Clear();
    }
}

void ELOProvider::Request(const wchar_t* method, Work body) noexcept {
    if (globals_.Order().IsBusy()) {
        const ErrorKeeper keeper(globals_.goErrHandler());
        Attempt(method, body);
    } else {
        globals_.Order().CarryOut([&] { Attempt(method, body); });
    }
}

template <class... Arguments>
bool ELOProvider::MustWait(const wchar_t* method, void (ELOProvider::*request)(const Arguments&...),
                           const Arguments&... arguments) noexcept {
    if (!globals_.Order().IsBusy()) {
        return false;
    }
    Request(method, [&] {
        globals_.Order().Postpone(
            [self = shared_from_this(), request, arguments...] { (self.get()->*request)(arguments...); });
    });
    return true;
}

void ELOProvider::Refuse(const wchar_t* method, const RuntimeError& error) noexcept {
    Request(method, [&] { throw RuntimeError(error); });
}

void ELOProvider::GatedRequest(const wchar_t* method, std::initializer_list<Traced> arguments, Work work,
                               Work otherwise) noexcept {
    const bool isMeanwhile = globals_.Order().IsBusy();
    Request(method, [&] {
        if (globals_.state.settings.gbDebug) {
            Trace(method, arguments);
        }
        if (!globals_.state.gbIniOK) {
            return;
        }
        if (isMeanwhile) {
            RefreshClientMeanwhile();
        } else {
            RefreshClient();
        }
        if (globals_.state.gbMandantArchivAktiv) {
            work();
        } else {
            otherwise();
        }
    });
}

// Start and identity
// -------------------------------------------------------------------------------------------------

void ELOProvider::InitProvider(const Variant& vtMetaData) {
    if (MustWait(L"InitProvider", &ELOProvider::InitProvider, vtMetaData)) {
        return;
    }
    Request(L"InitProvider", [&] {
        // The first call is always traced: whether tracing is on is only known after it.
        if (globals_.state.settings.gbDebug || !bRunning) {
            Trace(L"InitProvider", {vtMetaData});
        }
        bRunning = true;
        if (globals_.IniLesen()) {
            globals_.state.gbIniOK = true;
            RefreshClient();
            return;
        }
        if (globals_.state.gbMandantArchivAktiv) {
            const Text message = L"Die Ini-Datei konnte nicht gelesen werden. Alle Funktionen des DMS sind "
                                 L"bis zu einem Neustart von "
                                 L"Sesam deaktiviert. ";
            globals_.Log().WriteLog(message, {});
            // The number of the system-modal style stands where the caption belongs, and the box is captioned
            // by it: deliberate, users know the box that way.
            globals_.Screen().ShowMessage(message, boxstyle::exclamation, Decimal(boxstyle::systemModal));
        } else {
            globals_.Log().WriteLog(L"Das Archiv ist deaktiviert. Alle Funktionen des DMS sind bis zu einem "
                                    L"Neustart von Sesam nicht "
                                    L"verfügbar.",
                                    {});
        }
        globals_.state.gbIniOK = false;
    });
}

void ELOProvider::StartProvider(const Variant& vtMetaData) {
    if (MustWait(L"StartProvider", &ELOProvider::StartProvider, vtMetaData)) {
        return;
    }
    GatedRequest(
        L"StartProvider", {vtMetaData}, [&] { globals_.goArchiv()->ELOSichtbar(); },
        [&] {
            // An error box without an error (number 0) is how the user learns that the open client has no
            // archive.
            ShowAndClear(globals_.goErrHandler(), RuntimeError(0), {className, L"StartProvider"});
        });
}

void ELOProvider::FibuVersion(const Variant& vtVerInfo) {
    Request(L"FibuVersion", [&] {
        if (globals_.state.settings.gbDebug || !bRunning) {
            Trace(L"FibuVersion", {vtVerInfo});
        }
    });
}

Text ELOProvider::CreateDocID(const Variant& vtMetaData) {
    Text docID;
    GatedRequest(L"CreateDocID", {vtMetaData}, [&] {
        const LocalTime now = globals_.Machine().Now();
        docID = Digits(now.year, 4) + Digits(now.month, 2) + Digits(now.day, 2) + Digits(now.hour, 2) +
                Digits(now.minute, 2) + Digits(now.second, 2);
    });
    return docID;
}

Variant ELOProvider::GetOpenDocInfo() {
    Variant info;
    GatedRequest(L"GetOpenDocInfo", {}, [&] {
        const LocalTime now = globals_.Machine().Now();
        // The host gets the three placeholders literally.
        info = Variant::ArrayOf(std::vector<Text>{L"OpenDocInfo0", L"OpenDocInfo1", L"OpenDocInfo2",
                                                  Digits(now.minute, 2) + Digits(now.second, 2)});
    });
    return info;
}

Text ELOProvider::GetVirtualPrinterName() {
    Text name;
    GatedRequest(L"GetVirtualPrinterName", {}, [&] { name = L"ELO Drucker"; });
    return name;
}

// Documents
// ----------------------------------------------------------------------------------------------------------

void ELOProvider::SaveDocument(const Text& sDocID, const Variant& vtMetaData) {
    if (MustWait(L"SaveDocument", &ELOProvider::SaveDocument, sDocID, vtMetaData)) {
        return;
    }
    GatedRequest(L"SaveDocument", {sDocID, vtMetaData}, [&] {
        const Voucher voucher(vtMetaData);
        const Text barcode = BarcodeIn(vtMetaData);
        if (barcode.empty()) {
            return;  // a voucher without a barcode is not filed
        }
        globals_.goArchiv()->AddDokument(Text(globals_.state.folders.strPlatzhalterDatei), barcode,
                                         voucher.number, voucher.index, L"Pendent", sDocID);
    });
}

void ELOProvider::DocumentChanged(const Text& sDocID, const Variant& vtMetaData) {
    if (MustWait(L"DocumentChanged", &ELOProvider::DocumentChanged, sDocID, vtMetaData)) {
        return;
    }
    GatedRequest(L"DocumentChanged", {sDocID, vtMetaData}, [&] {
        const Voucher voucher(vtMetaData);
        const Text barcode = BarcodeIn(vtMetaData);
        globals_.goArchiv()->ChangeDocument(barcode, voucher.number, voucher.index, sDocID);
    });
}

void ELOProvider::DeleteDocument(const Text& sDocID, const Variant& vtMetaData) {
    if (MustWait(L"DeleteDocument", &ELOProvider::DeleteDocument, sDocID, vtMetaData)) {
        return;
    }
    GatedRequest(L"DeleteDocument", {sDocID, vtMetaData}, [&] {
        const Voucher voucher(vtMetaData);
        globals_.goArchiv()->MarkAsDeleted(sDocID, voucher.number, voucher.index);
    });
}

void ELOProvider::ShowDocument(const Text& sDocID, const Variant& vtMetaData) {
    if (MustWait(L"ShowDocument", &ELOProvider::ShowDocument, sDocID, vtMetaData)) {
        return;
    }
    GatedRequest(L"ShowDocument", {sDocID, vtMetaData}, [&] {
        static_cast<void>(ToText(vtMetaData.Element(element::unused)));
        globals_.goArchiv()->ShowDokument(sDocID);
    });
}

void ELOProvider::PrintDocument(const Text& sDocID, const Variant& vtMetaData) {
    if (MustWait(L"PrintDocument", &ELOProvider::PrintDocument, sDocID, vtMetaData)) {
        return;
    }
    GatedRequest(L"PrintDocument", {sDocID, vtMetaData}, [&] { globals_.goArchiv()->SaveAuswertung(); });
}

void ELOProvider::SavePendingDocument(const Variant& vtDocInfo, const Text& sDocID,
                                      const Variant& vtMetaData) {
    Request(L"SavePendingDocument", [&] {
        if (globals_.state.settings.gbDebug) {
            Trace(L"SavePendingDocument", {vtDocInfo, sDocID, vtMetaData});
        }
    });
}

void ELOProvider::SetDocumentStatus(const Text& sDocID, const Variant& vtMetaData) {
    Request(L"SetDocumentStatus", [&] {
        if (globals_.state.settings.gbDebug) {
            Trace(L"SetDocumentStatus", {sDocID, vtMetaData});
        }
    });
}

}  // namespace kandora
