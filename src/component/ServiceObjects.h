#pragma once

#include <optional>
#include <utility>

#include "Kandora.h"
#include "accounting/SOKInterface.h"
#include "archive/ELODMS.h"
#include "archive/OrigELODMS.h"
#include "component/AutomationObject.h"

namespace kandora {

/// CarryOut for a procedure that needs the thread for itself: turned away (RPC_E_SERVERCALL_RETRYLATER) while
/// anything else of the thread is in progress. What it records of an error stays recorded, whether the caller
/// hears of it or not: only what shows errors clears the record.
HRESULT CarryOutAlone(MGlobals& globals, REFIID iid, Work body) noexcept;

/// A public class that works through a client of its own. The client goes with the object or when the
/// object's thread leaves COM, whichever comes first: its session can only end while calls to other programs
/// still work. The thread's records, folders and error handler serve one at a time: a call that enters while
/// a request or another such call is in progress is turned away and can be repeated, and a host's request
/// that enters during such a call is carried out before the call returns.
template <class Interface, const IID& iid, class Service>
class ServiceObject : public AutomationObject<Interface, iid>, private ThreadEndWatcher {
public:
    ServiceObject(const ServiceObject&) = delete;
    ServiceObject& operator=(const ServiceObject&) = delete;

protected:
    template <class Context>
    explicit ServiceObject(const Context& context) : client_(std::in_place, context) {
        this->State().Watch(*this);
    }
    ~ServiceObject() override { this->State().Unwatch(*this); }

    HRESULT Guarded(Work body) noexcept final { return CarryOutAlone(this->Globals(), iid, body); }

    /// Raises 91 once the thread has left COM.
    [[nodiscard]] Service& Client() {
        if (!client_.has_value()) {
            throw RuntimeError(errors::objectMissing);
        }
        return *client_;
    }

private:
    void OnThreadEnd() noexcept override { client_.reset(); }

    std::optional<Service> client_;
};

/// The archive client for outside callers: a session of its own, the thread's settings, records and error
/// handler.
class ELODMSObject final : public ServiceObject<_ELODMS, IID__ELODMS, ELODMS> {
public:
    ELODMSObject() : ServiceObject(CurrentThreadState()->Globals().ArchiveSide()) {}

