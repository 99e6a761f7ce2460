#include "tools/check/InterfaceDescription.h"

#include <algorithm>

#include "automation/Errors.h"
#include "automation/Variant.h"
#include "interfaces/ComPtr.h"
#include "tools/check/Spelling.h"
#include "tools/check/TypeDescriptions.h"

namespace kandora::check {

namespace {

/// IUnknown's three methods and IDispatch's four.
constexpr int dispatchSlots = 7;

Text Taken(BSTR text) {
    Text taken = TextOf(text);
    SysFreeString(text);
    return taken;
}

Text NameOfMember(ITypeInfo* info, MEMBERID member) {
    BSTR name = nullptr;
    info->GetDocumentation(member, &name, nullptr, nullptr, nullptr);
    return Taken(name);
}

Text NameOfType(ITypeInfo* info, const TYPEDESC& type);

/// An alias is what it stands for, an enumeration is a number.
Text NameOfUserType(ITypeInfo* info, HREFTYPE reference) {
    ComPtr<ITypeInfo> named;
    if (FAILED(info->GetRefTypeInfo(reference, named.Receive()))) {
        return L"unbekannter Typ";
    }
    const TypeAttributes attributes(named.Get());
    if (attributes->typekind == TKIND_ALIAS) {
        return NameOfType(named.Get(), attributes->tdescAlias);
    }
    return attributes->typekind == TKIND_ENUM ? Text(L"long") : NameOfMember(named.Get(), MEMBERID_NIL);
}

Text NameOfType(ITypeInfo* info, const TYPEDESC& type) {
    switch (type.vt) {
    case VT_PTR:
        return NameOfType(info, *type.lptdesc) + L"*";
    case VT_SAFEARRAY:
        return L"SAFEARRAY(" + NameOfType(info, *type.lptdesc) + L")";
    case VT_USERDEFINED:
        return NameOfUserType(info, type.hreftype);
    case VT_BSTR:
        return L"BSTR";
    case VT_VARIANT:
        return L"VARIANT";
    case VT_HRESULT:
        return L"HRESULT";
    case VT_VOID:
        return L"void";
    case VT_BOOL:
        return L"VARIANT_BOOL";
    case VT_I2:
        return L"short";
    case VT_I4:
    case VT_INT:
        return L"long";
    case VT_R4:
        return L"float";
    case VT_R8:
        return L"double";
    case VT_CY:
        return L"CURRENCY";
    case VT_DATE:
        return L"DATE";
    case VT_DISPATCH:
        return L"IDispatch*";
    case VT_UNKNOWN:
        return L"IUnknown*";
    default:
        return L"VT_" + Decimal(type.vt);
    }
}

MethodDescription DescribeMethod(ITypeInfo* info, const FunctionDescription& function) {
    MethodDescription method;
    method.slot = static_cast<int>(static_cast<std::size_t>(function->oVft) / sizeof(void*));
    method.id = function->memid;
    method.isStandardCall = function->callconv == CC_STDCALL;
    method.returnType = NameOfType(info, function->elemdescFunc.tdesc);
    const auto count = static_cast<std::size_t>(function->cParams);
    std::vector<BSTR> names(count + 1);
    UINT known = 0;
    info->GetNames(function->memid, names.data(), static_cast<UINT>(names.size()), &known);
    method.name = Taken(names.front());
    for (std::size_t place = 0; place < count; ++place) {
        const ELEMDESC& parameter = function->lprgelemdescParam[place];
        method.parameters.push_back(
            {Taken(names[place + 1]), NameOfType(info, parameter.tdesc), parameter.paramdesc.wParamFlags});
    }
    return method;
}

/// The side of a dual interface that describes its vtable; empty when there is none.
ComPtr<ITypeInfo> VtableSide(ComPtr<ITypeInfo> info) {
    const TYPEKIND kind = TypeAttributes(info.Get())->typekind;
    if (kind == TKIND_INTERFACE) {
        return info;
    }
    ComPtr<ITypeInfo> side;
    HREFTYPE reference = 0;
    if (kind == TKIND_DISPATCH && SUCCEEDED(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference))) {
        info->GetRefTypeInfo(reference, side.Receive());
    }
    return side;
}

ComPtr<ITypeInfo> DefaultInterface(ITypeInfo* coclass) {
    const TypeAttributes attributes(coclass);
    for (UINT place = 0; place < attributes->cImplTypes; ++place) {
        INT flags = 0;
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> found;
        if (SUCCEEDED(coclass->GetImplTypeFlags(place, &flags)) && (flags & IMPLTYPEFLAG_FDEFAULT) != 0 &&
            (flags & IMPLTYPEFLAG_FSOURCE) == 0 &&
            SUCCEEDED(coclass->GetRefTypeOfImplType(place, &reference)) &&
            SUCCEEDED(coclass->GetRefTypeInfo(reference, found.Receive()))) {
            return found;
        }
    }
    return {};
}

/// The type of this name, a class's default interface in its place; empty when there is none.
ComPtr<ITypeInfo> FindInterface(ITypeLib* library, const Text& name) {
    for (UINT place = 0; place < library->GetTypeInfoCount(); ++place) {
        ComPtr<ITypeInfo> info;
        if (FAILED(library->GetTypeInfo(place, info.Receive())) ||
            !EqualIgnoringCase(NameOfMember(info.Get(), MEMBERID_NIL), name)) {
            continue;
        }
        const TYPEKIND kind = TypeAttributes(info.Get())->typekind;
        if (kind == TKIND_COCLASS) {
            return DefaultInterface(info.Get());
        }
        if (kind == TKIND_INTERFACE || kind == TKIND_DISPATCH) {
            return info;
        }
    }
    return {};
}

bool IsBasedOnDispatch(ITypeInfo* info) {
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> base;
    return SUCCEEDED(info->GetRefTypeOfImplType(0, &reference)) &&
           SUCCEEDED(info->GetRefTypeInfo(reference, base.Receive())) &&
           TypeAttributes(base.Get())->guid == IID_IDispatch;
}

/// A type that is the other one with a star is a reference to it.
Text HowPassed(const Text& type, const Text& other) {
    if (type == other + L"*") {
        return type + L" (als Verweis)";
    }
    return other == type + L"*" ? type + L" (als Wert)" : type;
}

Text Place(const MethodDescription& method) {
    return L"Platz " + Decimal(method.slot) + L" " + method.name;
}

void CompareParameters(const MethodDescription& host, const MethodDescription& component,
                       std::vector<Difference>& differences) {
    for (std::size_t place = 0; place < host.parameters.size(); ++place) {
        const ParameterDescription& theirs = host.parameters[place];
        const ParameterDescription& ours = component.parameters[place];
        const Text which = Place(host) + L", Argument " + Decimal(static_cast<std::int64_t>(place + 1)) +
                           L" " + theirs.name + L": ";
        constexpr USHORT directions = PARAMFLAG_FIN | PARAMFLAG_FOUT | PARAMFLAG_FRETVAL;
        if (theirs.type != ours.type) {
            differences.push_back({which + L"Finanzbuchhaltung " + HowPassed(theirs.type, ours.type) +
                                       L", Kandora " + HowPassed(ours.type, theirs.type),
                                   false});
        } else if ((theirs.flags & directions) != (ours.flags & directions)) {
            differences.push_back({which + L"andere Angaben zur Richtung", true});
        }
    }
}

void CompareMethods(const MethodDescription& host, const MethodDescription& component,
                    std::vector<Difference>& differences) {
    if (!EqualIgnoringCase(host.name, component.name)) {
        differences.push_back({Place(host) + L": in Kandora steht hier " + component.name, false});
        return;
    }
    if (host.returnType != component.returnType || host.isStandardCall != component.isStandardCall) {
        differences.push_back(
            {Place(host) + L": Ergebnis " + host.returnType + L" statt " + component.returnType, false});
    }
    if (host.parameters.size() != component.parameters.size()) {
        differences.push_back({Place(host) + L": " +
                                   Decimal(static_cast<std::int64_t>(host.parameters.size())) +
                                   L" Argumente samt Ergebnis, in Kandora " +
                                   Decimal(static_cast<std::int64_t>(component.parameters.size())),
                               false});
        return;
    }
    CompareParameters(host, component, differences);
    if (host.id != component.id) {
        differences.push_back({Place(host) + L": Nummer " + Decimal(host.id) + L", in Kandora " +
                                   Decimal(component.id) + L" (nur für Aufrufe ohne Namen von Bedeutung)",
                               true});
    }
}

}  // namespace

