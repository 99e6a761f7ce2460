#include "tests/support/ModuleHook.h"

#include <stdexcept>
#include <string>

namespace kandora::test {

namespace {

/// The place in the module's import table that holds the address; null when there is none.
void** PlaceOf(HMODULE module, const void* address) {
    auto* const base = reinterpret_cast<std::byte*>(module);
    const auto* const dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dosHeader->e_lfanew);
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    const auto* row = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
    for (; row->FirstThunk != 0; ++row) {
        for (auto** place = reinterpret_cast<void**>(base + row->FirstThunk); *place != nullptr; ++place) {
            if (*place == address) {
                return place;
            }
        }
    }
    return nullptr;
}

void Store(void** place, void* value) {
    DWORD protection = 0;
    VirtualProtect(static_cast<void*>(place), sizeof value, PAGE_READWRITE, &protection);
    *place = value;
    VirtualProtect(static_cast<void*>(place), sizeof value, protection, &protection);
}

}  // namespace

ModuleHook::ModuleHook(HMODULE module, const char* library, const char* function, void* replacement) {
    const HMODULE exporter = LoadLibraryA(library);
    original_ = exporter == nullptr ? nullptr : reinterpret_cast<void*>(GetProcAddress(exporter, function));
    place_ = original_ == nullptr ? nullptr : PlaceOf(module, original_);
    if (place_ == nullptr) {
        throw std::runtime_error(std::string("the module does not import ") + function);
    }
    Store(place_, replacement);
}

ModuleHook::~ModuleHook() {
    Store(place_, original_);
}

}  // namespace kandora::test
