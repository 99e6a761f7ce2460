#pragma once

#include <optional>
#include <vector>

#include <windows.h>

#include <oaidl.h>

#include "automation/Text.h"

namespace kandora::check {

struct ParameterDescription {
    Text name;
    Text type;       ///< as in "BSTR" or "BSTR*"
    USHORT flags{};  ///< PARAMFLAG_...
};

struct MethodDescription {
    Text name;
    int slot = 0;  ///< place in the vtable, counted from 0
    DISPID id = 0;
    bool isStandardCall = true;
    Text returnType;
    std::vector<ParameterDescription> parameters;
};

/// What a caller through the vtable must know of an interface.
struct InterfaceDescription {
    IID iid{};
    Text name;
    bool isDispatch = false;                 ///< its slots begin with those of IDispatch
    std::vector<MethodDescription> methods;  ///< its own, in slot order
};

/// The interface of a library by its name, which may also stand with an underscore before it, or belong to a
/// class, whose default interface is meant then. None when there is no such interface or it has no vtable.
std::optional<InterfaceDescription> DescribeInterface(ITypeLib* library, const Text& name);

/// A difference between what the host expects and what the component offers.
struct Difference {
    Text text;
    bool isServed = false;  ///< a call works all the same
};

/// In slot order. Without differences the host may call the component's methods as its own. The identifier
/// does not count.
std::vector<Difference> Compare(const InterfaceDescription& host, const InterfaceDescription& component);

}  // namespace kandora::check
