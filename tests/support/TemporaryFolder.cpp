#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

#include <gtest/gtest.h>

#include <windows.h>

#include "tools/kit/RemoveTree.h"

namespace kandora::test {

namespace fs = std::filesystem;

namespace {

constexpr const wchar_t* keptName = L"Kandora-kept-";

void RemoveKept(const fs::path& parent) {
    for (const fs::directory_entry& each : fs::directory_iterator(parent)) {
        if (each.path().filename().wstring().starts_with(keptName)) {
            kit::RemoveTree(each.path());
        }
    }
}

}  // namespace

TemporaryFolder::TemporaryFolder(Removal removal) : removal_(removal) {
    static std::atomic<int> counter = 0;
    const fs::path parent = fs::temp_directory_path();
    if (removal == Removal::ByTheNext) {
        RemoveKept(parent);
    }
    path_ = parent / ((removal == Removal::ByTheNext ? keptName : L"Kandora-") +
                      std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++counter));
    kit::RemoveTree(path_);
    fs::create_directories(path_);
}

// NOLINTNEXTLINE(bugprone-exception-escape): a folder that cannot be removed ends the program
TemporaryFolder::~TemporaryFolder() {
    if (removal_ == Removal::ByTheNext) {
        return;
    }
    // A program that has just ended may still hold a file for a moment.
    EXPECT_TRUE(Eventually([this] { return kit::RemoveTree(path_); })) << path_ << " stays behind";
}

fs::path TemporaryFolder::Write(const fs::path& name, std::string_view bytes) const {
    fs::path path = *this / name;
    fs::create_directories(path.parent_path());
    WriteBytes(path, bytes);
    return path;
}

void WriteBytes(const fs::path& file, std::string_view bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string BytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream.good()) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

bool Eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}  // namespace kandora::test
