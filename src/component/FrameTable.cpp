// How the unwinder finds the functions of this module, without anybody else's help.
//
// On 32-bit the toolchain's start code looks for a shared runtime library in the process. When somebody else
// has loaded one, it tells only that one where the descriptions of this module's functions are. The unwinder
// that is linked into this module never hears of them, and the first error would end the host. Here the start
// code registers nothing, and the unwinder asks the module's own table. On 64-bit the system knows the
// functions by itself.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include <windows.h>

#include <cxxabi.h>

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the toolchain's names

/// This module as it is loaded, from its first byte on. As bytes and not as the header that they begin with:
/// the compiler would take everything behind that for outside.
extern "C" const std::byte __ImageBase[];

namespace kandora {

namespace {

using Word = std::uint32_t;

Word WordAt(const std::byte* place) {
    Word word = 0;
    std::memcpy(&word, place, sizeof word);
    return word;
}

/// An entry of the section that the compiler fills: a function's description, or what several of them have in
/// common. Each begins with the length of the rest; one of no length separates or ends them. The words of a
/// description: length, distance to the common part, distance to the function's beginning, its size. The
/// tests of the built file fail if a toolchain writes them in another way.
class Entry {
public:
    explicit Entry(const std::byte* place) : place_(place) {}

    [[nodiscard]] const std::byte* Place() const { return place_; }
    [[nodiscard]] const std::byte* Next() const { return place_ + sizeof(Word) + WordAt(place_); }
    [[nodiscard]] bool IsFunction() const {
        return WordAt(place_) != 0 && WordAt(place_ + sizeof(Word)) != 0;
    }
    [[nodiscard]] const std::byte* Begin() const {
        const std::byte* const distance = place_ + 2 * sizeof(Word);
        return distance + static_cast<std::int32_t>(WordAt(distance));
    }
    [[nodiscard]] bool Covers(const std::byte* code) const {
        return code >= Begin() && code < Begin() + WordAt(place_ + 3 * sizeof(Word));
    }

private:
    const std::byte* place_;
};

/// Calls `visit` with the description of each function until it returns true.
template <class Visit>
void ForEachFunction(std::span<const std::byte> section, Visit&& visit) {
    const std::byte* place = section.data();
    while (place < section.data() + section.size()) {
        const Entry entry(place);
        if (entry.IsFunction() && visit(entry)) {
            return;
        }
        place = entry.Next();
    }
}

/// The section with the descriptions, whose name an image cuts to eight bytes.
std::span<const std::byte> DescriptionSection() {
    const std::byte* const base = __ImageBase;
    const auto distance = reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew;
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + distance);
    const IMAGE_SECTION_HEADER* const sections = IMAGE_FIRST_SECTION(headers);
    for (const IMAGE_SECTION_HEADER& each : std::span(sections, headers->FileHeader.NumberOfSections)) {
        if (std::memcmp(static_cast<const BYTE*>(each.Name), ".eh_frame", sizeof each.Name) == 0) {
            return {base + each.VirtualAddress, each.Misc.VirtualSize};
        }
    }
    return {};
}

struct Row {
    const std::byte* begin;
    const std::byte* description;
};

/// The component has fewer functions (KANDORA_MOST_FUNCTIONS comes from the build); with more than this, each
/// search goes through all descriptions.
std::array<Row, KANDORA_MOST_FUNCTIONS> rows;

/// Filled once, while the loader lets nobody else in, and only read from then on: an error needs neither
/// memory nor a lock to find its handler.
class Table {
public:
    void Fill() {
        section_ = DescriptionSection();
        ForEachFunction(section_, [this](Entry entry) {
            isComplete_ = count_ < rows.size();
            if (isComplete_) {
                rows[count_++] = {entry.Begin(), entry.Place()};
            }
            return !isComplete_;
        });
        std::sort(rows.data(), rows.data() + count_,
                  [](const Row& left, const Row& right) { return left.begin < right.begin; });
    }

    /// The description of the function that the code belongs to; null when it is none of this module's.
    [[nodiscard]] const std::byte* Find(const std::byte* code) const {
        const std::byte* found = nullptr;
        if (!isComplete_) {
            ForEachFunction(section_, [&](Entry entry) {
                found = entry.Covers(code) ? entry.Place() : nullptr;
                return found != nullptr;
            });
            return found;
        }
        const auto* const next =
            std::upper_bound(rows.data(), rows.data() + count_, code,
                             [](const std::byte* sought, const Row& row) { return sought < row.begin; });
        if (next != rows.data() && Entry(std::prev(next)->description).Covers(code)) {
            found = std::prev(next)->description;
        }
        return found;
    }

private:
    std::span<const std::byte> section_;
    std::size_t count_ = 0;
    bool isComplete_ = false;
};

constinit Table table;

/// Before all other constructors, any of which may throw.
__attribute__((constructor(101))) void Prepare() {
    table.Fill();
    // What the process has only few of, such as slots of thread storage, is taken now: the first error needs
    // it. `volatile`, because the compiler takes the call for one without effects.
    [[maybe_unused]] static const void* volatile globals = nullptr;
    globals = abi::__cxa_get_globals();
}

}  // namespace

}  // namespace kandora

extern "C" {

/// What the unwinder wants to know besides the description; declared as the toolchain does.
struct dwarf_eh_bases {
    void* tbase;
    void* dbase;
    void* func;
};

/// The unwinder asks this for a function's description; it replaces the toolchain's own.
const void* _Unwind_Find_FDE(void* code, dwarf_eh_bases* bases) {
    const std::byte* const found = kandora::table.Find(static_cast<const std::byte*>(code));
    if (found != nullptr) {
        *bases = {nullptr, nullptr, const_cast<std::byte*>(kandora::Entry(found).Begin())};
    }
    return found;
}

// The linker puts these in the place of the start code's functions.

void __wrap___gcc_register_frame() {}

void __wrap___gcc_deregister_frame() {}

}  // extern "C"

// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
