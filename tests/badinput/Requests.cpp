#include "tests/badinput/Requests.h"

namespace kandora::test {

namespace {

template <auto request>
void WithData(ELOProvider& provider, const Text& /*docId*/, const Variant& data) {
    (provider.*request)(data);
}

template <auto request>
void OfDocument(ELOProvider& provider, const Text& docId, const Variant& data) {
    (provider.*request)(docId, data);
}

void Pending(ELOProvider& provider, const Text& docId, const Variant& data) {
    provider.SavePendingDocument(data, docId, data);
}

}  // namespace

const std::vector<HostRequest>& RequestsWithMetadata() {
    using P = ELOProvider;
    static const std::vector<HostRequest> all{
        {"InitProvider", WithData<&P::InitProvider>, true, false},
        {"StartProvider", WithData<&P::StartProvider>, true, false},
        {"FibuVersion", WithData<&P::FibuVersion>, false, false},
        {"CreateDocID", WithData<&P::CreateDocID>, false, false},
        {"SaveDocument", OfDocument<&P::SaveDocument>, true, true},
        {"DocumentChanged", OfDocument<&P::DocumentChanged>, true, true},
        {"DeleteDocument", OfDocument<&P::DeleteDocument>, true, true},
        {"ShowDocument", OfDocument<&P::ShowDocument>, true, true},
        {"PrintDocument", OfDocument<&P::PrintDocument>, true, false},
        {"SavePendingDocument", Pending, false, false},
        {"SetDocumentStatus", OfDocument<&P::SetDocumentStatus>, false, false},
    };
    return all;
}

Variant VoucherMetadata() {
    return Variant::ArrayOf(std::vector<Text>{L"1001/1", L"", L"1001", L"1", L"MU26000001"});
}

}  // namespace kandora::test
