#pragma once

#include <vector>

#include "provider/ELOProvider.h"

namespace kandora::test {

/// One request of the host with its arguments.
struct HostRequest {
    const char* name;
    void (*send)(ELOProvider& provider, const Text& docId, const Variant& metadata);
    /// It uses the archive when everything is in order.
    bool isDocumentRequest;
    /// It reads the metadata beyond tracing it.
    bool readsMetadata;
};

/// The requests that carry metadata.
const std::vector<HostRequest>& RequestsWithMetadata();

/// The metadata of a voucher as the host passes it.
Variant VoucherMetadata();

}  // namespace kandora::test
