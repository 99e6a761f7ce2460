#pragma once

#include "Kandora.h"
#include "accounting/SOKInterface.h"
#include "archive/ELODMS.h"
#include "archive/OrigELODMS.h"
#include "component/AutomationObject.h"

namespace kandora {

/// The archive client for outside callers: a session of its own, the thread's settings, records and error
/// handler.
class ELODMSObject final : public AutomationObject<_ELODMS, IID__ELODMS> {
public:
    HRESULT STDMETHODCALLTYPE get_oElo(IDispatch** result) override {
        return Result(result, [&] { return client_.oElo(); });
    }
    HRESULT STDMETHODCALLTYPE ELOSichtbar() override {
        return Guarded([&] { client_.ELOSichtbar(); });
    }
    HRESULT STDMETHODCALLTYPE CheckLogin(BSTR* result) override {
        return Result(result, [&] { return client_.CheckLogin(); });
    }
    HRESULT STDMETHODCALLTYPE FindSageDocumentByID(BSTR* strSageDokID, long* result) override {
        return Result(result, [&] { return client_.FindSageDocumentByID(TextOf(Required(strSageDokID))); });
    }
    HRESULT STDMETHODCALLTYPE FindSageDocumentByBelegNr(BSTR* strBelegNr, BSTR* strIndex,
                                                        long* result) override {
        return Result(result, [&] {
            return client_.FindSageDocumentByBelegNr(TextOf(Required(strBelegNr)),
                                                     TextOf(Required(strIndex)));
        });
    }
    HRESULT STDMETHODCALLTYPE IsDokumentVorhanden(long lDokID, VARIANT_BOOL* result) override {
        return Result(result, [&] { return client_.IsDokumentVorhanden(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE CheckPFadVorhanden(BSTR* strPfad, BSTR* result) override {
        return Result(result, [&] { return client_.CheckPFadVorhanden(TextOf(Required(strPfad))); });
    }
    HRESULT STDMETHODCALLTYPE PFadErstellen(BSTR* strPfad, BSTR* result) override {
        return Result(result, [&] {
            return WithText(strPfad, [&](Text& path) { return client_.PFadErstellen(path); });
        });
    }
    HRESULT STDMETHODCALLTYPE CheckMaskeVorhanden(long* lMaskeNr, BSTR* result) override {
        return Result(result, [&] { return client_.CheckMaskeVorhanden(Required(lMaskeNr)); });
    }
    HRESULT STDMETHODCALLTYPE ChangeDocument(BSTR strBarcode, BSTR* strBelegNr, BSTR* strBelegIndex,
                                             BSTR* strSesamDocID) override {
        return Guarded([&] {
            client_.ChangeDocument(TextOf(strBarcode), TextOf(Required(strBelegNr)),
                                   TextOf(Required(strBelegIndex)), TextOf(Required(strSesamDocID)));
        });
    }
    HRESULT STDMETHODCALLTYPE MarkAsDeleted(BSTR strSesamDocID, BSTR* strBelegNr,
                                            BSTR* strBelegIndex) override {
        return Guarded([&] {
            client_.MarkAsDeleted(TextOf(strSesamDocID), TextOf(Required(strBelegNr)),
                                  TextOf(Required(strBelegIndex)));
        });
    }
    HRESULT STDMETHODCALLTYPE ShowDokument(BSTR strSageDokID) override {
        return Guarded([&] { client_.ShowDokument(TextOf(strSageDokID)); });
    }
    HRESULT STDMETHODCALLTYPE LoescheDokument(long lDokID) override {
        return Guarded([&] { client_.LoescheDokument(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE AddDokument(BSTR sFile, BSTR* strBarcode, BSTR* strBelegNr, BSTR* strBelegIndex,
                                          BSTR* strStatus, BSTR* strSesamDocID, long* result) override {
        return Result(result, [&] {
            return client_.AddDokument(TextOf(sFile), TextOf(Required(strBarcode)),
                                       TextOf(Required(strBelegNr)), TextOf(Required(strBelegIndex)),
                                       TextOf(Required(strStatus)), TextOf(Required(strSesamDocID)));
        });
    }
    HRESULT STDMETHODCALLTYPE SaveAuswertung(BSTR* /*strDocID*/) override {
        return Guarded([&] { client_.SaveAuswertung(); });
    }

private:
    ELODMS client_{Globals().ArchiveSide()};
};

/// The older archive client for outside callers.
class OrigELODMSObject final : public AutomationObject<_OrigELODMS, IID__OrigELODMS> {
public:
    HRESULT STDMETHODCALLTYPE get_oElo(IDispatch** result) override {
        return Result(result, [&] { return client_.oElo(); });
    }
    HRESULT STDMETHODCALLTYPE ShowDokument(long lDokID) override {
        return Guarded([&] { client_.ShowDokument(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE IsDokumentVorhanden(long lDokID, VARIANT_BOOL* result) override {
        return Result(result, [&] { return client_.IsDokumentVorhanden(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE GetUnverknuepfte(VARIANT* result) override {
        return Result(result, [&] { return client_.GetUnverknuepfte(); });
    }
    HRESULT STDMETHODCALLTYPE GetParentFolderId(long lFallId, long* result) override {
        return Result(result, [&] { return client_.GetParentFolderId(lFallId); });
    }
    HRESULT STDMETHODCALLTYPE CurrentRegisterDate(long lFallId, DATE* result) override {
        return Result(result, [&] { return client_.CurrentRegisterDate(lFallId); });
    }
    HRESULT STDMETHODCALLTYPE LoescheDokument(long lDokID) override {
        return Guarded([&] { client_.LoescheDokument(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE AddDokumentToMassenversaendeZA(BSTR sPath, long* result) override {
        return Result(result, [&] { return client_.AddDokumentToMassenversaendeZA(TextOf(sPath)); });
    }
    HRESULT STDMETHODCALLTYPE AddDokument(BSTR sFile, long* result) override {
        return Result(result, [&] { return client_.AddDokument(TextOf(sFile)); });
    }
    HRESULT STDMETHODCALLTYPE PrintDokument(long lDokID) override {
        return Guarded([&] { client_.PrintDokument(lDokID); });
    }
    HRESULT STDMETHODCALLTYPE LoescheVerknuepfung(long lDokID) override {
        return Guarded([&] { client_.LoescheVerknuepfung(lDokID); });
    }

private:
    OrigELODMS client_{Globals().ArchiveSide()};
};

/// The access to the accounting host for outside callers.
class SOKInterfaceObject final : public AutomationObject<_SOKInterface, IID__SOKInterface> {
public:
    /// What was decided before an error is delivered all the same.
    HRESULT STDMETHODCALLTYPE EinstellungenLesen(VARIANT_BOOL* result) override {
        if (result == nullptr) {
            return E_POINTER;
        }
        bool active = false;
        const HRESULT outcome = Guarded([&] { host_.EinstellungenLesen(active); });
        Deliver(result, active);
        return outcome;
    }
    HRESULT STDMETHODCALLTYPE EinstellungenSchreiben(VARIANT_BOOL* result) override {
        return Result(result, [&] { return host_.EinstellungenSchreiben(); });
    }
    HRESULT STDMETHODCALLTYPE GetKrediDaten(BSTR* strBelegNr, BSTR* strIndex) override {
        return Guarded(
            [&] { host_.GetKrediDaten(TextOf(Required(strBelegNr)), TextOf(Required(strIndex))); });
    }
    HRESULT STDMETHODCALLTYPE GetDebiDaten(BSTR* strBelegNr, BSTR* strIndex) override {
        return Guarded([&] { host_.GetDebiDaten(TextOf(Required(strBelegNr)), TextOf(Required(strIndex))); });
    }
    HRESULT STDMETHODCALLTYPE GetBelegDaten(BSTR* strBelegNr, BSTR* strIndex) override {
        return Guarded(
            [&] { host_.GetBelegDaten(TextOf(Required(strBelegNr)), TextOf(Required(strIndex))); });
    }
    HRESULT STDMETHODCALLTYPE get_oSesamFibu(IDispatch** result) override {
        return Result(result, [&] { return host_.oSesamFibu(); });
    }
    HRESULT STDMETHODCALLTYPE get_oSesamDebi(IDispatch** result) override {
        return Result(result, [&] { return host_.oSesamDebi(); });
    }
    HRESULT STDMETHODCALLTYPE get_oSesamKredi(IDispatch** result) override {
        return Result(result, [&] { return host_.oSesamKredi(); });
    }
    HRESULT STDMETHODCALLTYPE GetBuchungsType(BSTR* strBelegNr, BSTR* strBelegIndex, BSTR* result) override {
        return Result(result, [&] {
            return host_.GetBuchungsType(TextOf(Required(strBelegNr)), TextOf(Required(strBelegIndex)));
        });
    }

private:
    SOKInterface host_{Globals().AccountingSide()};
};

}  // namespace kandora
