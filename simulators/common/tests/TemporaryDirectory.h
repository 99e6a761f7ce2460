#pragma once

#include <string>
#include <string_view>

namespace kandora::simulators {

/// A new, empty directory below the system's one for temporary files.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::wstring& Path() const noexcept { return path_; }
    /// The path of something in it.
    std::wstring operator/(std::wstring_view name) const { return path_ + L"\\" + std::wstring(name); }
    /// Writes a file there, with the directories above it, and answers its path.
    std::wstring Write(std::wstring_view name, std::string_view content) const;

private:
    std::wstring path_;
};

}  // namespace kandora::simulators
