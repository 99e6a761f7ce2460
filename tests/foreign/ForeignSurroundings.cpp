#include "tests/foreign/ForeignSurroundings.h"
#include "interfaces/CodePages.h"
#include "interfaces/ComObject.h"
#include "tests/support/Unique.h"

#include <malloc.h>
#include <ole2.h>

#include <array>
#include <clocale>
#include <sstream>

namespace kandora::foreign_tests {

namespace {

/// A library in a folder beside this program, loaded for as long as it lives.
class Library : test::Unique {
public:
    explicit Library(const wchar_t* file)
        : module_(LoadLibraryExW((Folder() / file).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
        EXPECT_NE(module_, nullptr) << Utf8FromText(file) << ": " << GetLastError();
    }
    ~Library() { FreeLibrary(module_); }

    /// Calls a function that takes nothing and returns a number.
    [[nodiscard]] int Call(const char* function) const {
        return reinterpret_cast<int (*)()>(reinterpret_cast<void*>(GetProcAddress(module_, function)))();
    }

private:
    static fs::path Folder() {
        std::array<wchar_t, 1024> self{};
        GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
        return fs::path(self.data()).parent_path();
    }

    HMODULE module_;
};

constexpr const wchar_t* runtimeLibrary = L"toolchain\\" KANDORA_RUNTIME_LIBRARY;
constexpr const wchar_t* throwingLibrary = L"toolchain\\ThrowingLibrary.dll";
constexpr const wchar_t* listeningLibrary = L"listener\\libgcc_s_dw2-1.dll";

std::string NothingSpecial(Stage& stage) {
    return stage.Play();
}

std::string RuntimeLibraryBefore(Stage& stage) {
    const Library runtime(runtimeLibrary);
    return stage.Play();
}

std::string RuntimeLibraryAfter(Stage& stage) {
    const Component component(stage.installation.Library());
    const Library runtime(runtimeLibrary);
    return stage.Play(component);
}

std::string RuntimeLibraryThatLeaves(Stage& stage) {
    auto runtime = std::make_unique<Library>(runtimeLibrary);
    const Component component(stage.installation.Library());
    runtime.reset();
    return stage.Play(component);
}

std::string RuntimeLibraryThatComesAndGoes(Stage& stage) {
    std::unique_ptr<Library> runtime;
    return stage.Play(
        {[&] { runtime = runtime == nullptr ? std::make_unique<Library>(runtimeLibrary) : nullptr; }, [] {}});
}

std::string LibraryThatThrows(Stage& stage) {
    const Library library(throwingLibrary);
    const auto throwAndCatch = [&] { EXPECT_EQ(library.Call("ThrowAndCatch"), 7); };
    return stage.Play({throwAndCatch, throwAndCatch});
}

/// The component must not call into a library merely because of its name.
std::string LibraryThatListens(Stage& stage) {
    const Library library(listeningLibrary);
    const int heard = library.Call("Heard");  // its own start code may call it
    const std::string told = stage.Play();
    EXPECT_EQ(library.Call("Heard"), heard);
    return told;
}

std::string TwoCopies(Stage& stage) {
    const Component first(stage.installation.Library());
    const Library library(throwingLibrary);
    const Component second(stage.installation.Copy(L"Zwei"));
    EXPECT_NE(first.Module(), second.Module());
    const std::string told = stage.Play(first);
    EXPECT_EQ(stage.Play(second), told);
    EXPECT_EQ(library.Call("ThrowAndCatch"), 7);
    return stage.Play(first);
}

// --- Arithmetic ---

/// Control words of both parts of the processor that calculate.
struct Words {
    std::uint16_t coprocessor;
    std::uint32_t vectors;

