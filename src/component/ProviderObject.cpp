#include "component/ProviderObject.h"

#include "automation/OwnArithmetic.h"
#include "automation/StackSpace.h"
#include "component/Registration.h"

namespace kandora {

namespace {

/// Both interfaces number their members from 1. What the provider's own calls by name know of the host's
/// requests lies beyond this number.
constexpr DISPID firstRequest = 0x10000;

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

// The host's interface by name
// ---------------------------------------------------------------------------------------

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

// Requests
// -----------------------------------------------------------------------------------------------------------

/// Success whatever happens.
template <class Body>
HRESULT ELOProviderObject::Requests::Request(const wchar_t* method, Body&& body) noexcept {
    const OwnArithmetic arithmetic;
    if (StackLeft() < requestStack) {
        // The box that says so needs more than is left, too.
        OnAnotherStack([&] { owner_.provider_->Refuse(method, RuntimeError(errors::outOfStack)); });
        return S_OK;
    }
    SetErrorInfo(0, nullptr);
    owner_.AddRef();  // the host may let go of the provider while the request waits
    try {
        std::forward<Body>(body)(*owner_.provider_);
    } catch (...) {
        owner_.provider_->Refuse(method, CurrentError());
    }
    owner_.Release();
    return S_OK;
}

template <class Value, class Body>
HRESULT ELOProviderObject::Requests::RequestResult(const wchar_t* method, Value* result,
                                                   Body&& body) noexcept {
    if (result != nullptr) {
        *result = Value{};
    }
    return Request(method, [&](ELOProvider& provider) {
        auto value = std::forward<Body>(body)(provider);
        if (result != nullptr) {
            Deliver(result, std::move(value));
        }
    });
}

HRESULT ELOProviderObject::Requests::ShowDocument(BSTR sDocID, VARIANT vtMetaData) {
    return Request(L"ShowDocument", [&](ELOProvider& provider) {
        provider.ShowDocument(TextOf(sDocID), Variant(vtMetaData));
    });
}

HRESULT ELOProviderObject::Requests::PrintDocument(BSTR sDocID, VARIANT vtMetaData) {
    return Request(L"PrintDocument", [&](ELOProvider& provider) {
        provider.PrintDocument(TextOf(sDocID), Variant(vtMetaData));
    });
}

HRESULT ELOProviderObject::Requests::SaveDocument(BSTR sDocID, VARIANT vtMetaData) {
    return Request(L"SaveDocument", [&](ELOProvider& provider) {
        provider.SaveDocument(TextOf(sDocID), Variant(vtMetaData));
    });
}

HRESULT ELOProviderObject::Requests::StartProvider(VARIANT vtMetaData) {
    return Request(L"StartProvider",
                   [&](ELOProvider& provider) { provider.StartProvider(Variant(vtMetaData)); });
}

HRESULT ELOProviderObject::Requests::FibuVersion(VARIANT vtVerInfo) {
    return Request(L"FibuVersion", [&](ELOProvider& provider) { provider.FibuVersion(Variant(vtVerInfo)); });
}

HRESULT ELOProviderObject::Requests::CreateDocID(VARIANT vtMetaData, BSTR* psDocID) {
    return RequestResult(L"CreateDocID", psDocID,
                         [&](ELOProvider& provider) { return provider.CreateDocID(Variant(vtMetaData)); });
}

HRESULT ELOProviderObject::Requests::GetOpenDocInfo(VARIANT* pvtDocInfo) {
    return RequestResult(L"GetOpenDocInfo", pvtDocInfo,
                         [&](ELOProvider& provider) { return provider.GetOpenDocInfo(); });
}

HRESULT ELOProviderObject::Requests::SavePendingDocument(VARIANT vtDocInfo, BSTR sDocID, VARIANT vtMetaData) {
    return Request(L"SavePendingDocument", [&](ELOProvider& provider) {
        provider.SavePendingDocument(Variant(vtDocInfo), TextOf(sDocID), Variant(vtMetaData));
    });
}

HRESULT ELOProviderObject::Requests::GetVirtualPrinterName(BSTR* psName) {
    return RequestResult(L"GetVirtualPrinterName", psName,
                         [&](ELOProvider& provider) { return provider.GetVirtualPrinterName(); });
}

HRESULT ELOProviderObject::Requests::InitProvider(VARIANT vtMetaData, VARIANT* pvtResult) {
    return RequestResult(L"InitProvider", pvtResult, [&](ELOProvider& provider) {
        provider.InitProvider(Variant(vtMetaData));
        return Variant();  // the result is always empty
    });
}

HRESULT ELOProviderObject::Requests::DeleteDocument(BSTR sDocID, VARIANT vtMetaData) {
    return Request(L"DeleteDocument", [&](ELOProvider& provider) {
        provider.DeleteDocument(TextOf(sDocID), Variant(vtMetaData));
    });
}

HRESULT ELOProviderObject::Requests::SetDocumentStatus(BSTR sDocID, VARIANT vtMetaData) {
    return Request(L"SetDocumentStatus", [&](ELOProvider& provider) {
        provider.SetDocumentStatus(TextOf(sDocID), Variant(vtMetaData));
    });
}

HRESULT ELOProviderObject::Requests::DocumentChanged(BSTR sDocID, VARIANT vtMetaData) {
    return Request(L"DocumentChanged", [&](ELOProvider& provider) {
        provider.DocumentChanged(TextOf(sDocID), Variant(vtMetaData));
    });
}

}  // namespace kandora
