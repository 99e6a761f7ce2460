#include "tests/support/BuiltFile.h"

#include <array>

#include <windows.h>

namespace kandora::test {

namespace fs = std::filesystem;

fs::path OwnFile() {
    std::array<wchar_t, 1024> path{};
    GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    return path.data();
}

fs::path BuiltFile(const fs::path& name) {
    for (fs::path folder = OwnFile().parent_path(); folder.has_relative_path();
         folder = folder.parent_path()) {
        if (fs::path found = folder / name; fs::exists(found)) {
            return found.make_preferred();
        }
    }
    return name;
}

}  // namespace kandora::test
