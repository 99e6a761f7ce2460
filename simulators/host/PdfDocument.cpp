#include "simulators/host/PdfDocument.h"

#include <windows.h>

#include <cstdint>
#include <cstdio>

#include "interfaces/CodePages.h"

namespace kandora::simulators {

namespace {

using Widths = std::array<std::uint16_t, 95>;

/// Advance widths in thousandths of the size, for the characters 0x20 to 0x7E.
constexpr Widths regularWidths{
    278, 278, 355, 556, 556, 889, 667, 191, 333, 333, 389, 584, 278, 333,  278, 278, 556, 556, 556,
    556, 556, 556, 556, 556, 556, 556, 278, 278, 584, 584, 584, 556, 1015, 667, 667, 722, 722, 667,
    611, 778, 722, 278, 500, 667, 556, 833, 722, 778, 667, 778, 722, 667,  611, 722, 667, 944, 667,
    667, 611, 278, 278, 278, 469, 556, 333, 556, 556, 500, 556, 556, 278,  556, 556, 222, 222, 500,
    222, 833, 556, 556, 556, 556, 333, 500, 278, 556, 500, 722, 500, 500,  500, 334, 260, 334, 584};
constexpr Widths boldWidths{278, 333, 474, 556, 556, 889, 722, 238, 333, 333, 389, 584, 278, 333, 278, 278,
                            556, 556, 556, 556, 556, 556, 556, 556, 556, 556, 333, 333, 584, 584, 584, 611,
                            975, 722, 722, 722, 722, 667, 611, 778, 722, 278, 556, 722, 611, 833, 722, 778,
                            667, 778, 722, 667, 611, 722, 667, 944, 667, 667, 611, 333, 278, 333, 584, 556,
                            333, 556, 611, 556, 611, 556, 333, 611, 611, 278, 278, 556, 278, 889, 611, 611,
                            611, 611, 389, 556, 333, 611, 556, 778, 556, 556, 500, 389, 280, 389, 584};

/// From 0xC0 on: an accented letter is as wide as the letter itself.
constexpr std::string_view plainLetters = "AAAAAAMCEEEEIIIIDNOOOOO+OUUUUYPF"
                                          "aaaaaamceeeettttonooooo+ouuuuypy";
static_assert(plainLetters.size() == 64);
constexpr unsigned firstAccented = 0xC0;
/// Dashes, quotation marks and signs; an average, which would show only in text made of nothing else.
constexpr std::uint16_t otherWidth = 556;

std::string WinAnsi(std::wstring_view text) {
    std::string bytes = InCodePage(1252, WC_NO_BEST_FIT_CHARS, text, "?");
    for (char& byte : bytes) {
        if (static_cast<unsigned char>(byte) < 0x20) {
            byte = ' ';
        }
    }
    return bytes;
}

std::uint16_t WidthOf(unsigned char byte, const Widths& widths) {
    if (byte >= firstAccented) {
        byte = static_cast<unsigned char>(plainLetters[byte - firstAccented]);
    }
    return byte < 0x7F ? widths[byte - 0x20U] : otherWidth;
}

/// A number with at most two decimals.
std::string Number(double value) {
    std::array<char, 32> text{};
    const int length = std::snprintf(text.data(), text.size(), "%.2f", value);
    std::string number(text.data(), static_cast<std::size_t>(length));
    number.erase(number.find_last_not_of('0') + 1);
    if (number.ends_with('.')) {
        number.pop_back();
    }
    return number;
}

/// A string outside the pages, such as the title, where any character is allowed.
std::string Utf16Hex(std::wstring_view text) {
    std::string hex = "<FEFF";
    for (const wchar_t unit : text) {
        std::array<char, 8> digits{};
        std::snprintf(digits.data(), digits.size(), "%04X", static_cast<unsigned>(unit));
        hex += digits.data();
    }
    return hex + ">";
}

/// Numbers objects from 1 and remembers where each begins.
class ObjectWriter {
public:
    void Add(const std::string& body) {
        offsets_.push_back(file_.size());
        file_ += std::to_string(offsets_.size()) + " 0 obj\n" + body + "\nendobj\n";
    }

