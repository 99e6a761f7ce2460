#pragma once

#include <windows.h>

#include <DmsSolution.h>

#include <filesystem>

#include "interfaces/ComPtr.h"
#include "simulators/common/Value.h"
#include "simulators/host/RequestFile.h"

namespace kandora::simulators {

/// One call as the accounting makes it. `argument` serves the requests that take a single value
/// (InitProvider, StartProvider, FibuVersion, CreateDocID) and is the document information of
/// SavePendingDocument.
struct ProviderCall {
    RequestKind kind = RequestKind::InitProvider;
    std::wstring docId;
    Value argument;
    Value metaData;
};

struct ProviderAnswer {
    HRESULT code = S_OK;
    /// Empty for requests without a result.
    Value result;
};

/// The component as the accounting holds it: one provider object, called through the vtable of DMSProvider.
class ProviderLink {
public:
    /// Creates the registered class "Kandora.ELOProvider". Throws Failure.
    static ProviderLink FromRegistration();

    /// Creates the provider from the DLL at `library`, registered or not; its type library says which class
    /// it is. Throws Failure.
    static ProviderLink FromLibrary(const std::filesystem::path& library);

    /// Uses a provider that is there already.
    explicit ProviderLink(ComPtr<DMSProvider> provider) : provider_(std::move(provider)) {}

    /// Makes the call; `call.kind` must be one that is sent to the component. Never throws for a failing
    /// answer.
    [[nodiscard]] ProviderAnswer Send(const ProviderCall& call) const;

private:
    ComPtr<DMSProvider> provider_;
};

/// The description of a voucher that accompanies document requests: a zero-based array of five values, namely
/// booking key, client, voucher number, voucher index and barcode. Numbers travel as numbers where the text
/// is one.
Value MakeMetaData(const std::wstring& client, const std::wstring& belegNr, const std::wstring& belegIndex,
                   const std::wstring& barcode);

}  // namespace kandora::simulators
