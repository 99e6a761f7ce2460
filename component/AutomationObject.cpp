#include "component/AutomationObject.h"

namespace kandora {

HRESULT ReportError(const RuntimeError& error, REFIID iid) noexcept {
    ICreateErrorInfo* created = nullptr;
    if (SUCCEEDED(CreateErrorInfo(&created))) {
        created->SetGUID(iid);
        created->SetDescription(const_cast<LPOLESTR>(error.Description().c_str()));
        created->SetSource(const_cast<LPOLESTR>(error.Source().c_str()));
        IErrorInfo* info = nullptr;
        if (SUCCEEDED(created->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)))) {
            SetErrorInfo(0, info);
            info->Release();
        }
        created->Release();
    }
    return HresultOf(error.Number());
}

}  // namespace kandora
