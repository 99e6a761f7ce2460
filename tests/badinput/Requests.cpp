#include "tests/badinput/Requests.h"

namespace kandora::test {

const std::vector<HostRequest>& RequestsWithMetadata() {
    static const std::vector<HostRequest> all{
        {"InitProvider",
         [](ELOProvider& provider, const Text&, const Variant& data) { provider.InitProvider(data); }, true,
         false},
        {"StartProvider",
         [](ELOProvider& provider, const Text&, const Variant& data) { provider.StartProvider(data); }, true,
         false},
        {"FibuVersion",
         [](ELOProvider& provider, const Text&, const Variant& data) { provider.FibuVersion(data); }, false,
         false},
        {"CreateDocID",
         [](ELOProvider& provider, const Text&, const Variant& data) { provider.CreateDocID(data); }, false,
         false},
        {"SaveDocument",
         [](ELOProvider& provider, const Text& id, const Variant& data) { provider.SaveDocument(id, data); },
         true, true},
        {"DocumentChanged",
         [](ELOProvider& provider, const Text& id, const Variant& data) {
             provider.DocumentChanged(id, data);
         },
         true, true},
        {"DeleteDocument",
         [](ELOProvider& provider, const Text& id, const Variant& data) {
             provider.DeleteDocument(id, data);
         },
         true, true},
        {"ShowDocument",
         [](ELOProvider& provider, const Text& id, const Variant& data) { provider.ShowDocument(id, data); },
         true, true},
        {"PrintDocument",
         [](ELOProvider& provider, const Text& id, const Variant& data) { provider.PrintDocument(id, data); },
         true, false},
        {"SavePendingDocument",
         [](ELOProvider& provider, const Text& id, const Variant& data) {
             provider.SavePendingDocument(data, id, data);
         },
         false, false},
        {"SetDocumentStatus",
         [](ELOProvider& provider, const Text& id, const Variant& data) {
             provider.SetDocumentStatus(id, data);
         },
         false, false},
    };
    return all;
}

Variant VoucherMetadata() {
    return Variant::ArrayOf(std::vector<Text>{L"1001/1", L"", L"1001", L"1", L"MU26000001"});
}

}  // namespace kandora::test
