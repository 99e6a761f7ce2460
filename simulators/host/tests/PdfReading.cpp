#include "simulators/host/tests/PdfReading.h"

#include <gtest/gtest.h>

#include "interfaces/CodePages.h"

namespace kandora::simulators {
namespace {

std::size_t NumberAt(const std::string& bytes, std::size_t at) {
    return std::stoul(bytes.substr(at, 10));
}

std::wstring FromWestern(const std::string& bytes) {
    return OutOfCodePage(1252, bytes);
}

}  // namespace

std::size_t PdfFile::CheckObjects() const {
    const std::string mark = "startxref\n";
    const std::size_t end = bytes_.rfind(mark);
    EXPECT_TRUE(bytes_.starts_with("%PDF-"));
    EXPECT_TRUE(bytes_.ends_with("%%EOF\n"));
    if (end == std::string::npos) {
        ADD_FAILURE() << "no startxref";
        return 0;
    }
    const std::size_t table = NumberAt(bytes_, end + mark.size());
    EXPECT_EQ(bytes_.substr(table, 7), "xref\n0 ");
    const std::size_t count = NumberAt(bytes_, table + 7);
    const std::size_t rows = bytes_.find('\n', table + 7) + 1;
    constexpr std::size_t rowLength = 20;
    for (std::size_t number = 1; number < count; ++number) {
        const std::size_t row = rows + number * rowLength;
        EXPECT_EQ(bytes_.substr(row + 10, 10), " 00000 n \n");
        const std::string start = std::to_string(number) + " 0 obj\n";
        EXPECT_EQ(bytes_.substr(NumberAt(bytes_, row), start.size()), start);
    }
    EXPECT_EQ(bytes_.substr(rows + count * rowLength, 8), "trailer\n");
    return count - 1;
}

std::size_t PdfFile::CheckStreams() const {
    std::size_t count = 0;
    const std::string mark = "/Length ";
    for (std::size_t at = bytes_.find(mark); at != std::string::npos; at = bytes_.find(mark, at + 1)) {
        const std::size_t length = NumberAt(bytes_, at + mark.size());
        const std::size_t start = bytes_.find("stream\n", at) + 7;
        EXPECT_EQ(bytes_.substr(start + length, 9), "endstream");
        ++count;
    }
    return count;
}

std::size_t PdfFile::PageCount() const {
    const std::string mark = "/Type /Pages /Count ";
    const std::size_t at = bytes_.find(mark);
    return at == std::string::npos ? 0 : NumberAt(bytes_, at + mark.size());
}

std::vector<std::wstring> PdfFile::Texts() const {
    std::vector<std::wstring> texts;
    for (std::size_t at = bytes_.find(" Td ("); at != std::string::npos; at = bytes_.find(" Td (", at)) {
        std::string text;
        for (at += 5; bytes_.at(at) != ')'; ++at) {
            at += bytes_[at] == '\\' ? 1U : 0U;
            text += bytes_.at(at);
        }
        texts.push_back(FromWestern(text));
    }
    return texts;
}

}  // namespace kandora::simulators
