#include "automation/Errors.h"

#include <new>
#include <set>
#include <stdexcept>
#include <vector>

#include <windows.h>

#include <gtest/gtest.h>

#include "tests/support/Raised.h"

namespace kandora::test {
namespace {

struct Mapping {
    std::uint32_t hresult;
    std::int32_t number;
};

void PrintTo(const Mapping& row, std::ostream* stream) {
    *stream << HexCode(static_cast<HRESULT>(row.hresult)) << " is " << row.number;
}

class ErrorNumber : public testing::TestWithParam<Mapping> {};

TEST_P(ErrorNumber, BelongsToTheCode) {
    EXPECT_EQ(NumberOf(static_cast<std::int32_t>(GetParam().hresult)), GetParam().number);
    EXPECT_EQ(NumberRaisedBy([&] { RequireSuccess(static_cast<std::int32_t>(GetParam().hresult)); }),
              GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(Table, ErrorNumber,
                         testing::Values(Mapping{0x80020005, 13},   // type mismatch
                                         Mapping{0x80020008, 13},   // bad variable type
                                         Mapping{0x8002000A, 6},    // overflow
                                         Mapping{0x8002000B, 9},    // bad index
                                         Mapping{0x80020006, 438},  // unknown name
                                         Mapping{0x80020003, 438},  // member not found
                                         Mapping{0x8002000E, 450},  // argument count
                                         Mapping{0x80020004, 448},  // argument not found
                                         Mapping{0x8002000F, 449},  // argument not optional
                                         Mapping{0x80020012, 11},   // division by zero
                                         Mapping{0x80070057, 5},    // invalid argument
                                         Mapping{0x8007000E, 7},    // out of memory
                                         Mapping{0x80040154, 429},  // class not registered
                                         Mapping{0x800401F3, 429},  // bad class name
                                         Mapping{0x800706BA, 462},  // server unavailable
                                         Mapping{0x800706BE, 462},  // call failed
                                         Mapping{0x80010108, 462},  // disconnected
                                         Mapping{0x80010007, 462},  // server died
                                         Mapping{0x80070002, 53},   // file not found
                                         Mapping{0x80030002, 53},   // file not found in storage
                                         Mapping{0x800A0001, 1},    // numbers that were wrapped up
                                         Mapping{0x800A01B6, 438}, Mapping{0x800A1388, 5000},
                                         Mapping{0x800A01C9, 457}),
                         [](const auto& row) { return HexCode(static_cast<HRESULT>(row.param.hresult)); });

TEST(ErrorNumbers, KeepACodeThatHasNone) {
    EXPECT_EQ(NumberOf(static_cast<std::int32_t>(0x80004005U)), static_cast<std::int32_t>(0x80004005U));
    EXPECT_EQ(NumberOf(static_cast<std::int32_t>(0x80040E14U)), static_cast<std::int32_t>(0x80040E14U));
}

TEST(ErrorNumbers, AreHandedOutAsTheyCameIn) {
    EXPECT_EQ(HresultOf(5000), static_cast<std::int32_t>(0x800A1388U));
    EXPECT_EQ(HresultOf(5), static_cast<std::int32_t>(0x800A0005U));
    EXPECT_EQ(HresultOf(0), static_cast<std::int32_t>(0x800A0000U));
    EXPECT_EQ(HresultOf(static_cast<std::int32_t>(0x80004005U)), static_cast<std::int32_t>(0x80004005U));
    for (const std::int32_t number : {1, 5, 13, 91, 438, 1580, 5000, 5010, 31036}) {
        EXPECT_EQ(NumberOf(HresultOf(number)), number);
    }
}

TEST(ErrorNumbers, OfSuccessAreNotRaised) {
    EXPECT_EQ(NumberRaisedBy([] { RequireSuccess(S_OK); }), 0);
    EXPECT_EQ(NumberRaisedBy([] { RequireSuccess(S_FALSE); }), 0);
}

TEST(ErrorNumbers, OfFileOperations) {
    struct Case {
        std::uint32_t windowsError;
        std::int32_t number;
    };
    const std::vector<Case> cases{
        {ERROR_FILE_NOT_FOUND, 53}, {ERROR_PATH_NOT_FOUND, 76},
        {ERROR_ACCESS_DENIED, 70},  {ERROR_SHARING_VIOLATION, 70},
        {ERROR_DISK_FULL, 61},      {ERROR_PRINTER_NOT_FOUND, 75},  // anything else is a failed access
    };
    for (const Case& row : cases) {
        EXPECT_EQ(NumberOfFileError(row.windowsError), row.number) << row.windowsError;
    }
}

TEST(Descriptions, AreGermanAndEachItsOwn) {
    std::set<Text> texts;
    const std::vector<std::int32_t> numbers{5,  6,  7,  9,  10,  11,  13,  51,  52,  53,  55,  57,  61, 70,
                                            75, 76, 91, 94, 429, 430, 438, 446, 448, 449, 450, 457, 462};
    for (const std::int32_t number : numbers) {
        const Text text = DescriptionOf(number);
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(text.find(Decimal(number)), Text::npos) << number << " has a text of its own";
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), numbers.size());
}

TEST(Descriptions, NameANumberThatHasNoText) {
    EXPECT_NE(DescriptionOf(5555).find(L"5555"), Text::npos);
    EXPECT_NE(DescriptionOf(-2147467259).find(L"-2147467259"), Text::npos);
    EXPECT_NE(DescriptionOf(5555), DescriptionOf(5556));
}

TEST(AnError, CarriesItsParts) {
    const RuntimeError error(5000, L"Text ä", L"Quelle", 12);
    EXPECT_EQ(error.Number(), 5000);
    EXPECT_EQ(error.Description(), L"Text ä");
    EXPECT_EQ(error.Source(), L"Quelle");
    EXPECT_EQ(error.Line(), 12);
    EXPECT_STREQ(error.what(), "5000: Text ä");
}

TEST(AnError, OfANumberAloneHasItsDescriptionAndNoSource) {
    const RuntimeError error(91);
    EXPECT_EQ(error.Description(), DescriptionOf(91));
    EXPECT_EQ(error.Source(), L"");
    EXPECT_EQ(error.Line(), 0);
}

template <class Exception>
RuntimeError Caught(const Exception& exception) {
    try {
        throw exception;  // NOLINT(bugprone-exception-copy-constructor-throws): as the component does it
    } catch (...) {
        return CurrentError();
    }
}

TEST(AnyException, BecomesAnError) {
    EXPECT_EQ(Caught(RuntimeError(5010, L"Text", L"Quelle")).Source(), L"Quelle");
    EXPECT_EQ(Caught(std::bad_alloc()).Number(), 7);
    EXPECT_EQ(Caught(std::runtime_error("x")).Number(), 51);
    EXPECT_EQ(Caught(17).Number(), 51);
}

}  // namespace
}  // namespace kandora::test
