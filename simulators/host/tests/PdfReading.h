#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kandora::simulators {

/// A PDF file without compression, read back with code of its own. Any fault in it fails the running test.
class PdfFile {
public:
    explicit PdfFile(std::string bytes) : bytes_(std::move(bytes)) {}

    /// Looks every object up through the table at the file's end; the number of objects.
    std::size_t CheckObjects() const;

    /// Compares every stream's length with what its dictionary says; the number of streams.
    [[nodiscard]] std::size_t CheckStreams() const;

    /// The number of pages that the page list gives.
    [[nodiscard]] std::size_t PageCount() const;

    /// The shown texts, in the order in which they are drawn.
    [[nodiscard]] std::vector<std::wstring> Texts() const;

private:
    std::string bytes_;
};

}  // namespace kandora::simulators
