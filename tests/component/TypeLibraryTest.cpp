#include "interfaces/CodePages.h"
#include "tests/component/ComponentSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>

#include "tools/check/TypeDescriptions.h"

// The type libraries. The table below pins what outside programs were compiled against: names, identifiers,
// the order of the slots, member numbers and types. A change here breaks them.
namespace kandora::component_tests {
namespace {

using check::FunctionDescription;
using check::LibraryAttributes;
using check::TypeAttributes;

constexpr const wchar_t* hostsInterfaces = LR"(
interface DMSProvider {CC5421A5-6F61-4DA2-BC42-D0C3E160672A}
  1 ShowDocument(BSTR sDocID, VARIANT vtMetaData)
  2 PrintDocument(BSTR sDocID, VARIANT vtMetaData)
  3 SaveDocument(BSTR sDocID, VARIANT vtMetaData)
  4 StartProvider(VARIANT vtMetaData)
  5 FibuVersion(VARIANT vtVerInfo)
  6 CreateDocID(VARIANT vtMetaData) BSTR
  7 GetOpenDocInfo() VARIANT
  8 SavePendingDocument(VARIANT vtDocInfo, BSTR sDocID, VARIANT vtMetaData)
  9 GetVirtualPrinterName() BSTR
  10 InitProvider(VARIANT vtMetaData) VARIANT
  11 DeleteDocument(BSTR sDocID, VARIANT vtMetaData)
  12 SetDocumentStatus(BSTR sDocID, VARIANT vtMetaData)
  13 DocumentChanged(BSTR sDocID, VARIANT vtMetaData)
)";

/// What debtors' and creditors' vouchers have in common.
constexpr const wchar_t* partnerMembers = LR"(  1 text Rechnungsdatum
  2 text Kurzbezeichnung
  3 text Barcode
  4 text BelegNr
  5 text BelegIndex
  6 text BelegStatus
  7 text SesamDocID
  8 text Valutadatum
  9 text Betrag
  10 text OPNr
  11 text PKNr
  12 text AdressNr
  13 text Kundenname
  14 text Kundenort
)";

/// All but the host's.
std::wstring ComponentsInterfaces() {
    return LR"(
interface _ELOProvider {C61A0F87-AADD-4B38-9A38-1ECB7341001B}
  1 get bRunning() BOOL
  1 put bRunning(BOOL newValue)

interface _ELODMS {AD130315-5C66-44A0-A02A-F1018089CE29}
  1 get oElo() DISPATCH
  2 ELOSichtbar()
  3 CheckLogin() BSTR
  4 FindSageDocumentByID(BSTR& strSageDokID) I4
  5 FindSageDocumentByBelegNr(BSTR& strBelegNr, BSTR& strIndex) I4
  6 IsDokumentVorhanden(I4 lDokID) BOOL
  7 CheckPFadVorhanden(BSTR& strPfad) BSTR
  8 PFadErstellen(BSTR& strPfad) BSTR
  9 CheckMaskeVorhanden(I4& lMaskeNr) BSTR
  10 ChangeDocument(BSTR strBarcode, BSTR& strBelegNr, BSTR& strBelegIndex, BSTR& strSesamDocID)
  11 MarkAsDeleted(BSTR strSesamDocID, BSTR& strBelegNr, BSTR& strBelegIndex)
  12 ShowDokument(BSTR strSageDokID)
  13 LoescheDokument(I4 lDokID)
  14 AddDokument(BSTR sFile, BSTR& strBarcode, BSTR& strBelegNr, BSTR& strBelegIndex, BSTR& strStatus, BSTR& strSesamDocID) I4
  15 SaveAuswertung(BSTR& strDocID)

interface _OrigELODMS {10C2AFB9-BEEA-45BE-8A5B-D08E9555B2C5}
  1 get oElo() DISPATCH
  2 ShowDokument(I4 lDokID)
  3 IsDokumentVorhanden(I4 lDokID) BOOL
  4 GetUnverknuepfte() VARIANT
  5 GetParentFolderId(I4 lFallId) I4
  6 CurrentRegisterDate(I4 lFallId) DATE
  7 LoescheDokument(I4 lDokID)
  8 AddDokumentToMassenversaendeZA(BSTR sPath) I4
  9 AddDokument(BSTR sFile) I4
  10 PrintDokument(I4 lDokID)
  11 LoescheVerknuepfung(I4 lDokID)

interface _SOKInterface {8DD8B6E9-A0D2-4B77-89FE-6990C7E3835A}
  1 EinstellungenLesen() BOOL
  2 EinstellungenSchreiben() BOOL
  3 GetKrediDaten(BSTR& strBelegNr, BSTR& strIndex)
  4 GetDebiDaten(BSTR& strBelegNr, BSTR& strIndex)
  5 GetBelegDaten(BSTR& strBelegNr, BSTR& strIndex)
  6 get oSesamFibu() DISPATCH
  7 get oSesamDebi() DISPATCH
  8 get oSesamKredi() DISPATCH
  9 GetBuchungsType(BSTR& strBelegNr, BSTR& strBelegIndex) BSTR

interface _cUser {AF090F65-E329-40C0-820A-5FC0D36B80FF}
  1 text sName
  2 text sPasswort
  3 text sKuerzel
  4 get bLoggedOn() BOOL

interface _cBeleg {D35F0BF9-7DB1-4142-B1A7-C4FE7CC03C7F}
  1 text Kurzbezeichnung
  2 text Barcode
  3 text BelegNr
  4 text BelegIndex
  5 text BelegStatus
  6 text SesamDocID
  7 text Valutadatum
  8 text Betrag

interface _cDebiBeleg {5000F3E7-DFA6-44F2-BEA8-DDC06A71BCD7}
)" + std::wstring(partnerMembers) +
           LR"(
