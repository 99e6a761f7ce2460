#include "interfaces/CodePages.h"
#include "tests/outside/Workplace.h"

#include <gtest/gtest.h>

#include <regex>

#include "Kandora.h"
#include "tools/check/TypeDescriptions.h"

// What an outside caller reads in an object browser.
namespace kandora::outside_tests {
namespace {

/// The member's own arguments; neither the result nor the new value of a property has a name that callers
/// see.
std::vector<std::wstring> ArgumentsOf(ITypeInfo* info, const FUNCDESC& function) {
    std::vector<BSTR> raw(static_cast<std::size_t>(function.cParams) + 1);
    UINT count = 0;
    EXPECT_EQ(info->GetNames(function.memid, raw.data(), static_cast<UINT>(raw.size()), &count), S_OK);
    std::vector<std::wstring> arguments;
    for (UINT at = 0; at < count; ++at) {
        const bool isArgument =
            at > 0 && function.invkind == INVOKE_FUNC &&
            (function.lprgelemdescParam[at - 1].paramdesc.wParamFlags & PARAMFLAG_FRETVAL) == 0;
        if (isArgument) {
            arguments.emplace_back(raw.at(at), SysStringLen(raw.at(at)));
        }
        SysFreeString(raw.at(at));
    }
    return arguments;
}

/// Returns the number of members.
int ExpectExplained(ITypeInfo* info) {
    int members = 0;
    const check::TypeAttributes attributes(info);
    for (UINT slot = 0; attributes->typekind == TKIND_DISPATCH && slot < attributes->cFuncs; ++slot) {
        const check::FunctionDescription function(info, slot);
        if (function->memid > 0 && function->memid < 100) {  // the others are IDispatch's own
            ++members;
            Bstr name;
            Bstr help;
            info->GetDocumentation(function->memid, name.Receive(), help.Receive(), nullptr, nullptr);
            SCOPED_TRACE(Utf8FromText(name.Text() + L": " + help.Text()));
            for (const std::wstring& argument : ArgumentsOf(info, *function)) {
                EXPECT_TRUE(std::regex_search(help.Text(), std::wregex(L"\\b" + argument + L"\\b")))
                    << "not a word about " << Utf8FromText(argument);
            }
            EXPECT_TRUE(std::regex_search(help.Text(), std::wregex(L"Fehler|fehl")))
                << "not a word about errors";
            EXPECT_EQ(help.Text().find(L'\x00C3'), std::wstring::npos) << "stored in another encoding";
        }
    }
    return members;
}

TEST(Help, TellsArgumentsAndErrorsOfEveryMember) {
    for (const auto& [file, expected] :
         {std::pair(ComponentFile(), 137), std::pair(BinFolder() / L"DmsSolution.tlb", 13)}) {
        ComPtr<ITypeLib> library;
        ASSERT_EQ(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library.Receive()), S_OK);
        int members = 0;
        for (UINT at = 0; at < library->GetTypeInfoCount(); ++at) {
            ComPtr<ITypeInfo> info;
            ASSERT_EQ(library->GetTypeInfo(at, info.Receive()), S_OK);
            members += ExpectExplained(info.Get());
        }
        EXPECT_EQ(members, expected);
    }
}

/// After a refused login there is an object, and its answers are what the operations tell.
TEST(Help, PromisesNoMissingObjectAfterARefusedLogin) {
    ComPtr<ITypeLib> library;
    ASSERT_EQ(LoadTypeLibEx(ComponentFile().c_str(), REGKIND_NONE, library.Receive()), S_OK);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(library->GetTypeInfoOfGuid(IID__OrigELODMS, info.Receive()), S_OK);
    for (const wchar_t* const name : {L"oElo", L"PrintDokument", L"LoescheVerknuepfung"}) {
        MEMBERID member = MEMBERID_NIL;
        ASSERT_EQ(info->GetIDsOfNames(const_cast<LPOLESTR*>(&name), 1, &member), S_OK);
        Bstr help;
        ASSERT_EQ(info->GetDocumentation(member, nullptr, help.Receive(), nullptr, nullptr), S_OK);
        EXPECT_TRUE(std::regex_search(help.Text(),
                                      std::wregex(L"Anmeldung abgelehnt|abgelehnten Anmeldung|Lehnt das")))
            << Utf8FromText(help.Text());
        EXPECT_FALSE(std::regex_search(help.Text(), std::wregex(L"Nothing|91"))) << Utf8FromText(help.Text());
    }
}

}  // namespace
}  // namespace kandora::outside_tests
