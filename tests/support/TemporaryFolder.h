#pragma once

#include <string>

#include "automation/Text.h"

namespace kandora::test {

/// A new, empty folder below the system's one for temporary files; it goes with this object, and what is in
/// it too.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const Text& Path() const noexcept { return path_; }
    /// The path of something in it.
    Text operator/(const Text& name) const { return path_ + L"\\" + name; }
    /// Writes a file into it and answers its path.
    Text Write(const Text& name, const std::string& bytes) const;

private:
    Text path_;
};

/// The bytes of a file.
std::string BytesOf(const Text& path);

}  // namespace kandora::test
