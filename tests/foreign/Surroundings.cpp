#include "Surroundings.h"

#include <array>

namespace kandora::foreign_tests {

namespace {

/// A library in a folder beside this program, loaded for as long as it lives.
class Library {
public:
    explicit Library(const wchar_t* file)
        : module_(LoadLibraryExW((Folder() / file).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
        EXPECT_NE(module_, nullptr) << component_tests::Utf8(file) << ": " << GetLastError();
    }
    ~Library() { FreeLibrary(module_); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

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

/// Nobody tells it anything, whatever it is called.
std::string LibraryThatListens(Stage& stage) {
    const Library library(listeningLibrary);
    const int heard = library.Call("Heard");  // its own start code may believe the name
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

const auto all = std::to_array<Surroundings>({
    {"NothingSpecial", NothingSpecial},
    {"RuntimeLibraryBefore", RuntimeLibraryBefore},
    {"RuntimeLibraryAfter", RuntimeLibraryAfter},
    {"RuntimeLibraryThatLeaves", RuntimeLibraryThatLeaves},
    {"RuntimeLibraryThatComesAndGoes", RuntimeLibraryThatComesAndGoes},
    {"LibraryThatThrows", LibraryThatThrows},
    {"LibraryThatListens", LibraryThatListens},
    {"TwoCopies", TwoCopies},
});

}  // namespace

std::string Stage::Play(const Component& component, const Around& around) {
    const Apartment apartment;
    return foreign_tests::Play(installation, component, boxes, around);
}

std::span<const Surroundings> AllSurroundings() {
    return all;
}

}  // namespace kandora::foreign_tests