    HRESULT STDMETHODCALLTYPE get_oElo(IDispatch** result) override {
        return Result(result, [&] { return Client().oElo(); });
    }
    HRESULT STDMETHODCALLTYPE ELOSichtbar() override {
        return Guarded([&] { Client().ELOSichtbar(); });
    }
    HRESULT STDMETHODCALLTYPE CheckLogin(BSTR* result) override {
        return Result(result, [&] { return Client().CheckLogin(); });
    }
    HRESULT STDMETHODCALLTYPE FindSageDocumentByID(BSTR* strSageDokID, long* result) override {
        return Result(result, [&] { return Client().FindSageDocumentByID(TextOf(Required(strSageDokID))); });
    }
    HRESULT STDMETHODCALLTYPE FindSageDocumentByBelegNr(BSTR* strBelegNr, BSTR* strIndex,
                                                        long* result) override {
        return Result(result, [&] {
            return Client().FindSageDocumentByBelegNr(TextOf(Required(strBelegNr)),
                                                      TextOf(Required(strIndex)));
        });
    }
    HRESULT STDMETHODCALLTYPE IsDokumentVorhanden(long lDokID, VARIANT_BOOL* result) override {
        return Result(result, [&] { return Client().IsDokumentVorhanden(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE CheckPFadVorhanden(BSTR* strPfad, BSTR* result) override {
        return Result(result, [&] { return Client().CheckPFadVorhanden(TextOf(Required(strPfad))); });
    }
    HRESULT STDMETHODCALLTYPE PFadErstellen(BSTR* strPfad, BSTR* result) override {
        return Result(result, [&] {
            return WithText(strPfad, [&](Text& path) { return Client().PFadErstellen(path); });
        });
    }
    HRESULT STDMETHODCALLTYPE CheckMaskeVorhanden(long* lMaskeNr, BSTR* result) override {
        return Result(result, [&] { return Client().CheckMaskeVorhanden(Required(lMaskeNr)); });
    }
    HRESULT STDMETHODCALLTYPE ChangeDocument(BSTR strBarcode, BSTR* strBelegNr, BSTR* strBelegIndex,
                                             BSTR* strSesamDocID) override {
        return Guarded([&] {
            Client().ChangeDocument(TextOf(strBarcode), TextOf(Required(strBelegNr)),
                                    TextOf(Required(strBelegIndex)), TextOf(Required(strSesamDocID)));
        });
    }
    HRESULT STDMETHODCALLTYPE MarkAsDeleted(BSTR strSesamDocID, BSTR* strBelegNr,
                                            BSTR* strBelegIndex) override {
        return Guarded([&] {
            Client().MarkAsDeleted(TextOf(strSesamDocID), TextOf(Required(strBelegNr)),
                                   TextOf(Required(strBelegIndex)));
        });
    }
    HRESULT STDMETHODCALLTYPE ShowDokument(BSTR strSageDokID) override {
        return Guarded([&] { Client().ShowDokument(TextOf(strSageDokID)); });
    }
    HRESULT STDMETHODCALLTYPE LoescheDokument(long lDokID) override {
        return Guarded([&] { Client().LoescheDokument(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE AddDokument(BSTR sFile, BSTR* strBarcode, BSTR* strBelegNr, BSTR* strBelegIndex,
                                          BSTR* strStatus, BSTR* strSesamDocID, long* result) override {
        return Result(result, [&] {
            return Client().AddDokument(TextOf(sFile), TextOf(Required(strBarcode)),
                                        TextOf(Required(strBelegNr)), TextOf(Required(strBelegIndex)),
                                        TextOf(Required(strStatus)), TextOf(Required(strSesamDocID)));
        });
    }
    HRESULT STDMETHODCALLTYPE SaveAuswertung(BSTR* /*strDocID*/) override {
        return Guarded([&] { Client().SaveAuswertung(); });
    }
};

/// The older archive client for outside callers.
class OrigELODMSObject final : public ServiceObject<_OrigELODMS, IID__OrigELODMS, OrigELODMS> {
public:
    OrigELODMSObject() : ServiceObject(CurrentThreadState()->Globals().ArchiveSide()) {}

    HRESULT STDMETHODCALLTYPE get_oElo(IDispatch** result) override {
        return Result(result, [&] { return Client().oElo(); });
    }
    HRESULT STDMETHODCALLTYPE ShowDokument(long lDokID) override {
        return Guarded([&] { Client().ShowDokument(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE IsDokumentVorhanden(long lDokID, VARIANT_BOOL* result) override {
        return Result(result, [&] { return Client().IsDokumentVorhanden(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE GetUnverknuepfte(VARIANT* result) override {
        return Result(result, [&] { return Client().GetUnverknuepfte(); });
    }
    HRESULT STDMETHODCALLTYPE GetParentFolderId(long lFallId, long* result) override {
        return Result(result, [&] { return Client().GetParentFolderId(lFallId); });
    }
    HRESULT STDMETHODCALLTYPE CurrentRegisterDate(long lFallId, DATE* result) override {
        return Result(result, [&] { return Client().CurrentRegisterDate(lFallId); });
    }
    HRESULT STDMETHODCALLTYPE LoescheDokument(long lDokID) override {
        return Guarded([&] { Client().LoescheDokument(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE AddDokumentToMassenversaendeZA(BSTR sPath, long* result) override {
        return Result(result, [&] { return Client().AddDokumentToMassenversaendeZA(TextOf(sPath)); });
    }
    HRESULT STDMETHODCALLTYPE AddDokument(BSTR sFile, long* result) override {
        return Result(result, [&] { return Client().AddDokument(TextOf(sFile)); });
    }
    HRESULT STDMETHODCALLTYPE PrintDokument(long lDokID) override {
        return Guarded([&] { Client().PrintDokument(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE LoescheVerknuepfung(long lDokID) override {
        return Guarded([&] { Client().LoescheVerknuepfung(lDokID); });
    }
};

/// The access to the accounting host for outside callers.
class SOKInterfaceObject final : public ServiceObject<_SOKInterface, IID__SOKInterface, SOKInterface> {
public:
    SOKInterfaceObject() : ServiceObject(CurrentThreadState()->Globals().AccountingSide()) {}

    /// What was decided before an error is delivered all the same.
    HRESULT STDMETHODCALLTYPE EinstellungenLesen(VARIANT_BOOL* result) override {
        if (result == nullptr) {
            return E_POINTER;
        }
        bool active = false;
        const HRESULT outcome = Guarded([&] { Client().EinstellungenLesen(active); });
        Deliver(result, active);
        return outcome;
    }
    HRESULT STDMETHODCALLTYPE EinstellungenSchreiben(VARIANT_BOOL* result) override {
        return Result(result, [&] { return Client().EinstellungenSchreiben(); });
    }
    HRESULT STDMETHODCALLTYPE GetKrediDaten(BSTR* strBelegNr, BSTR* strIndex) override {
        return Guarded(
            [&] { Client().GetKrediDaten(TextOf(Required(strBelegNr)), TextOf(Required(strIndex))); });
    }
    HRESULT STDMETHODCALLTYPE GetDebiDaten(BSTR* strBelegNr, BSTR* strIndex) override {
        return Guarded(
            [&] { Client().GetDebiDaten(TextOf(Required(strBelegNr)), TextOf(Required(strIndex))); });
    }
    HRESULT STDMETHODCALLTYPE GetBelegDaten(BSTR* strBelegNr, BSTR* strIndex) override {
        return Guarded(
            [&] { Client().GetBelegDaten(TextOf(Required(strBelegNr)), TextOf(Required(strIndex))); });
    }
    HRESULT STDMETHODCALLTYPE get_oSesamFibu(IDispatch** result) override {
        return Result(result, [&] { return Client().oSesamFibu(); });
    }
    HRESULT STDMETHODCALLTYPE get_oSesamDebi(IDispatch** result) override {
        return Result(result, [&] { return Client().oSesamDebi(); });
    }
    HRESULT STDMETHODCALLTYPE get_oSesamKredi(IDispatch** result) override {
        return Result(result, [&] { return Client().oSesamKredi(); });
    }
    HRESULT STDMETHODCALLTYPE GetBuchungsType(BSTR* strBelegNr, BSTR* strBelegIndex, BSTR* result) override {
        return Result(result, [&] {
            return Client().GetBuchungsType(TextOf(Required(strBelegNr)), TextOf(Required(strBelegIndex)));
        });
    }
};

}  // namespace kandora