interface _cKrediBeleg {5BF7AE62-EB89-4584-85DC-616A4C5BCCE9}
)" + std::wstring(partnerMembers) +
           LR"(
interface _cAuswertung {16D83923-165E-4F07-9FBD-BEE0CC836CB7}
  1 text Kurzbezeichnung
  2 text Listenbeschreibung
  3 text DatumVon
  4 text DatumBis
)";
}

constexpr std::wstring_view componentLibrary = L"{30FCF751-6858-4A17-9CD0-B9022EFD4E11}";
constexpr std::wstring_view hostLibrary = L"{07DCC125-329B-4325-B2C4-E4AC26DC100E}";

constexpr int slotsOfIDispatch = 7;

ComPtr<ITypeLib> Load(const fs::path& file) {
    ComPtr<ITypeLib> library;
    EXPECT_EQ(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library.Receive()), S_OK)
        << Utf8FromText(file.wstring());
    return library;
}

ComPtr<ITypeLib> ComponentsLibrary() {
    return Load(ComponentFile());
}

ComPtr<ITypeLib> HostsLibrary() {
    return Load(BinFolder() / L"DmsSolution.tlb");
}

std::wstring NameOf(ITypeInfo* info) {
    Bstr name;
    info->GetDocumentation(MEMBERID_NIL, name.Receive(), nullptr, nullptr, nullptr);
    return name.Text();
}

std::wstring TypeName(const TYPEDESC& type, ITypeInfo* info) {
    switch (type.vt) {
    case VT_BSTR:
        return L"BSTR";
    case VT_VARIANT:
        return L"VARIANT";
    case VT_BOOL:
        return L"BOOL";
    case VT_I4:
        return L"I4";
    case VT_DATE:
        return L"DATE";
    case VT_DISPATCH:
        return L"DISPATCH";
    case VT_USERDEFINED: {
        ComPtr<ITypeInfo> other;
        return SUCCEEDED(info->GetRefTypeInfo(type.hreftype, other.Receive())) ? NameOf(other.Get()) : L"?";
    }
    case VT_PTR: {
        const std::wstring target = TypeName(*type.lptdesc, info);
        return target == L"IDispatch" ? L"DISPATCH" : target + L"&";
    }
    default:
        return L"type " + std::to_wstring(type.vt);
    }
}

/// One slot: number, name, arguments and result, as the table has it.
std::wstring DescribeSlot(ITypeInfo* info, const FUNCDESC& function) {
    std::vector<BSTR> raw(static_cast<std::size_t>(function.cParams) + 1);
    UINT count = 0;
    info->GetNames(function.memid, raw.data(), static_cast<UINT>(raw.size()), &count);
    std::vector<std::wstring> names(raw.size());
    for (UINT at = 0; at < count; ++at) {
        names[at].assign(raw[at], SysStringLen(raw[at]));
        SysFreeString(raw[at]);
    }
    if (function.invkind == INVOKE_PROPERTYPUT) {
        names[1] = L"newValue";  // names go by member, and the getter's come first
    }
    std::wstring text = std::to_wstring(function.memid) + L" ";
    text += function.invkind == INVOKE_PROPERTYGET   ? L"get "
            : function.invkind == INVOKE_PROPERTYPUT ? L"put "
                                                     : L"";
    text += names[0] + L"(";
    std::wstring result;
    for (std::size_t at = 0; at < static_cast<std::size_t>(function.cParams); ++at) {
        const ELEMDESC& parameter = function.lprgelemdescParam[at];
        std::wstring type = TypeName(parameter.tdesc, info);
        const USHORT flags = parameter.paramdesc.wParamFlags;
        if ((flags & PARAMFLAG_FRETVAL) != 0) {
            EXPECT_NE(flags & PARAMFLAG_FOUT, 0);
            EXPECT_EQ(at + 1, static_cast<std::size_t>(function.cParams));
            EXPECT_EQ(type.back(), L'&') << Utf8FromText(text);
            type.pop_back();
            result = L" " + type;
            continue;
        }
        EXPECT_EQ(flags, type.back() == L'&' ? PARAMFLAG_FIN | PARAMFLAG_FOUT : PARAMFLAG_FIN)
            << Utf8FromText(text);
        text += (at == 0 ? L"" : L", ") + type + L" " + names[at + 1];
    }
    EXPECT_EQ(function.elemdescFunc.tdesc.vt, VT_HRESULT) << Utf8FromText(text);
    EXPECT_EQ(function.callconv, CC_STDCALL) << Utf8FromText(text);
    return text + L")" + result;
}

