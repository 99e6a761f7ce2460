#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "tests/support/Unique.h"

namespace kandora::test {

/// A new, empty folder below the system's one for temporary files. It is removed with this object, contents
/// included; if that is impossible, the test fails.
class TemporaryFolder : Unique {
public:
    enum class Removal {
        AtItsEnd,
        /// For what this process has loaded out of it: the next process that makes such a folder removes it.
        ByTheNext,
    };

    explicit TemporaryFolder(Removal removal = Removal::AtItsEnd);
    ~TemporaryFolder();

    [[nodiscard]] const std::filesystem::path& Path() const noexcept { return path_; }
    /// The path of something in it.
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }
    /// Writes a file into it, with the folders above it, and answers its path.
    std::filesystem::path Write(const std::filesystem::path& name, std::string_view bytes) const;

private:
    Removal removal_;
    std::filesystem::path path_;
};

void WriteBytes(const std::filesystem::path& file, std::string_view bytes);
/// The bytes of a file, which must be there.
std::string BytesOf(const std::filesystem::path& file);

/// Waits until the condition holds; false when it does not come to hold in a minute.
bool Eventually(const std::function<bool()>& condition);

}  // namespace kandora::test
