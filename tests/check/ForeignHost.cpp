// What another accounting would bring along, for the tests of kandora-check: a type library of its own, and
// an interface of its own that it asks the component for.
//
//     foreign_host library KIND FILE    writes a type library "DmsSolution"; for KIND see `Kinds`
//     foreign_host answers IID          prints 1 when a new Kandora.ELOProvider has this interface, else 0
//     foreign_host unelevated PROGRAM [ARGUMENT...]
//                                       runs it with the rights that account control leaves to an
//                                       administrator

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <windows.h>

#include <oaidl.h>
#include <oleauto.h>

#include "interfaces/Apartment.h"
#include "interfaces/ComPtr.h"

namespace {

using kandora::ComPtr;

constexpr GUID libraryId = {0x1D2C6F0A, 0x7A11, 0x4E5B, {0x9E, 0x41, 0x0C, 0x5B, 0x2A, 0x77, 0x31, 0xD5}};
constexpr GUID interfaceId = {0x5B0E3C71, 0x2F4D, 0x4B0A, {0x8C, 0x66, 0x91, 0xD4, 0xE7, 0x03, 0xAB, 0x12}};
constexpr int firstSlot = 7;

void Require(HRESULT outcome, const char* step) {
    if (FAILED(outcome)) {
        throw std::runtime_error(std::string(step) + " failed: " + std::to_string(outcome));
    }
}

struct Parameter {
    std::wstring name;
    VARTYPE type;
    bool byReference = false;
    bool isResult = false;
};

struct Method {
    std::wstring name;
    std::vector<Parameter> parameters;
};

Parameter Document() {
    return {L"docId", VT_BSTR};
}
Parameter Data() {
    return {L"metaData", VT_VARIANT};
}
Parameter Result(VARTYPE type) {
    return {L"result", type, true, true};
}

/// The methods as the component knows them; the arguments have names of the host's own.
std::vector<Method> UsualMethods() {
    return {
        {L"ShowDocument", {Document(), Data()}},
        {L"PrintDocument", {Document(), Data()}},
        {L"SaveDocument", {Document(), Data()}},
        {L"StartProvider", {Data()}},
        {L"FibuVersion", {Data()}},
        {L"CreateDocID", {Data(), Result(VT_BSTR)}},
        {L"GetOpenDocInfo", {Result(VT_VARIANT)}},
        {L"SavePendingDocument", {{L"info", VT_VARIANT}, Document(), Data()}},
        {L"GetVirtualPrinterName", {Result(VT_BSTR)}},
        {L"InitProvider", {Data(), Result(VT_VARIANT)}},
        {L"DeleteDocument", {Document(), Data()}},
        {L"SetDocumentStatus", {Document(), Data()}},
        {L"DocumentChanged", {Document(), Data()}},
    };
}

struct Kind {
    const wchar_t* name;
    std::function<void(std::vector<Method>& methods)> change;
};

const std::vector<Kind>& Kinds() {
    static const std::vector<Kind> kinds{
        {L"same", [](auto&) {}},
        {L"order", [](auto& methods) { std::swap(methods[0], methods[3]); }},
        {L"references",
         [](auto& methods) {
             for (Method& method : methods) {
                 for (Parameter& parameter : method.parameters) {
                     parameter.byReference = true;
                 }
             }
         }},
        {L"result", [](auto& methods) { methods[5].parameters[1].type = VT_VARIANT; }},
        {L"arguments", [](auto& methods) { methods[3].parameters.push_back({L"more", VT_I4}); }},
        {L"more", [](auto& methods) { methods.push_back({L"ArchiveAll", {}}); }},
        {L"fewer", [](auto& methods) { methods.pop_back(); }},
    };
    return kinds;
}

void AddMethod(ICreateTypeInfo* info, UINT place, const Method& method) {
    const std::size_t count = method.parameters.size();
    std::vector<TYPEDESC> pointed(count + 1);
    std::vector<ELEMDESC> elements(count + 1);
    std::vector<std::wstring> names{method.name};
    for (std::size_t each = 0; each < count; ++each) {
        const Parameter& parameter = method.parameters[each];
        names.push_back(parameter.name);
        pointed[each].vt = parameter.type;
        elements[each].tdesc.vt = parameter.type;
        if (parameter.byReference) {
            elements[each].tdesc.vt = VT_PTR;
            elements[each].tdesc.lptdesc = &pointed[each];
        }
        const int direction = parameter.isResult      ? PARAMFLAG_FOUT | PARAMFLAG_FRETVAL
                              : parameter.byReference ? PARAMFLAG_FIN | PARAMFLAG_FOUT
                                                      : PARAMFLAG_FIN;
        elements[each].paramdesc.wParamFlags = static_cast<USHORT>(direction);
    }
    FUNCDESC function{};  // NOLINT(bugprone-invalid-enum-default-initialization): set below
    function.memid = static_cast<MEMBERID>(place + 1);
    function.funckind = FUNC_PUREVIRTUAL;
    function.invkind = INVOKE_FUNC;
    function.callconv = CC_STDCALL;
    function.cParams = static_cast<SHORT>(count);
    function.lprgelemdescParam = elements.data();
    function.oVft = static_cast<SHORT>((firstSlot + place) * sizeof(void*));
    function.elemdescFunc.tdesc.vt = VT_HRESULT;
    Require(info->AddFuncDesc(place, &function), "AddFuncDesc");
    std::vector<LPOLESTR> pointers;
    for (std::wstring& name : names) {
        pointers.push_back(name.data());
    }
    Require(info->SetFuncAndParamNames(place, pointers.data(), static_cast<UINT>(pointers.size())),
            "SetFuncAndParamNames");
}

void WriteLibrary(const Kind& kind, const wchar_t* file) {
    std::vector<Method> methods = UsualMethods();
    kind.change(methods);
    ComPtr<ICreateTypeLib2> library;
    Require(CreateTypeLib2(sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32, file, library.Receive()),
            "CreateTypeLib2");
    std::wstring libraryName = L"DmsSolution";
    std::wstring interfaceName = L"DMSProvider";
    std::wstring description = L"Archivanbindung";
    library->SetGuid(libraryId);
    library->SetVersion(3, 0);
    library->SetName(libraryName.data());
    library->SetDocString(description.data());
    ComPtr<ICreateTypeInfo> info;
    Require(library->CreateTypeInfo(interfaceName.data(), TKIND_INTERFACE, info.Receive()), "CreateTypeInfo");
    info->SetGuid(interfaceId);
    Require(info->SetTypeFlags(TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE),
            "SetTypeFlags");
    ComPtr<ITypeLib> standard;
    Require(LoadTypeLibEx(L"stdole2.tlb", REGKIND_NONE, standard.Receive()), "stdole2.tlb");
    ComPtr<ITypeInfo> dispatch;
    Require(standard->GetTypeInfoOfGuid(IID_IDispatch, dispatch.Receive()), "IDispatch");
    HREFTYPE reference = 0;
    Require(info->AddRefTypeInfo(dispatch.Get(), &reference), "AddRefTypeInfo");
    Require(info->AddImplType(0, reference), "AddImplType");
    for (std::size_t place = 0; place < methods.size(); ++place) {
        AddMethod(info.Get(), static_cast<UINT>(place), methods[place]);
    }
    Require(info->LayOut(), "LayOut");
    Require(library->SaveAllChanges(), "SaveAllChanges");
}

int Answers(const wchar_t* text) {
    IID iid{};
    CLSID clsid{};
    Require(IIDFromString(text, &iid), "the identifier");
    Require(CLSIDFromProgID(L"Kandora.ELOProvider", &clsid), "the class");
    ComPtr<IUnknown> provider;
    Require(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, provider.ReceiveVoid()),
            "CoCreateInstance");
    ComPtr<IUnknown> requests;
    return SUCCEEDED(provider->QueryInterface(iid, requests.ReceiveVoid())) ? 1 : 0;
}