std::optional<InterfaceDescription> DescribeInterface(ITypeLib* library, const Text& name) {
    ComPtr<ITypeInfo> found = FindInterface(library, name);
    if (!found) {
        found = FindInterface(library, L"_" + name);
    }
    const ComPtr<ITypeInfo> info = found ? VtableSide(std::move(found)) : ComPtr<ITypeInfo>();
    if (!info) {
        return std::nullopt;
    }
    InterfaceDescription description;
    const TypeAttributes attributes(info.Get());
    description.iid = attributes->guid;
    description.name = NameOfMember(info.Get(), MEMBERID_NIL);
    description.isDispatch = IsBasedOnDispatch(info.Get());
    for (UINT place = 0; place < attributes->cFuncs; ++place) {
        description.methods.push_back(DescribeMethod(info.Get(), FunctionDescription(info.Get(), place)));
    }
    // The vtable side may repeat the methods of IDispatch.
    std::erase_if(description.methods,
                  [](const MethodDescription& method) { return method.slot < dispatchSlots; });
    std::ranges::sort(description.methods, {}, &MethodDescription::slot);
    return description;
}

std::vector<Difference> Compare(const InterfaceDescription& host, const InterfaceDescription& component) {
    if (!host.isDispatch) {
        return {{L"Die Schnittstelle der Finanzbuchhaltung beruht nicht auf IDispatch", false}};
    }
    std::vector<Difference> differences;
    const std::size_t both = std::min(host.methods.size(), component.methods.size());
    for (std::size_t place = 0; place < both; ++place) {
        CompareMethods(host.methods[place], component.methods[place], differences);
    }
    for (std::size_t place = both; place < host.methods.size(); ++place) {
        differences.push_back({Place(host.methods[place]) + L": gibt es in Kandora nicht", false});
    }
    for (std::size_t place = both; place < component.methods.size(); ++place) {
        differences.push_back(
            {Place(component.methods[place]) + L": kennt die Finanzbuchhaltung nicht", true});
    }
    return differences;
}

}  // namespace kandora::check
