#include "component/ProviderObject.h"

#include <type_traits>
#include <utility>

#include "automation/OwnArithmetic.h"
#include "automation/StackSpace.h"
#include "component/Registration.h"

namespace kandora {

namespace {

/// Both interfaces number their members from 1; this is added to the numbers of the host's requests.
constexpr DISPID firstRequest = 0x10000;

constexpr VARIANT* noResult = nullptr;

// A copy of what the host hands over.
Text Owned(BSTR text) {
    return TextOf(text);
}
Variant Owned(const VARIANT& value) {
    return Variant(value);
}

}  // namespace

ELOProviderObject::ELOProviderObject() : hostInterface_(RegisteredHostInterface()) {}

void* ELOProviderObject::Further(REFIID wanted) noexcept {
    const bool isHostInterface =
        wanted == IID_DMSProvider || (hostInterface_ != IID_NULL && wanted == hostInterface_);
    return isHostInterface ? static_cast<DMSProvider*>(&requests_) : nullptr;
}

HRESULT ELOProviderObject::GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                         DISPID* ids) {
    const HRESULT own = AutomationObject::GetIDsOfNames(reserved, names, count, locale, ids);
    if (own != DISP_E_UNKNOWNNAME) {
        return own;
    }
    const HRESULT found = requests_.GetIDsOfNames(reserved, names, count, locale, ids);
    if (ids != nullptr && count > 0 && ids[0] != DISPID_UNKNOWN) {
        ids[0] += firstRequest;
    }
    return found;
}

HRESULT ELOProviderObject::Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags,
                                  DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                  UINT* wrongArgument) {
    if (member > firstRequest) {
        return requests_.Invoke(member - firstRequest, reserved, locale, flags, parameters, result, exception,
                                wrongArgument);
    }
    return AutomationObject::Invoke(member, reserved, locale, flags, parameters, result, exception,
                                    wrongArgument);
}

// ---- The host's interface by name ----

HRESULT ELOProviderObject::Requests::GetTypeInfoCount(UINT* count) {
    return owner_.GetTypeInfoCount(count);
}

HRESULT ELOProviderObject::Requests::GetTypeInfo(UINT index, LCID /*locale*/, ITypeInfo** info) {
    return TypeInfoOf(IID_DMSProvider, hostLibrary, index, info);
}

HRESULT ELOProviderObject::Requests::GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count,
                                                   LCID /*locale*/, DISPID* ids) {
    return IdsOfNames(IID_DMSProvider, hostLibrary, reserved, names, count, ids);
}

HRESULT ELOProviderObject::Requests::Invoke(DISPID member, REFIID reserved, LCID /*locale*/, WORD flags,
                                            DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                            UINT* wrongArgument) {
    return InvokeMember(IID_DMSProvider, hostLibrary, reserved, static_cast<DMSProvider*>(this), member,
                        flags, parameters, result, exception, wrongArgument);
}

// ---- Requests ----

/// False when the stack has no room for a request; the user has been told then.
bool ELOProviderObject::Requests::HasRoomFor(const HostRequest& request) noexcept {
    if (HasStackFor(requestStack)) {
        return true;
    }
    // The box that says so needs more than is left, too.
    OnAnotherStack([&] {
        try {
            throw RuntimeError(errors::outOfStack);
        } catch (...) {
            owner_.provider_->Refuse(request);
        }
    });
    return false;
}

/// Returns success whatever happens.
template <class Answer, class... Taken, class Out, class... Given>
HRESULT ELOProviderObject::Requests::Pass(const HostRequest& request, Answer (ELOProvider::*method)(Taken...),
                                          Out* result, const Given&... arguments) noexcept {
    const OwnArithmetic arithmetic;
    if (result != nullptr) {
        *result = Out{};
    }
    if (!HasRoomFor(request)) {
        return S_OK;
    }
    SetErrorInfo(0, nullptr);
    owner_.AddRef();  // the host may let go of the provider while the request waits
    try {
        if constexpr (std::is_void_v<Answer>) {
            (owner_.provider_.get()->*method)(Owned(arguments)...);
        } else {
            Answer answer = (owner_.provider_.get()->*method)(Owned(arguments)...);
            if (result != nullptr) {
                Deliver(result, std::move(answer));
            }
        }
    } catch (...) {
        owner_.provider_->Refuse(request);
    }
    owner_.Release();
    return S_OK;
}

HRESULT ELOProviderObject::Requests::ShowDocument(BSTR sDocID, VARIANT vtMetaData) {
    return Pass(requests::showDocument, &ELOProvider::ShowDocument, noResult, sDocID, vtMetaData);
}

HRESULT ELOProviderObject::Requests::PrintDocument(BSTR sDocID, VARIANT vtMetaData) {
    return Pass(requests::printDocument, &ELOProvider::PrintDocument, noResult, sDocID, vtMetaData);
}

HRESULT ELOProviderObject::Requests::SaveDocument(BSTR sDocID, VARIANT vtMetaData) {
    return Pass(requests::saveDocument, &ELOProvider::SaveDocument, noResult, sDocID, vtMetaData);
}

HRESULT ELOProviderObject::Requests::StartProvider(VARIANT vtMetaData) {
    return Pass(requests::startProvider, &ELOProvider::StartProvider, noResult, vtMetaData);
}

HRESULT ELOProviderObject::Requests::FibuVersion(VARIANT vtVerInfo) {
    return Pass(requests::fibuVersion, &ELOProvider::FibuVersion, noResult, vtVerInfo);
}

HRESULT ELOProviderObject::Requests::CreateDocID(VARIANT vtMetaData, BSTR* psDocID) {
    return Pass(requests::createDocID, &ELOProvider::CreateDocID, psDocID, vtMetaData);
}

HRESULT ELOProviderObject::Requests::GetOpenDocInfo(VARIANT* pvtDocInfo) {
    return Pass(requests::getOpenDocInfo, &ELOProvider::GetOpenDocInfo, pvtDocInfo);
}

HRESULT ELOProviderObject::Requests::SavePendingDocument(VARIANT vtDocInfo, BSTR sDocID, VARIANT vtMetaData) {
    return Pass(requests::savePendingDocument, &ELOProvider::SavePendingDocument, noResult, vtDocInfo, sDocID,
                vtMetaData);
}

HRESULT ELOProviderObject::Requests::GetVirtualPrinterName(BSTR* psName) {
    return Pass(requests::getVirtualPrinterName, &ELOProvider::GetVirtualPrinterName, psName);
}

/// The result is always empty.
HRESULT ELOProviderObject::Requests::InitProvider(VARIANT vtMetaData, VARIANT* pvtResult) {
    return Pass(requests::initProvider, &ELOProvider::InitProvider, pvtResult, vtMetaData);
}

HRESULT ELOProviderObject::Requests::DeleteDocument(BSTR sDocID, VARIANT vtMetaData) {
    return Pass(requests::deleteDocument, &ELOProvider::DeleteDocument, noResult, sDocID, vtMetaData);
}

HRESULT ELOProviderObject::Requests::SetDocumentStatus(BSTR sDocID, VARIANT vtMetaData) {
    return Pass(requests::setDocumentStatus, &ELOProvider::SetDocumentStatus, noResult, sDocID, vtMetaData);
}

HRESULT ELOProviderObject::Requests::DocumentChanged(BSTR sDocID, VARIANT vtMetaData) {
    return Pass(requests::documentChanged, &ELOProvider::DocumentChanged, noResult, sDocID, vtMetaData);
}

}  // namespace kandora