    static Words Now() {
        Words now{};
        asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(now.coprocessor), "=m"(now.vectors));
        return now;
    }
    void Set() const { asm volatile("fldcw %0\n\tldmxcsr %1" : : "m"(coprocessor), "m"(vectors)); }
    bool operator==(const Words&) const = default;
};

/// As usual: no exceptions, rounding to the nearest. Otherwise: exceptions; less precision, with tiny numbers
/// taken for 0; rounding down.
constexpr Words asUsual{0x027F, 0x1F80};
constexpr Words interrupting{0x0240, 0x0000};
constexpr Words imprecise{0x007F, 0x9F80};
constexpr Words roundingDown{0x067F, 0x3F80};

/// The host calculates with these words.
template <const Words& words>
std::string Calculating(Stage& stage) {
    Words found = words;
    const std::string told = stage.Play({[] { words.Set(); },
                                         [&] {
                                             found = Words::Now();
                                             asm volatile("fwait");  // what is pending strikes here
                                             asUsual.Set();
                                             EXPECT_TRUE(found == words)
                                                 << std::hex << found.coprocessor << " " << found.vectors;
                                         }});
    asUsual.Set();
    return told;
}

/// The host's objects divide by 0 in each call and leave other control words behind.
std::string CalleesThatCalculate(Stage& stage) {
    return stage.Play({[] { asUsual.Set(); }, [] { EXPECT_TRUE(Words::Now() == asUsual); },
                       [] {
                           asm volatile("fldz\n\tfld1\n\tfdivp\n\tfstp %%st(0)" : : : "memory");
                           interrupting.Set();
                       }});
}

// --- Stack ---

/// Calls the function with a stack pointer that is so many bytes off the alignment that today's compilers
/// expect. On 64-bit the system itself guarantees it.
struct Shifted {
    int bytes;
    void (*run)(void*);
    void* argument;

    void Call() const {
#ifdef __i386__
        asm volatile("movl %%esp, %%esi\n\t"
                     "andl $-16, %%esp\n\t"
                     "subl (%0), %%esp\n\t"
                     "subl $12, %%esp\n\t"
                     "pushl 8(%0)\n\t"
                     "call *4(%0)\n\t"
                     "movl %%esi, %%esp"
                     :
                     : "b"(this)
                     : "esi", "eax", "ecx", "edx", "memory", "cc");
#else
        run(argument);
#endif
    }
};

template <int bytes>
std::string ShiftedStack(Stage& stage) {
    struct Run {
        Stage& stage;
        std::string told;
    } run{stage, {}};
    Shifted{bytes,
            [](void* argument) {
                auto* const given = static_cast<Run*>(argument);
                given->told = given->stage.Play();
            },
            &run}
        .Call();
    return run.told;
}

std::size_t LeftOfStack() {
    MEMORY_BASIC_INFORMATION stack{};
    VirtualQuery(&stack, &stack, sizeof stack);
    return reinterpret_cast<std::uintptr_t>(&stack) - reinterpret_cast<std::uintptr_t>(stack.AllocationBase);
}

/// Uses up the stack but for so many bytes, and calls the function. A thread with a small stack would not do:
/// wine gives none less than a megabyte.
[[gnu::noinline]] void WithStack(std::size_t bytes, const std::function<void()>& function) {
    const std::size_t left = LeftOfStack();
    ASSERT_GT(left, bytes);
    auto* const used = static_cast<volatile char*>(_alloca(left - bytes));
    used[0] = 'x';
    function();
    used[0] = 'y';
}

template <std::size_t kilobytes>
std::string SmallStack(Stage& stage) {
    std::string told;
    WithStack(kilobytes * 1024, [&] { told = stage.Play(); });
    return told;
}

// --- Language ---

struct Language {
    LCID id;
    const char* name;  ///< as the C library knows it
};
constexpr Language german{0x0407, "German_Germany"};
constexpr Language swiss{0x0807, "German_Switzerland"};
constexpr Language french{0x040C, "French_France"};
constexpr Language turkish{0x041F, "Turkish_Turkey"};
constexpr Language japanese{0x0411, "Japanese_Japan"};

/// Somebody has changed the C library's language, and the thread's.
template <const Language& language>
std::string Speaking(Stage& stage) {
    EXPECT_NE(std::setlocale(LC_ALL, language.name), nullptr);
    EXPECT_TRUE(SetThreadLocale(language.id));
    const std::string set = std::setlocale(LC_ALL, nullptr);
    const std::string told = stage.Play();
    EXPECT_EQ(GetThreadLocale(), language.id);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), set);
    return told;
}