/// The interface as its vtable is laid out. Getter and setter of a text, one after the other, make one line.
std::wstring DescribeInterface(ITypeInfo* dispatch) {
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> vtable;
    EXPECT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    EXPECT_EQ(dispatch->GetRefTypeInfo(reference, vtable.Receive()), S_OK);
    const TypeAttributes attributes(vtable.Get());
    EXPECT_EQ(attributes->cbSizeVft, (attributes->cFuncs + slotsOfIDispatch) * sizeof(void*));
    EXPECT_NE(attributes->wTypeFlags & TYPEFLAG_FDUAL, 0);
    EXPECT_NE(attributes->wTypeFlags & TYPEFLAG_FOLEAUTOMATION, 0);
    std::wstring text = L"\ninterface " + NameOf(vtable.Get()) + L" " + TextOf(attributes->guid) + L"\n";
    std::wstring before;
    for (UINT at = 0; at < attributes->cFuncs; ++at) {
        const FunctionDescription function(vtable.Get(), at);
        const std::wstring slot = DescribeSlot(vtable.Get(), *function);
        EXPECT_EQ(function->oVft, static_cast<SHORT>((slotsOfIDispatch + at) * sizeof(void*)))
            << Utf8FromText(slot);
        std::wsmatch setter;
        if (std::regex_match(slot, setter, std::wregex(L"(\\d+) put (\\w+)\\(BSTR newValue\\)")) &&
            before == setter.str(1) + L" get " + setter.str(2) + L"() BSTR") {
            text.resize(text.size() - before.size() - 3);
            text += L"  " + setter.str(1) + L" text " + setter.str(2) + L"\n";
        } else {
            text += L"  " + slot + L"\n";
        }
        before = slot;
    }
    return text;
}

/// All interfaces that the library declares, in its order.
std::wstring DescribeInterfaces(ITypeLib* library) {
    std::wstring text;
    for (UINT at = 0; at < library->GetTypeInfoCount(); ++at) {
        ComPtr<ITypeInfo> info;
        EXPECT_EQ(library->GetTypeInfo(at, info.Receive()), S_OK);
        if (TypeAttributes(info.Get())->typekind == TKIND_DISPATCH) {
            text += DescribeInterface(info.Get());
        }
    }
    return text;
}

struct LibraryIdentity {
    std::wstring name;
    std::wstring guid;
    WORD major = 0;
    WORD minor = 0;
    SYSKIND system = SYS_MAC;
};

LibraryIdentity IdentityOf(ITypeLib* library) {
    Bstr name;
    library->GetDocumentation(-1, name.Receive(), nullptr, nullptr, nullptr);
    const LibraryAttributes attributes(library);
    return {name.Text(), TextOf(attributes->guid), attributes->wMajorVerNum, attributes->wMinorVerNum,
            attributes->syskind};
}

constexpr SYSKIND ownSystem = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;

TEST(TypeLibraries, TheComponentCarriesItsOwnAsResourceOne) {
    const ComPtr<ITypeLib> library = ComponentsLibrary();
    ASSERT_TRUE(library);
    const LibraryIdentity identity = IdentityOf(library.Get());
    EXPECT_EQ(identity.name, L"Kandora");
    EXPECT_EQ(identity.guid, componentLibrary);
    EXPECT_EQ(identity.major, 1);
    EXPECT_EQ(identity.minor, 0);
    EXPECT_EQ(identity.system, ownSystem);
    EXPECT_NE(FindResourceW(Component::Built().Module(), MAKEINTRESOURCEW(1), L"TYPELIB"), nullptr);
}

