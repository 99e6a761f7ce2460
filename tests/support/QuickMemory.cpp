// A faster heap for programs with so many cases that wine's took half of their time. A freed block goes into
// the list of its size and is given out again from there; large blocks are left to the heap. Allocations by
// the platform's own functions are not affected. The sweep of failing allocations and the leak tests do
// without it.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <thread>

namespace {

/// Stands before each block; large enough to keep the block aligned for anything.
union alignas(std::max_align_t) Header {
    std::size_t size;  ///< its place among the sizes, while it is given out
    Header* next;      ///< while it is free
};

constexpr std::size_t step = sizeof(Header);
constexpr std::size_t sizes = 1024 / step;
constexpr std::size_t supply = 64 * 1024;  ///< bytes that are taken from the heap at once

std::array<Header*, sizes> freeBlocks{};  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)
std::atomic_flag taken;                   // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

class Turn {
public:
    Turn() {
        while (taken.test_and_set(std::memory_order_acquire)) {
            std::this_thread::yield();
        }
    }
    ~Turn() { taken.clear(std::memory_order_release); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
};

/// Null when the heap has none.
Header* NewBlocks(std::size_t blockSize) {
    const std::size_t count = supply / blockSize;
    auto* const memory = static_cast<std::byte*>(std::malloc(count * blockSize));
    Header* first = nullptr;
    for (std::size_t at = 0; memory != nullptr && at < count; ++at) {
        first = new (memory + at * blockSize) Header{.next = first};
    }
    return first;
}

Header* Take(std::size_t size) {
    const std::size_t place = (size + step - 1) / step;
    if (place >= sizes) {
        auto* const large = static_cast<Header*>(std::malloc(sizeof(Header) + size));
        return large == nullptr ? nullptr : new (large) Header{.size = sizes};
    }
    const Turn turn;
    Header*& first = freeBlocks[place];
    if (first == nullptr) {
        first = NewBlocks((place + 1) * step);
    }
    Header* const block = first;
    if (block != nullptr) {
        first = block->next;
        block->size = place;
    }
    return block;
}

void Give(void* memory) noexcept {
    if (memory == nullptr) {
        return;
    }
    Header* const block = static_cast<Header*>(memory) - 1;
    const std::size_t place = block->size;
    if (place == sizes) {
        std::free(block);
        return;
    }
    const Turn turn;
    block->next = freeBlocks[place];
    freeBlocks[place] = block;
}

}  // namespace

void* operator new(std::size_t size) {
    if (auto* const block = Take(size); block != nullptr) {
        return block + 1;  // NOLINT(misc-const-correctness): the caller writes there
    }
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void operator delete(void* memory) noexcept {
    Give(memory);
}
void operator delete[](void* memory) noexcept {
    Give(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    Give(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    Give(memory);
}
