#include "component/AutomationObject.h"

#include "automation/OwnArithmetic.h"
#include "component/Dispatch.h"
#include "interfaces/ComPtr.h"

namespace kandora {

HRESULT ReportError(const RuntimeError& error, REFIID iid) noexcept {
    ComPtr<ICreateErrorInfo> created;
    if (SUCCEEDED(CreateErrorInfo(created.Receive()))) {
        created->SetGUID(iid);
        created->SetDescription(const_cast<LPOLESTR>(error.Description().c_str()));
        created->SetSource(const_cast<LPOLESTR>(error.Source().c_str()));
        ComPtr<IErrorInfo> info;
        if (SUCCEEDED(created->QueryInterface(IID_IErrorInfo, info.ReceiveVoid()))) {
            SetErrorInfo(0, info.Get());
        }
    }
    return HresultOf(error.Number());
}

HRESULT ReportCurrentError(REFIID iid) noexcept {
    try {
        return ReportError(CurrentError(), iid);
    } catch (...) {
        return HresultOf(errors::outOfMemory);
    }
}

HRESULT CarryOut(REFIID iid, Work body) noexcept {
    const OwnArithmetic arithmetic;
    SetErrorInfo(0, nullptr);
    try {
        body();
        return S_OK;
    } catch (...) {
        return ReportCurrentError(iid);
    }
}

HRESULT TypeInfoOf(REFIID iid, int library, UINT index, ITypeInfo** info) noexcept {
    if (info == nullptr) {
        return E_POINTER;
    }
    *info = nullptr;
    if (index != 0) {
        return DISP_E_BADINDEX;
    }
    const HRESULT found = DescriptionOf(iid, library, info);
    if (SUCCEEDED(found)) {
        (*info)->AddRef();
    }
    return found;
}

HRESULT IdsOfNames(REFIID iid, int library, REFIID reserved, LPOLESTR* names, UINT count,
                   DISPID* ids) noexcept {
    if (reserved != IID_NULL) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    ITypeInfo* description = nullptr;
    const HRESULT found = DescriptionOf(iid, library, &description);
    return FAILED(found) ? found : DispGetIDsOfNames(description, names, count, ids);
}

HRESULT InvokeMember(REFIID iid, int library, REFIID reserved, void* object, DISPID member, WORD flags,
                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                     UINT* wrongArgument) noexcept {
    const OwnArithmetic arithmetic;
    if (reserved != IID_NULL) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    ITypeInfo* description = nullptr;
    const HRESULT found = DescriptionOf(iid, library, &description);
    return FAILED(found) ? found
                         : InvokeByDescription(description, object, member, flags, parameters, result,
                                               exception, wrongArgument);
}

}  // namespace kandora