TEST(TypeLibraries, TheHostsInterfaceHasOneOfItsOwn) {
    const ComPtr<ITypeLib> library = HostsLibrary();
    ASSERT_TRUE(library);
    const LibraryIdentity identity = IdentityOf(library.Get());
    EXPECT_EQ(identity.name, L"DmsSolution");
    EXPECT_EQ(identity.guid, hostLibrary);
    EXPECT_EQ(identity.major, 1);
    EXPECT_EQ(identity.minor, 0);
    EXPECT_EQ(identity.system, ownSystem);
    // The component brings the same one along.
    const ComPtr<ITypeLib> carried = Load(ComponentFile().wstring() + L"\\2");
    ASSERT_TRUE(carried);
    EXPECT_EQ(IdentityOf(carried.Get()).guid, hostLibrary);
    EXPECT_EQ(DescribeInterfaces(carried.Get()), DescribeInterfaces(library.Get()));
}

TEST(TypeLibraries, InterfacesStayAsTheyAre) {
    EXPECT_EQ(Utf8FromText(DescribeInterfaces(HostsLibrary().Get())), Utf8FromText(hostsInterfaces));
    // The interface compiler repeats the host's interface in the library of the class that implements it.
    EXPECT_EQ(Utf8FromText(DescribeInterfaces(ComponentsLibrary().Get())),
              Utf8FromText(ComponentsInterfaces()) + Utf8FromText(hostsInterfaces));
}

TEST(TypeLibraries, EveryMemberIsExplained) {
    int explained = 0;
    for (const ComPtr<ITypeLib>& library : {HostsLibrary(), ComponentsLibrary()}) {
        for (UINT at = 0; at < library->GetTypeInfoCount(); ++at) {
            ComPtr<ITypeInfo> info;
            ASSERT_EQ(library->GetTypeInfo(at, info.Receive()), S_OK);
            Bstr help;
            info->GetDocumentation(MEMBERID_NIL, nullptr, help.Receive(), nullptr, nullptr);
            EXPECT_NE(help.Text(), L"") << Utf8FromText(NameOf(info.Get()));
            const TypeAttributes attributes(info.Get());
            // A dual interface lists IDispatch's members too; those have no member number of ours.
            for (UINT slot = 0; slot < attributes->cFuncs; ++slot) {
                const MEMBERID member = FunctionDescription(info.Get(), slot)->memid;
                Bstr name;
                info->GetDocumentation(member, name.Receive(), help.Receive(), nullptr, nullptr);
                if (member > 0 && member < 100) {
                    EXPECT_NE(help.Text(), L"") << Utf8FromText(NameOf(info.Get()) + L"." + name.Text());
                    ++explained;
                }
            }
        }
    }
    EXPECT_GT(explained, 50);
}

/// Interfaces of a class in their order, a star behind the default one.
std::vector<std::wstring> ImplementedBy(ITypeInfo* coclass) {
    std::vector<std::wstring> names;
    const UINT count = TypeAttributes(coclass)->cImplTypes;
    for (UINT at = 0; at < count; ++at) {
        HREFTYPE reference = 0;
        ComPtr<ITypeInfo> implemented;
        int flags = 0;
        EXPECT_EQ(coclass->GetRefTypeOfImplType(at, &reference), S_OK);
        EXPECT_EQ(coclass->GetRefTypeInfo(reference, implemented.Receive()), S_OK);
        EXPECT_EQ(coclass->GetImplTypeFlags(at, &flags), S_OK);
        EXPECT_EQ(flags & IMPLTYPEFLAG_FSOURCE, 0);
        names.push_back(NameOf(implemented.Get()) + ((flags & IMPLTYPEFLAG_FDEFAULT) != 0 ? L"*" : L""));
    }
    return names;
}

TEST(TypeLibraries, TheComponentsOwnDeclaresNineCreatableClasses) {
    const ComPtr<ITypeLib> library = ComponentsLibrary();
    std::map<std::wstring, std::wstring> identifiers;
    for (UINT at = 0; at < library->GetTypeInfoCount(); ++at) {
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(library->GetTypeInfo(at, info.Receive()), S_OK);
        const TypeAttributes attributes(info.Get());
        if (attributes->typekind != TKIND_COCLASS) {
            continue;
        }
        const std::wstring name = NameOf(info.Get());
        identifiers[name] = TextOf(attributes->guid);
        EXPECT_NE(attributes->wTypeFlags & TYPEFLAG_FCANCREATE, 0) << Utf8FromText(name);
        const std::vector<std::wstring> expected =
            name == L"ELOProvider" ? std::vector<std::wstring>{L"_ELOProvider*", L"DMSProvider"}
                                   : std::vector<std::wstring>{L"_" + name + L"*"};
        EXPECT_EQ(ImplementedBy(info.Get()), expected) << Utf8FromText(name);
    }
    std::map<std::wstring, std::wstring> expected;
    for (const PublicClass& each : PublicClasses()) {
        expected[each.name] = each.clsid;
    }
    EXPECT_EQ(identifiers, expected);
}

}  // namespace
}  // namespace kandora::component_tests