    std::string Finish(const std::string& trailer) {
        const std::size_t table = file_.size();
        const std::string count = std::to_string(offsets_.size() + 1);
        file_ += "xref\n0 " + count + "\n0000000000 65535 f \n";
        for (const std::size_t offset : offsets_) {
            std::array<char, 24> line{};
            std::snprintf(line.data(), line.size(), "%010u 00000 n \n", static_cast<unsigned>(offset));
            file_ += line.data();
        }
        file_ += "trailer\n<< /Size " + count + " " + trailer + " >>\nstartxref\n" + std::to_string(table) +
                 "\n%%EOF\n";
        return std::move(file_);
    }

private:
    /// The second line tells programs that transfer files that this one is not text.
    std::string file_ = "%PDF-1.4\n%\xE4\xF6\xFC\xDF\n";
    std::vector<std::size_t> offsets_;
};

}  // namespace

double PdfWidth(std::wstring_view text, PdfFont font, double size) {
    double width = 0;
    for (const char byte : WinAnsi(text)) {
        width +=
            WidthOf(static_cast<unsigned char>(byte), font == PdfFont::Bold ? boldWidths : regularWidths);
    }
    return width * size / 1000;
}

void PdfDocument::Text(std::size_t page, double x, double y, PdfFont font, double size,
                       std::wstring_view text) {
    std::string& content = pages_.at(page);
    content += "BT /";
    content += font == PdfFont::Bold ? "F2 " : "F1 ";
    content += Number(size) + " Tf " + Number(x) + " " + Number(y) + " Td (";
    for (const char byte : WinAnsi(text)) {
        if (byte == '(' || byte == ')' || byte == '\\') {
            content += '\\';
        }
        content += byte;
    }
    content += ") Tj ET\n";
}

void PdfDocument::TextEndingAt(std::size_t page, double x, double y, PdfFont font, double size,
                               std::wstring_view text) {
    Text(page, x - PdfWidth(text, font, size), y, font, size, text);
}

void PdfDocument::Line(std::size_t page, double x1, double x2, double y, double thickness) {
    pages_.at(page) += Number(thickness) + " w " + Number(x1) + " " + Number(y) + " m " + Number(x2) + " " +
                       Number(y) + " l S\n";
}

std::string PdfDocument::Render() const {
    constexpr std::size_t firstPage = 6;
    ObjectWriter writer;
    writer.Add("<< /Type /Catalog /Pages 2 0 R /Lang (de-CH) >>");
    std::string kids;
    for (std::size_t page = 0; page < pages_.size(); ++page) {
        kids += std::to_string(firstPage + 2 * page) + " 0 R ";
    }
    writer.Add("<< /Type /Pages /Count " + std::to_string(pages_.size()) + " /Kids [ " + kids + "] >>");
    for (const char* name : {"Helvetica", "Helvetica-Bold"}) {
        writer.Add(std::string("<< /Type /Font /Subtype /Type1 /BaseFont /") + name +
                   " /Encoding /WinAnsiEncoding >>");
    }
    writer.Add("<< /Title " + Utf16Hex(title_) + " >>");
    for (std::size_t page = 0; page < pages_.size(); ++page) {
        writer.Add("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + Number(pageWidth) + " " +
                   Number(pageHeight) + "] /Resources << /Font << /F1 3 0 R /F2 4 0 R >> >> /Contents " +
                   std::to_string(firstPage + 2 * page + 1) + " 0 R >>");
        writer.Add("<< /Length " + std::to_string(pages_[page].size()) + " >>\nstream\n" + pages_[page] +
                   "endstream");
    }
    return writer.Finish("/Root 1 0 R /Info 5 0 R");
}

}  // namespace kandora::simulators