/// The command with the rights that account control leaves to an administrator's usual programs. Windows
/// gives the token for them to nobody but the system; wine does.
int WithoutElevation(const std::wstring& program, int count, wchar_t** arguments) {
    HANDLE token = nullptr;
    TOKEN_LINKED_TOKEN usual{};
    DWORD size = 0;
    HANDLE primary = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE ||
        GetTokenInformation(token, TokenLinkedToken, &usual, sizeof(usual), &size) == FALSE ||
        DuplicateTokenEx(usual.LinkedToken, TOKEN_ALL_ACCESS, nullptr, SecurityImpersonation, TokenPrimary,
                         &primary) == FALSE) {
        throw std::runtime_error("no token without elevation");
    }
    std::wstring command = L"\"" + program + L"\"";
    for (int place = 0; place < count; ++place) {
        command += std::wstring(L" ") + arguments[place];
    }
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process{};
    if (CreateProcessAsUserW(primary, program.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                             nullptr, &start, &process) == FALSE) {
        throw std::runtime_error("cannot be started");
    }
    DWORD code = 1;
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &code);
    return static_cast<int>(code);
}

int Run(int count, wchar_t** arguments) {
    if (count >= 3 && std::wcscmp(arguments[1], L"unelevated") == 0) {
        return WithoutElevation(arguments[2], count - 3, arguments + 3);
    }
    const kandora::Apartment apartment;
    if (count == 3 && std::wcscmp(arguments[1], L"answers") == 0) {
        std::printf("%d\n", Answers(arguments[2]));
        return 0;
    }
    if (count == 4 && std::wcscmp(arguments[1], L"library") == 0) {
        const auto kind = std::ranges::find_if(
            Kinds(), [&](const Kind& each) { return std::wcscmp(each.name, arguments[2]) == 0; });
        if (kind != Kinds().end()) {
            WriteLibrary(*kind, arguments[3]);
            return 0;
        }
    }
    throw std::runtime_error(
        "usage: foreign_host library KIND FILE | answers IID | unelevated PROGRAM [ARGUMENT...]");
}

}  // namespace

int wmain(int count, wchar_t** arguments) {  // NOLINT(misc-use-internal-linkage)
    try {
        return Run(count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
