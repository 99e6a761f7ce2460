#include "simulators/host/ProviderLink.h"

#include <windows.h>

#include <oleauto.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

#include "simulators/common/Failure.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

constexpr const wchar_t* providerProgId = L"Kandora.ELOProvider";
constexpr const wchar_t* providerClassName = L"ELOProvider";

[[noreturn]] void Fail(const std::wstring& what, HRESULT code) {
    throw Failure(what + L": " + SystemMessage(static_cast<unsigned long>(code)));
}

/// Takes over a text that a call delivered.
Value AdoptText(BSTR text) {
    VARIANT variant;
    VariantInit(&variant);
    variant.vt = VT_BSTR;
    variant.bstrVal = text;
    return Value::Adopt(variant);
}

/// The requests about a document, which differ in nothing but their name.
struct DocumentRequest {
    RequestKind kind;
    HRESULT (STDMETHODCALLTYPE DMSProvider::*send)(BSTR docId, VARIANT metaData);
};

constexpr std::array documentRequests{
    DocumentRequest{RequestKind::SaveDocument, &DMSProvider::SaveDocument},
    DocumentRequest{RequestKind::DocumentChanged, &DMSProvider::DocumentChanged},
    DocumentRequest{RequestKind::DeleteDocument, &DMSProvider::DeleteDocument},
    DocumentRequest{RequestKind::ShowDocument, &DMSProvider::ShowDocument},
    DocumentRequest{RequestKind::PrintDocument, &DMSProvider::PrintDocument},
    DocumentRequest{RequestKind::SetDocumentStatus, &DMSProvider::SetDocumentStatus},
};

CLSID ProviderClassOf(const std::filesystem::path& library) {
    ComPtr<ITypeLib> typeLibrary;
    const HRESULT code = LoadTypeLibEx(library.c_str(), REGKIND_NONE, typeLibrary.Receive());
    if (FAILED(code)) {
        Fail(L"Die Datei " + Guillemets(library.wstring()) + L" enthält keine lesbare Typbibliothek", code);
    }
    for (UINT at = 0; at < typeLibrary->GetTypeInfoCount(); ++at) {
        TYPEKIND kind = TKIND_MAX;
        BSTR name = nullptr;
        ComPtr<ITypeInfo> type;
        TYPEATTR* attributes = nullptr;
        typeLibrary->GetTypeInfoType(at, &kind);
        typeLibrary->GetDocumentation(static_cast<INT>(at), &name, nullptr, nullptr, nullptr);
        const bool isProvider = kind == TKIND_COCLASS && FromBstr(name) == providerClassName;
        SysFreeString(name);
        if (isProvider && SUCCEEDED(typeLibrary->GetTypeInfo(at, type.Receive())) &&
            SUCCEEDED(type->GetTypeAttr(&attributes))) {
            const CLSID classId = attributes->guid;
            type->ReleaseTypeAttr(attributes);
            return classId;
        }
    }
    throw Failure(L"Die Datei " + Guillemets(library.wstring()) + L" enthält keine Klasse ELOProvider.");
}

ComPtr<DMSProvider> AskForProvider(const ComPtr<IUnknown>& object) {
    ComPtr<DMSProvider> provider;
    const HRESULT code = object->QueryInterface(IID_DMSProvider, provider.ReceiveVoid());
    if (FAILED(code)) {
        Fail(L"Die Komponente bietet die Schnittstelle DMSProvider nicht an", code);
    }
    return provider;
}

/// A number when the text is the usual spelling of one up to `largest`, so that "007" stays text.
Value NaturalNumber(const std::wstring& text, std::int32_t largest) {
    const bool digits =
        !text.empty() && text.size() <= 9 && text.find_first_not_of(L"0123456789") == std::wstring::npos;
    if (!digits || (text.size() > 1 && text.front() == L'0') || std::stoi(text) > largest) {
        return Value::Text(text);
    }
    const std::int32_t number = std::stoi(text);
    return largest <= std::numeric_limits<std::int16_t>::max()
               ? Value::Short(static_cast<std::int16_t>(number))
               : Value::Long(number);
}

}  // namespace

