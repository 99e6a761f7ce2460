#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "automation/Text.h"

namespace kandora {

/// Run-time error numbers that this system raises or maps to, as every automation client knows them.
namespace errors {
inline constexpr std::int32_t invalidArgument = 5;
inline constexpr std::int32_t overflow = 6;
inline constexpr std::int32_t outOfMemory = 7;
inline constexpr std::int32_t subscript = 9;
inline constexpr std::int32_t arrayLocked = 10;
inline constexpr std::int32_t divisionByZero = 11;
inline constexpr std::int32_t typeMismatch = 13;
inline constexpr std::int32_t outOfStack = 28;
inline constexpr std::int32_t internal = 51;
inline constexpr std::int32_t fileNotFound = 53;
inline constexpr std::int32_t fileAlreadyOpen = 55;
inline constexpr std::int32_t deviceInput = 57;
inline constexpr std::int32_t diskFull = 61;
inline constexpr std::int32_t badFileName = 52;
inline constexpr std::int32_t permissionDenied = 70;
inline constexpr std::int32_t pathFileAccess = 75;
inline constexpr std::int32_t pathNotFound = 76;
inline constexpr std::int32_t objectMissing = 91;
inline constexpr std::int32_t invalidUseOfNull = 94;
inline constexpr std::int32_t cannotCreateObject = 429;
inline constexpr std::int32_t noAutomation = 430;
inline constexpr std::int32_t unknownMember = 438;
inline constexpr std::int32_t namedArguments = 446;
inline constexpr std::int32_t argumentMissing = 448;
inline constexpr std::int32_t argumentNotOptional = 449;
inline constexpr std::int32_t argumentCount = 450;
inline constexpr std::int32_t duplicateKey = 457;
inline constexpr std::int32_t serverGone = 462;
}  // namespace errors

/// The one exception of this system: everything that can fail raises it.
class RuntimeError : public std::exception {
public:
    /// With the description that belongs to the number.
    explicit RuntimeError(std::int32_t number);
    RuntimeError(std::int32_t number, Text description, Text source = {}, std::int32_t line = 0);
    RuntimeError(const RuntimeError&);
    RuntimeError& operator=(const RuntimeError&);
    ~RuntimeError() override;

    /// A run-time number above, one that this system or a called object has chosen, or a negative HRESULT; 0
    /// only where a box without an error is shown.
    [[nodiscard]] std::int32_t Number() const noexcept { return number_; }
    [[nodiscard]] const Text& Description() const noexcept { return description_; }
    [[nodiscard]] const Text& Source() const noexcept { return source_; }
    /// Line number of the failing statement; 0 where statements carry none.
    [[nodiscard]] std::int32_t Line() const noexcept { return line_; }

    /// Number and description in UTF-8, for test output.
    [[nodiscard]] const char* what() const noexcept override { return what_.c_str(); }

private:
    std::int32_t number_;
    Text description_;
    Text source_;
    std::int32_t line_;
    std::string what_;
};

/// The German description of a number; one that only names it when there is none.
Text DescriptionOf(std::int32_t number);

/// The run-time number of a failed HRESULT; the HRESULT itself (negative) when there is none.
std::int32_t NumberOf(std::int32_t hresult) noexcept;

/// The run-time number of a Windows error code of a file operation; 75 when there is no better one.
std::int32_t NumberOfFileError(std::uint32_t windowsError) noexcept;

/// The HRESULT under which a number is handed to an outside caller.
std::int32_t HresultOf(std::int32_t number) noexcept;

/// Raises the error of `hresult` when it is a failure.
void RequireSuccess(std::int32_t hresult);

/// Whatever exception is being handled, as a RuntimeError. To be called inside a catch block only. Raises
/// nothing but std::bad_alloc, when there is no memory even for the error.
RuntimeError CurrentError();
/// Its number alone, for which no memory is needed.
std::int32_t CurrentNumber() noexcept;

}  // namespace kandora
