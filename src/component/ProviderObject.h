#pragma once

#include <memory>

#include "DmsSolution.h"
#include "Kandora.h"
#include "component/AutomationObject.h"
#include "provider/ELOProvider.h"

namespace kandora {

/// The host's plug-in: its own interface with `bRunning`, and beside it the host's DMSProvider. The host
/// always receives success.
class ELOProviderObject final : public AutomationObject<_ELOProvider, IID__ELOProvider> {
public:
    ELOProviderObject();

    HRESULT STDMETHODCALLTYPE get_bRunning(VARIANT_BOOL* result) override {
        return Result(result, [&] { return provider_->bRunning; });
    }
    HRESULT STDMETHODCALLTYPE put_bRunning(VARIANT_BOOL newValue) override {
        return Guarded([&] { provider_->bRunning = newValue != VARIANT_FALSE; });
    }

    // A script has no way to ask for a further interface. Its calls by name find the host's requests here
    // too; the type library describes only bRunning.
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* wrongArgument) override;

protected:
    void* Further(REFIID wanted) noexcept override;

private:
    /// The host's interface as a part of the provider object, whose identity it shares.
    class Requests final : public DMSProvider {
    public:
        explicit Requests(ELOProviderObject& owner) : owner_(owner) {}

        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
            return owner_.QueryInterface(iid, object);
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
        ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }
        HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
        HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
        HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                                DISPID* ids) override;
        HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags,
                                         DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                         UINT* wrongArgument) override;

        HRESULT STDMETHODCALLTYPE ShowDocument(BSTR sDocID, VARIANT vtMetaData) override;
        HRESULT STDMETHODCALLTYPE PrintDocument(BSTR sDocID, VARIANT vtMetaData) override;
        HRESULT STDMETHODCALLTYPE SaveDocument(BSTR sDocID, VARIANT vtMetaData) override;
        HRESULT STDMETHODCALLTYPE StartProvider(VARIANT vtMetaData) override;
        HRESULT STDMETHODCALLTYPE FibuVersion(VARIANT vtVerInfo) override;
        HRESULT STDMETHODCALLTYPE CreateDocID(VARIANT vtMetaData, BSTR* psDocID) override;
        HRESULT STDMETHODCALLTYPE GetOpenDocInfo(VARIANT* pvtDocInfo) override;
        HRESULT STDMETHODCALLTYPE SavePendingDocument(VARIANT vtDocInfo, BSTR sDocID,
                                                      VARIANT vtMetaData) override;
        HRESULT STDMETHODCALLTYPE GetVirtualPrinterName(BSTR* psName) override;
        HRESULT STDMETHODCALLTYPE InitProvider(VARIANT vtMetaData, VARIANT* pvtResult) override;
        HRESULT STDMETHODCALLTYPE DeleteDocument(BSTR sDocID, VARIANT vtMetaData) override;
        HRESULT STDMETHODCALLTYPE SetDocumentStatus(BSTR sDocID, VARIANT vtMetaData) override;
        HRESULT STDMETHODCALLTYPE DocumentChanged(BSTR sDocID, VARIANT vtMetaData) override;

    private:
        [[nodiscard]] bool HasRoomFor(const HostRequest& request) noexcept;
        template <class Answer, class... Taken, class Out, class... Given>
        HRESULT Pass(const HostRequest& request, Answer (ELOProvider::*method)(Taken...), Out* result,
                     const Given&... arguments) noexcept;

        ELOProviderObject& owner_;
    };

    std::shared_ptr<ELOProvider> provider_ = std::make_shared<ELOProvider>(Globals());
    Requests requests_{*this};
    IID hostInterface_;  ///< a further identifier for the host's interface; IID_NULL when none was adopted
};

}  // namespace kandora
