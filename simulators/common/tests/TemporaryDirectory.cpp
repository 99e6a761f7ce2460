#include "simulators/common/tests/TemporaryDirectory.h"

#include <windows.h>

#include <objbase.h>

#include <filesystem>
#include <iterator>
#include <system_error>

#include "simulators/common/Files.h"

namespace kandora::simulators {

TemporaryDirectory::TemporaryDirectory() {
    wchar_t base[MAX_PATH] = {};
    GetTempPathW(static_cast<DWORD>(std::size(base)), base);
    // Process numbers come again; a directory that an ended test left must not be met.
    GUID unique{};
    CoCreateGuid(&unique);
    path_ = std::wstring(base) + L"simulator-" + std::to_wstring(unique.Data1) + L"-" +
            std::to_wstring(unique.Data2);
    CreateDirectories(path_);
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(path_), ignored);
}

std::wstring TemporaryDirectory::Write(std::wstring_view name, std::string_view content) const {
    std::wstring path = *this / name;
    CreateDirectories(path.substr(0, path.find_last_of(L"\\/")));
    WriteFileAtomically(path, content);
    return path;
}

}  // namespace kandora::simulators