// --- The process ---

/// The current folder has been moved away.
std::string CurrentFolderGone(Stage& stage) {
    const fs::path folder = stage.installation.Library().parent_path() / L"vorher";
    fs::create_directories(folder / L"darin");
    EXPECT_TRUE(SetCurrentDirectoryW((folder / L"darin").c_str()));
    EXPECT_TRUE(MoveFileW(folder.c_str(), fs::path(folder).replace_filename(L"nachher").c_str()));
    EXPECT_EQ(GetFileAttributesW(L"."), INVALID_FILE_ATTRIBUTES);
    return stage.Play();
}

std::string NamelessUser(Stage& stage) {
    for (const wchar_t* const name : {L"USERNAME", L"COMPUTERNAME"}) {
        EXPECT_TRUE(SetEnvironmentVariableW(name, nullptr));
    }
    return stage.Play();
}

std::string OtherSearchPath(Stage& stage) {
    EXPECT_TRUE(SetDllDirectoryW(L"C:\\nirgends"));
    EXPECT_TRUE(SetEnvironmentVariableW(L"PATH", L"C:\\nirgends"));
    return stage.Play();
}

std::string NoConsole(Stage& stage) {
    FreeConsole();
    for (const DWORD which : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
        CloseHandle(GetStdHandle(which));
        SetStdHandle(which, nullptr);
    }
    return stage.Play();
}

std::string ErrorModes(Stage& stage) {
    UINT mode = 0;
    return stage.Play({[&] {
                           // Every combination that there is, in turn.
                           mode = (mode + 1) % 8;
                           SetErrorMode((mode & 3) | ((mode & 4) != 0 ? SEM_NOOPENFILEERRORBOX : 0U));
                       },
                       [&] {
                           const UINT set = (mode & 3) | ((mode & 4) != 0 ? SEM_NOOPENFILEERRORBOX : 0U);
                           EXPECT_EQ(SetErrorMode(0), set);
                       }});
}

std::string Ole(Stage& stage) {
    EXPECT_EQ(OleInitialize(nullptr), S_OK);
    const std::string told = stage.PlayHere();
    OleUninitialize();
    return told;
}

std::string ManyThreaded(Stage& stage) {
    const Apartment apartment(COINIT_MULTITHREADED);
    return stage.PlayHere();
}

/// A host's own answer to busy programs.
class Filter final : public LentComObject<IMessageFilter> {
public:
    DWORD STDMETHODCALLTYPE HandleInComingCall(DWORD, HTASK, DWORD, LPINTERFACEINFO) override {
        return SERVERCALL_ISHANDLED;
    }
    DWORD STDMETHODCALLTYPE RetryRejectedCall(HTASK, DWORD, DWORD) override { return static_cast<DWORD>(-1); }
    DWORD STDMETHODCALLTYPE MessagePending(HTASK, DWORD, DWORD) override { return PENDINGMSG_WAITDEFPROCESS; }
};

std::string SecurityAndMessageFilter(Stage& stage) {
    const Apartment apartment;
    EXPECT_EQ(CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_NONE,
                                   RPC_C_IMP_LEVEL_IDENTIFY, nullptr, EOAC_NONE, nullptr),
              S_OK);
    Filter filter;
    EXPECT_EQ(CoRegisterMessageFilter(&filter, nullptr), S_OK);
    const std::string told = stage.PlayHere();
    IMessageFilter* found = nullptr;
    EXPECT_EQ(CoRegisterMessageFilter(nullptr, &found), S_OK);
    EXPECT_EQ(found, &filter);
    return told;
}

