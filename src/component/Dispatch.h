#pragma once

#include <windows.h>

#include <oaidl.h>

namespace kandora {

/// Calls a member of a dual interface by its number: finds it in the interface's description, coerces every
/// argument to the declared type (after following references, which script engines pass for their variables),
/// calls through the vtable and stores the texts that by-reference arguments became. A failing member answers
/// DISP_E_EXCEPTION with its error information.
HRESULT InvokeByDescription(ITypeInfo* description, void* object, DISPID member, WORD flags,
                            DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                            UINT* wrongArgument) noexcept;

}  // namespace kandora