ProviderLink ProviderLink::FromRegistration() {
    CLSID classId{};
    HRESULT code = CLSIDFromProgID(providerProgId, &classId);
    ComPtr<IUnknown> object;
    if (SUCCEEDED(code)) {
        code = CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, object.ReceiveVoid());
    }
    if (FAILED(code)) {
        Fail(L"Die Komponente Kandora.ELOProvider kann nicht erzeugt werden (regsvr32 trägt sie ein)", code);
    }
    return ProviderLink(AskForProvider(object));
}

ProviderLink ProviderLink::FromLibrary(const std::filesystem::path& library) {
    const std::filesystem::path path = std::filesystem::absolute(library);
    const CLSID classId = ProviderClassOf(path);
    // Stays loaded until the process ends: objects of the library may live as long as COM itself.
    HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!module) {
        Fail(L"Die Datei " + Guillemets(path.wstring()) + L" kann nicht geladen werden",
             HRESULT_FROM_WIN32(GetLastError()));
    }
    const auto getClassObject = reinterpret_cast<decltype(&DllGetClassObject)>(
        reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
    if (!getClassObject) {
        throw Failure(L"Die Datei " + Guillemets(path.wstring()) + L" ist keine Automationskomponente.");
    }
    ComPtr<IClassFactory> factory;
    ComPtr<IUnknown> object;
    HRESULT code = getClassObject(classId, IID_IClassFactory, factory.ReceiveVoid());
    if (SUCCEEDED(code)) {
        code = factory->CreateInstance(nullptr, IID_IUnknown, object.ReceiveVoid());
    }
    if (FAILED(code)) {
        Fail(L"Die Datei " + Guillemets(path.wstring()) + L" kann die Klasse ELOProvider nicht erzeugen",
             code);
    }
    return ProviderLink(AskForProvider(object));
}

ProviderAnswer ProviderLink::Send(const ProviderCall& call) const {
    const Value docId = Value::Text(call.docId);
    const BSTR id = docId.Get().bstrVal;
    const VARIANT& argument = call.argument.Get();
    const VARIANT& metaData = call.metaData.Get();
    ProviderAnswer answer;
    const auto* const document = std::ranges::find(documentRequests, call.kind, &DocumentRequest::kind);
    if (document != documentRequests.end()) {
        answer.code = (provider_.Get()->*document->send)(id, metaData);
        return answer;
    }
    VARIANT result;
    VariantInit(&result);
    BSTR text = nullptr;
    switch (call.kind) {
    case RequestKind::InitProvider:
        answer.code = provider_->InitProvider(argument, &result);
        answer.result = Value::Adopt(result);
        break;
    case RequestKind::StartProvider:
        answer.code = provider_->StartProvider(argument);
        break;
    case RequestKind::FibuVersion:
        answer.code = provider_->FibuVersion(argument);
        break;
    case RequestKind::CreateDocID:
        answer.code = provider_->CreateDocID(argument, &text);
        answer.result = AdoptText(text);
        break;
    case RequestKind::GetOpenDocInfo:
        answer.code = provider_->GetOpenDocInfo(&result);
        answer.result = Value::Adopt(result);
        break;
    case RequestKind::GetVirtualPrinterName:
        answer.code = provider_->GetVirtualPrinterName(&text);
        answer.result = AdoptText(text);
        break;
    case RequestKind::SavePendingDocument:
        answer.code = provider_->SavePendingDocument(argument, id, metaData);
        break;
    default:  // the accounting's own requests
        answer.code = E_INVALIDARG;
        break;
    }
    return answer;
}

Value MakeMetaData(const std::wstring& client, const std::wstring& belegNr, const std::wstring& belegIndex,
                   const std::wstring& barcode) {
    const std::array values{
        Value::Text(belegNr + L"/" + belegIndex),
        Value::Text(client),
        NaturalNumber(belegNr, std::numeric_limits<std::int32_t>::max()),
        NaturalNumber(belegIndex, std::numeric_limits<std::int16_t>::max()),
        Value::Text(barcode),
    };
    VARIANT variant;
    VariantInit(&variant);
    variant.vt = VT_ARRAY | VT_VARIANT;
    variant.parray = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(values.size()));
    if (!variant.parray) {
        throw std::bad_alloc();
    }
    for (std::size_t at = 0; at < values.size(); ++at) {
        LONG index = static_cast<LONG>(at);
        SafeArrayPutElement(variant.parray, &index, const_cast<VARIANT*>(&values[at].Get()));
    }
    return Value::Adopt(variant);
}

}  // namespace kandora::simulators
