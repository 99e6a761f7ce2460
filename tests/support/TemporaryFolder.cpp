#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <windows.h>

namespace kandora::test {

TemporaryFolder::TemporaryFolder() {
    static std::atomic<int> counter = 0;
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        (L"kandora_" + std::to_wstring(GetCurrentProcessId()) + L"_" + std::to_wstring(++counter));
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    path_ = folder.wstring();
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Text TemporaryFolder::Write(const Text& name, const std::string& bytes) const {
    Text path = *this / name;
    std::ofstream(std::filesystem::path(path), std::ios::binary) << bytes;
    return path;
}

std::string BytesOf(const Text& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace kandora::test
