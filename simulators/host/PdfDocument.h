#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace kandora::simulators {

/// Which of the reader's built-in fonts a text is set in.
enum class PdfFont { Regular, Bold };

/// The text's width in points.
double PdfWidth(std::wstring_view text, PdfFont font, double size);

/// A PDF file of A4 pages with text and lines in the reader's built-in fonts. Lengths are points, counted
/// from the lower left corner of the page. Texts can hold what Windows' Western code page holds; other
/// characters become "?".
class PdfDocument {
public:
    static constexpr double pageWidth = 595;
    static constexpr double pageHeight = 842;

    explicit PdfDocument(std::wstring title) : title_(std::move(title)) {}

    /// The following texts and lines go onto a new page.
    void AddPage() { pages_.emplace_back(); }
    [[nodiscard]] std::size_t PageCount() const { return pages_.size(); }

    /// Draw on the page `page`, counted from 0; the base line lies at `y`.
    void Text(std::size_t page, double x, double y, PdfFont font, double size, std::wstring_view text);
    void TextEndingAt(std::size_t page, double x, double y, PdfFont font, double size,
                      std::wstring_view text);
    void Line(std::size_t page, double x1, double x2, double y, double thickness);

    /// The bytes of the file.
    [[nodiscard]] std::string Render() const;

private:
    std::wstring title_;
    /// The content stream of each page.
    std::vector<std::string> pages_;
};

}  // namespace kandora::simulators
