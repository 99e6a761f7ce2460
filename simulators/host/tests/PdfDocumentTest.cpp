#include <gmock/gmock.h>

#include "simulators/host/PdfDocument.h"
#include "simulators/host/tests/PdfReading.h"

namespace kandora::simulators {

namespace {

TEST(PdfDocument, EveryObjectLiesWhereTheTableSays) {
    PdfDocument document(L"Auswertung");
    for (int page = 0; page < 3; ++page) {
        document.AddPage();
        document.Text(static_cast<std::size_t>(page), 50, 700, PdfFont::Regular, 10, L"Seite");
        document.Line(static_cast<std::size_t>(page), 50, 100, 690, 0.5);
    }
    const PdfFile file(document.Render());
    // Catalogue, page list, two fonts, information, and two for each page.
    EXPECT_EQ(file.CheckObjects(), 5U + 2U * 3U);
    EXPECT_EQ(file.PageCount(), 3U);
    EXPECT_EQ(file.CheckStreams(), 3U);
}

TEST(PdfDocument, TextsAreInTheWesternCodePage) {
    PdfDocument document(L"Ä");
    document.AddPage();
    document.Text(0, 50, 700, PdfFont::Regular, 10, L"Zürich – Genève «ÄÖÜß» 5 €");
    document.Text(0, 50, 680, PdfFont::Bold, 10, L"(a\\b) Жук\r\n");
    const std::string bytes = document.Render();
    EXPECT_THAT(bytes, ::testing::HasSubstr("(Z\xFCrich \x96 Gen\xE8ve \xAB\xC4\xD6\xDC\xDF\xBB 5 \x80) Tj"));
    EXPECT_THAT(bytes, ::testing::HasSubstr("(\\(a\\\\b\\) ???  ) Tj"));
    EXPECT_THAT(bytes, ::testing::HasSubstr("/Encoding /WinAnsiEncoding"));
    EXPECT_THAT(bytes, ::testing::HasSubstr("/Title <FEFF00C4>"));
    EXPECT_THAT(PdfFile(bytes).Texts(),
                ::testing::ElementsAre(L"Zürich – Genève «ÄÖÜß» 5 €", L"(a\\b) ???  "));
}

TEST(PdfDocument, WidthsFollowTheFont) {
    EXPECT_DOUBLE_EQ(PdfWidth(L"12", PdfFont::Regular, 10), 2 * 5.56);
    EXPECT_DOUBLE_EQ(PdfWidth(L"1'2", PdfFont::Regular, 10), 2 * 5.56 + 1.91);
    EXPECT_DOUBLE_EQ(PdfWidth(L"1'2", PdfFont::Bold, 10), 2 * 5.56 + 2.38);
    EXPECT_DOUBLE_EQ(PdfWidth(L"Ü", PdfFont::Regular, 1000), PdfWidth(L"U", PdfFont::Regular, 1000));
    EXPECT_DOUBLE_EQ(PdfWidth(L"éàïß", PdfFont::Regular, 1000), 556 + 556 + 278 + 611);
    EXPECT_EQ(PdfWidth(L"", PdfFont::Bold, 10), 0);
}

TEST(PdfDocument, ATextCanEndAtAPlace) {
    PdfDocument document(L"");
    document.AddPage();
    document.TextEndingAt(0, 100, 700.5, PdfFont::Regular, 10, L"00");
    EXPECT_THAT(document.Render(), ::testing::HasSubstr("BT /F1 10 Tf 88.88 700.5 Td (00) Tj ET\n"));
}

}  // namespace

}  // namespace kandora::simulators
