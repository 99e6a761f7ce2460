#include "tools/check/AccessList.h"

#include <array>
#include <random>
#include <string>

#include <sddl.h>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"
#include "tools/check/Handle.h"
#include "tools/check/OwnRights.h"
#include "tools/check/UserAccess.h"

namespace kandora::check {
namespace {

/// What somebody is who is no administrator.
const Sids users{L"S-1-1-0", L"S-1-5-11", L"S-1-5-32-545"};
const Text somebody = L"S-1-5-21-1-2-3-1105";

/// A descriptor in its text form, as `icacls /save` and the packages write it.
class Descriptor {
public:
    explicit Descriptor(const Text& text) {
        if (ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1, &descriptor_,
                                                                 nullptr) == FALSE) {
            throw std::runtime_error("no descriptor");
        }
    }
    ~Descriptor() { LocalFree(descriptor_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] PSECURITY_DESCRIPTOR Get() const { return descriptor_; }

private:
    PSECURITY_DESCRIPTOR descriptor_ = nullptr;
};

AccessList ListOf(const Text& text) {
    return AccessListFrom(Descriptor(text).Get());
}

/// A descriptor with a list of its own, or with none.
AccessList ListWith(BOOL isThere, ACL* entries) {
    SECURITY_DESCRIPTOR descriptor{};
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor, isThere, entries, FALSE);
    return AccessListFrom(&descriptor);
}

TEST(AccessList, GivesWhatItNames) {
    const AccessList list = ListOf(L"O:BAD:(A;;0x1200a9;;;BU)(A;;0x2;;;AU)(A;;FA;;;BA)(A;;FA;;;SY)");
    EXPECT_EQ(RightsOf(users, list), FILE_GENERIC_READ | FILE_GENERIC_EXECUTE | FILE_ADD_FILE);
    EXPECT_EQ(RightsOf({L"S-1-5-32-545"}, list), FILE_GENERIC_READ | FILE_GENERIC_EXECUTE);
    EXPECT_EQ(RightsOf({L"S-1-1-0"}, list), 0U);
    EXPECT_EQ(RightsOf({}, list), 0U);
}

TEST(AccessList, WhatComesFirstDecides) {
    EXPECT_EQ(RightsOf(users, ListOf(L"O:BAD:(D;;0x2;;;BU)(A;;0x3;;;BU)")), 0x1U);
    EXPECT_EQ(RightsOf(users, ListOf(L"O:BAD:(A;;0x3;;;BU)(D;;0x2;;;BU)")), 0x3U);
    EXPECT_EQ(RightsOf(users, ListOf(L"O:BAD:(A;;0x1;;;BU)(D;;0x3;;;BU)(A;;0x3;;;BU)")), 0x1U);
}

TEST(AccessList, DenialsOfOneGroupCountForAll) {
    const AccessList list = ListOf(L"O:BAD:(D;;0x2;;;AU)(A;;0x3;;;BU)");
    EXPECT_EQ(RightsOf(users, list), 0x1U);
    EXPECT_EQ(RightsOf({L"S-1-5-32-545"}, list), 0x3U);
    EXPECT_EQ(RightsOf(users, ListOf(L"O:BAD:(D;;0x2;;;BG)(A;;0x3;;;BU)")), 0x3U) << "guests are others";
}

TEST(AccessList, WhatIsOnlyForThingsBelowDoesNotCount) {
    EXPECT_EQ(RightsOf(users, ListOf(L"O:BAD:(A;OICIIO;FA;;;BU)")), 0U);
    EXPECT_EQ(RightsOf(users, ListOf(L"O:BAD:(D;OIIO;0x2;;;BU)(A;OICI;0x3;;;BU)")), 0x3U);
}

TEST(AccessList, KnowsGenericRights) {
    const std::pair<const wchar_t*, DWORD> rows[] = {{L"GR", FILE_GENERIC_READ},
                                                     {L"GW", FILE_GENERIC_WRITE},
                                                     {L"GX", FILE_GENERIC_EXECUTE},
                                                     {L"GA", FILE_ALL_ACCESS}};
    for (const auto& [generic, rights] : rows) {
        EXPECT_EQ(RightsOf(users, ListOf(L"O:BAD:(A;;" + Text(generic) + L";;;BU)")), rights);
        EXPECT_EQ(RightsOf(users, ListOf(L"O:BAD:(D;;" + Text(generic) + L";;;BU)(A;;FA;;;BU)")),
                  FILE_ALL_ACCESS & ~rights);
    }
}

TEST(AccessList, NoListIsOpenAndAnEmptyOneIsClosed) {
    EXPECT_EQ(RightsOf(users, ListWith(TRUE, nullptr)), DWORD{FILE_ALL_ACCESS});
    EXPECT_EQ(RightsOf(users, ListWith(FALSE, nullptr)), DWORD{FILE_ALL_ACCESS});
    EXPECT_TRUE(MayWriteIn(users, ListWith(TRUE, nullptr)));
    ACL empty{};
    InitializeAcl(&empty, sizeof(empty), ACL_REVISION);
    EXPECT_EQ(RightsOf(users, ListWith(TRUE, &empty)), 0U);
}

TEST(AccessList, ConditionsOnlyDeny) {
    std::array<DWORD, 64> space{};
    auto* const list = reinterpret_cast<ACL*>(space.data());
    InitializeAcl(list, sizeof(space), ACL_REVISION);
    SID everybody{SID_REVISION, 1, SECURITY_WORLD_SID_AUTHORITY, {SECURITY_WORLD_RID}};
    AddAccessAllowedAce(list, ACL_REVISION, 0x4, &everybody);
    AddAccessDeniedAce(list, ACL_REVISION, 0x1, &everybody);
    AddAccessAllowedAce(list, ACL_REVISION, 0x3, &everybody);
    const BYTE types[] = {ACCESS_ALLOWED_CALLBACK_ACE_TYPE, ACCESS_DENIED_CALLBACK_ACE_TYPE,
                          ACCESS_ALLOWED_ACE_TYPE};
    for (DWORD place = 0; place < std::size(types); ++place) {
        void* entry = nullptr;
        GetAce(list, place, &entry);
        static_cast<ACE_HEADER*>(entry)->AceType = types[place];
    }
    EXPECT_EQ(RightsOf(users, ListWith(TRUE, list)), 0x2U);
}

TEST(AccessList, OwnersMayReadAndChangeIt) {
    const Sids owner{somebody};
    EXPECT_EQ(RightsOf(owner, ListOf(L"O:" + somebody + L"D:(A;;FA;;;BA)")), READ_CONTROL | WRITE_DAC);
    EXPECT_EQ(RightsOf(owner, ListOf(L"O:" + somebody + L"D:(A;;0x4;;;OW)")), 0x4U) << "unless it names them";
    EXPECT_EQ(RightsOf(owner, ListOf(L"O:BAD:(A;;0x4;;;OW)")), 0U);
}

/// As the packages set it and the handbook has it with icacls.
const Text programFolder = L"O:BAD:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;CI;0x1200a9;;;BU)(A;OIIO;FR;;;BU)"
                           L"(A;;0x2;;;BU)";

TEST(AccessList, LogsAreWrittenWhereUsersMayCreateAndAppend) {
    EXPECT_TRUE(MayWriteIn(users, ListOf(programFolder + L"(A;OIIO;FRFW;;;OW)")));
    EXPECT_TRUE(MayWriteIn(users, ListOf(programFolder + L"(A;OICIIO;FRFW;;;CO)")));
    EXPECT_FALSE(MayWriteIn(users, ListOf(programFolder))) << "a first line, and never a second one";
    EXPECT_FALSE(MayWriteIn(users, ListOf(L"O:BAD:(A;OICI;0x1200a9;;;BU)(A;OIIO;FRFW;;;OW)")));
    EXPECT_TRUE(MayWriteIn(users, ListOf(L"O:BAD:(A;;FA;;;BA)(A;;0x2;;;BU)"))) << "nothing is inherited";
    EXPECT_TRUE(MayWriteIn(users, ListOf(L"O:BAD:(A;OICI;0x1301bf;;;AU)")));
    EXPECT_FALSE(MayWriteIn(users, ListOf(L"O:BAD:(D;OIIO;0x4;;;WD)(A;OICI;0x1301bf;;;AU)")));
}

TEST(AccessList, ProgramsAreLoadedWhereUsersMayReadAndExecute) {
    const AccessList component = ListOf(L"O:BAD:PAI(A;;FA;;;SY)(A;;FA;;;BA)(A;;0x1200a9;;;BU)");
    EXPECT_TRUE(MayLoad(users, component));
    EXPECT_TRUE(MayRead(users, component));
    const AccessList inherited = ListOf(L"O:BAD:AI(A;ID;FA;;;BA)(A;ID;FR;;;BU)(A;ID;FRFW;;;OW)");
    EXPECT_FALSE(MayLoad(users, inherited));
    EXPECT_TRUE(MayRead(users, inherited));
    EXPECT_FALSE(MayRead(users, ListOf(L"O:BAD:(A;;FA;;;BA)")));
}

TEST(AccessList, NamesThoseWhoMay) {
    const Text onlyGroup =
        L"O:BAD:(A;OICI;FA;;;BA)(A;OICI;FA;;;S-1-5-21-1-2-3-512)(A;OICI;FA;;;S-1-5-21-1-2-3-500)"
        L"(A;OICI;FR;;;S-1-5-21-1-2-3-1106)(A;OICI;0x1301bf;;;" +
        somebody + L")";
    EXPECT_EQ(NamedOnes(&MayWriteIn, users, ListOf(onlyGroup)), std::vector{somebody});
    EXPECT_EQ(
        NamedOnes(&MayWriteIn, users, ListOf(L"O:BAD:(D;;0x2;;;BU)(A;OICI;0x1301bf;;;" + somebody + L")")),
        std::vector<Text>());
    const UserAccess access = AccessBy(ListOf(onlyGroup), users, &MayWriteIn);
    EXPECT_EQ(access.permitted, Permitted::Named);
    EXPECT_EQ(access.named, somebody) << "nobody knows its name";
    EXPECT_EQ(AccessBy(ListOf(onlyGroup + L"(A;OICI;0x1301bf;;;BU)"), users, &MayWriteIn).permitted,
              Permitted::All);
    EXPECT_EQ(AccessBy(ListOf(L"O:BAD:(A;OICI;FA;;;BA)"), users, &MayWriteIn).permitted, Permitted::None);
    // The users of a domain are a group like others for whom is not in it.
    EXPECT_EQ(AccessBy(ListOf(L"O:BAD:(A;OICI;FA;;;S-1-5-21-1-2-3-513)"), users, &MayWriteIn).permitted,
              Permitted::Named);
}

TEST(AccessList, IsReadFromFilesAndFolders) {
    const test::TemporaryFolder folder;
    const Text file = folder.Write(L"Datei.txt", "x");
    const Sids own = RightsOfThisProgram().groups;
    const auto ofFolder = AccessListOf(folder.Path());
    const auto ofFile = AccessListOf(file);
    ASSERT_TRUE(ofFolder && ofFile);
    EXPECT_TRUE(MayWriteIn(own, *ofFolder));
    EXPECT_TRUE(MayRead(own, *ofFile));
    EXPECT_FALSE(AccessListOf(folder / L"gibt es nicht"));
}

constexpr DWORD rightsOfFiles = 0x1FF;

/// What the system itself gives this program, of a file's own rights. Each is asked for by itself: in an
/// answer to all at once, wine lets denials count that come too late.
DWORD GrantedBySystem(const Descriptor& descriptor) {
    Handle process;
    Handle token;
    OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE | TOKEN_QUERY, process.Receive());
    DuplicateToken(process.Get(), SecurityImpersonation, token.Receive());
    GENERIC_MAPPING mapping{FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE, FILE_ALL_ACCESS};
    DWORD all = 0;
    for (DWORD right = 1; right < rightsOfFiles; right <<= 1) {
        PRIVILEGE_SET privileges{};
        DWORD size = sizeof(privileges);
        DWORD granted = 0;
        BOOL isAllowed = FALSE;
        if (AccessCheck(descriptor.Get(), token.Get(), right, &mapping, &privileges, &size, &granted,
                        &isAllowed) == FALSE) {
            throw std::runtime_error("AccessCheck");
        }
        all |= isAllowed != FALSE ? right : 0;
    }
    return all;
}

TEST(AccessList, AgreesWithTheSystem) {
    constexpr int lists = 500;
    const Sids own = RightsOfThisProgram().groups;
    std::vector<Text> sids(own.begin(), own.end());
    sids.insert(sids.end(), {L"S-1-5-32-546", somebody});
    std::mt19937 random(15);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same lists each time
    const auto any = [&](std::size_t count) { return random() % count; };
    for (int round = 0; round < lists; ++round) {
        Text text = L"O:BAG:BAD:";
        for (auto entries = any(7); entries > 0; --entries) {
            constexpr const wchar_t* flags[] = {L"", L"OICI", L"OICIIO"};
            text += (any(3) == 0 ? L"(D;" : L"(A;") + Text(flags[any(std::size(flags))]) + L";" +
                    Decimal(static_cast<std::int64_t>(1 + any(rightsOfFiles))) + L";;;" +
                    sids[any(sids.size())] + L")";
        }
        const Descriptor descriptor(text);
        EXPECT_EQ(RightsOf(own, AccessListFrom(descriptor.Get())) & rightsOfFiles,
                  GrantedBySystem(descriptor) & rightsOfFiles)
            << AnsiFromText(text);
    }
}

}  // namespace
}  // namespace kandora::check