const auto all = std::to_array<Surroundings>({
    {"NothingSpecial", NothingSpecial},
    {"RuntimeLibraryBefore", RuntimeLibraryBefore},
    {"RuntimeLibraryAfter", RuntimeLibraryAfter},
    {"RuntimeLibraryThatLeaves", RuntimeLibraryThatLeaves},
    {"RuntimeLibraryThatComesAndGoes", RuntimeLibraryThatComesAndGoes},
    {"LibraryThatThrows", LibraryThatThrows},
    {"LibraryThatListens", LibraryThatListens},
    {"TwoCopies", TwoCopies},
    {"ArithmeticThatInterrupts", Calculating<interrupting>},
    {"ImpreciseArithmetic", Calculating<imprecise>},
    {"ArithmeticThatRoundsDown", Calculating<roundingDown>},
    {"CalleesThatCalculate", CalleesThatCalculate},
    {"StackAt4", ShiftedStack<4>},
    {"StackAt8", ShiftedStack<8>},
    {"StackAt12", ShiftedStack<12>},
    {"SmallStack", SmallStack<256>},
    {"StackThatJustSuffices", SmallStack<80>},
    {"German", Speaking<german>},
    {"Swiss", Speaking<swiss>},
    {"French", Speaking<french>},
    {"Turkish", Speaking<turkish>},
    {"Japanese", Speaking<japanese>},
    {"CurrentFolderGone", CurrentFolderGone},
    {"NamelessUser", NamelessUser},
    {"OtherSearchPath", OtherSearchPath},
    {"NoConsole", NoConsole},
    {"ErrorModes", ErrorModes},
    {"Ole", Ole},
    {"ManyThreaded", ManyThreaded},
    {"SecurityAndMessageFilter", SecurityAndMessageFilter},
});

}  // namespace

std::string Stage::Play(const Component& component, const Around& around) {
    const Apartment apartment;
    return foreign_tests::Play(installation, component, boxes, around);
}

std::string Stage::PlayHere(const Around& around) {
    return foreign_tests::Play(installation, Component(installation.Library()), boxes, around);
}

std::string SendOnLittleStack(Stage& stage) {
    const Apartment apartment;
    const Component component(stage.installation.Library());
    Ready ready(stage.installation, component);
    std::ostringstream told;
    HRESULT nested = E_UNEXPECTED;
    WithStack(std::size_t{72} * 1024, [&] { nested = ready.SendNested(); });
    told << "nested " << nested << "\n";
    for (const std::size_t kilobytes : {60U, 32U, 24U, 16U}) {
        told << "-- " << kilobytes << "\n";
        const auto tell = [&](const std::string& name, const std::function<HRESULT()>& call) {
            HRESULT outcome = E_UNEXPECTED;
            WithStack(kilobytes * 1024, [&] { outcome = call(); });
            told << name << " " << std::hex << static_cast<std::uint32_t>(outcome) << std::dec << "\n";
            for (const std::wstring& box : stage.boxes.Take()) {
                told << "    " << Utf8FromText(box) << "\n";
            }
        };
        for (std::size_t request = 0; request < RequestNames().size(); ++request) {
            tell(RequestNames()[request], [&] { return ready.Send(request); });
        }
        tell("CheckLogin", [&] { return ready.CheckLogin(); });
    }
    // Nothing of it is left.
    told << "-- afterwards\n" << std::hex << ready.Send(0) << ready.CheckLogin() << "\n";
    for (const std::wstring& box : stage.boxes.Take()) {
        told << "    " << Utf8FromText(box) << "\n";
    }
    return told.str();
}

std::span<const Surroundings> AllSurroundings() {
    return all;
}

}  // namespace kandora::foreign_tests
