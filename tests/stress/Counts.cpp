#include "tests/stress/Counts.h"

#include <windows.h>

#include <objidl.h>
#include <psapi.h>
#include <tlhelp32.h>

#include <atomic>
#include <cstdint>
#include <ostream>
#include <set>
#include <vector>

#include "interfaces/ComObject.h"
#include "simulators/common/DispatchObject.h"
#include "tests/support/PassingMallocSpy.h"

namespace kandora::stress_tests {

namespace {

std::atomic<long> outstanding =
    0;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): COM has one spy

class Spy final : public test::PassingMallocSpy {
public:
    void* STDMETHODCALLTYPE PostAlloc(void* block) override {
        outstanding += block != nullptr ? 1 : 0;
        return block;
    }
    void* STDMETHODCALLTYPE PreFree(void* block, BOOL isSpied) override {
        outstanding -= isSpied && block != nullptr ? 1 : 0;
        return block;
    }
};

Spy& TheSpy() {
    static Spy spy;
    return spy;
}

int Threads() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    int count = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(snapshot);
    return count;
}

int StorageSlots() {
    std::vector<DWORD> slots;
    for (DWORD slot = TlsAlloc(); slot != TLS_OUT_OF_INDEXES; slot = TlsAlloc()) {
        slots.push_back(slot);
    }
    for (const DWORD slot : slots) {
        TlsFree(slot);
    }
    return static_cast<int>(slots.size());
}

/// Not every system knows how many there are, but each can say whether a number is a handle.
int Handles() {
    constexpr std::uintptr_t highest = 0x8000;
    int count = 0;
    for (std::uintptr_t value = 4; value < highest; value += 4) {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1 : 0;
    }
    return count;
}

BOOL CALLBACK CountWindow(HWND, LPARAM count) {
    ++*reinterpret_cast<int*>(count);
    return TRUE;
}

BOOL CALLBACK CountOwnWindow(HWND window, LPARAM count) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    return process == GetCurrentProcessId() ? CountWindow(window, count) : TRUE;
}

/// The window that is above all message windows, or null while there are none. The one that leads to it may
/// be another program's and go at any time.
HWND AboveMessageWindows() {
    static HWND found = nullptr;
    while (found == nullptr) {
        const HWND one = FindWindowExW(HWND_MESSAGE, nullptr, nullptr, nullptr);
        if (one == nullptr) {
            break;
        }
        found = GetAncestor(one, GA_PARENT);
    }
    return found;
}

// To ask for one window behind the other does not serve: when the former is just going, wine 10's server
// looks for the latter for ever.
int Windows() {
    int count = 0;
    EnumThreadWindows(GetCurrentThreadId(), CountWindow, reinterpret_cast<LPARAM>(&count));
    if (const HWND above = AboveMessageWindows(); above != nullptr) {
        EnumChildWindows(above, CountOwnWindow, reinterpret_cast<LPARAM>(&count));
    }
    return count;
}

/// Calls what it is given for every block in use.
template <class Visit>
void ForBlocksOf(HANDLE heap, const Visit& visit) {
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heap);
    while (HeapWalk(heap, &entry)) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
            visit(entry);
        }
    }
    HeapUnlock(heap);
}

void CountHeaps(Counts& counts) {
    std::vector<HANDLE> heaps(64);
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    for (const HANDLE heap : heaps) {
        ForBlocksOf(heap, [&](const PROCESS_HEAP_ENTRY& entry) {
            ++counts.heapBlocks;
            counts.heapBytes += entry.cbData;
        });
    }
}

}  // namespace

AllocationSpy::AllocationSpy() {
    outstanding = 0;
    CoRegisterMallocSpy(&TheSpy());
}

AllocationSpy::~AllocationSpy() {
    CoRevokeMallocSpy();
}

long AllocationSpy::Outstanding() noexcept {
    return outstanding;
}

Counts Counts::Now() {
    Counts counts;
    counts.objects = simulators::DispatchObject::LiveObjects();
    counts.allocations = AllocationSpy::Outstanding();
    counts.handles = Handles();
    counts.gdiObjects = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
    counts.userObjects = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
    counts.windows = Windows();
    counts.threads = Threads();
    counts.storageSlots = StorageSlots();
    CountHeaps(counts);
    PROCESS_MEMORY_COUNTERS memory{};
    memory.cb = sizeof memory;
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    counts.privateBytes = memory.PagefileUsage;
    return counts;
}

bool AreBlocksGrouped() {
    constexpr std::size_t enough = 256;  // groups begin with blocks that are often asked for
    const HANDLE heap = GetProcessHeap();
    std::set<const void*> blocks;
    while (blocks.size() < enough) {
        blocks.insert(HeapAlloc(heap, 0, 40));
    }
    std::size_t seen = 0;
    ForBlocksOf(heap, [&](const PROCESS_HEAP_ENTRY& entry) { seen += blocks.count(entry.lpData); });
    for (const void* const block : blocks) {
        HeapFree(heap, 0, const_cast<void*>(block));
    }
    return seen < blocks.size();
}

std::ostream& operator<<(std::ostream& stream, const Counts& counts) {
    return stream << counts.objects << " objects, " << counts.allocations << " COM allocations, "
                  << counts.handles << " handles, " << counts.gdiObjects << " GDI and " << counts.userObjects
                  << " USER objects, " << counts.windows << " windows, " << counts.threads << " threads, "
                  << counts.storageSlots << " free TLS slots, " << counts.heapBlocks << " heap blocks of "
                  << counts.heapBytes << " bytes, " << counts.privateBytes << " private bytes";
}

}  // namespace kandora::stress_tests
