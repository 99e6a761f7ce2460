#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <utility>

/// How calls of automation objects fail.
namespace kandora::simulators {

/// A failure that the caller receives as DISP_E_EXCEPTION. Numbers from 1 to 65535 travel as 0x800A0000 plus
/// the number, anything else is taken as the code itself. An empty source is filled with the object's class
/// name.
class AutomationError {
public:
    explicit AutomationError(std::int32_t number, std::wstring description, std::wstring source = {})
        : number_(number), description_(std::move(description)), source_(std::move(source)) {}

    [[nodiscard]] std::int32_t Number() const noexcept { return number_; }
    [[nodiscard]] const std::wstring& Description() const noexcept { return description_; }
    [[nodiscard]] const std::wstring& Source() const noexcept { return source_; }

private:
    std::int32_t number_;
    std::wstring description_;
    std::wstring source_;
};

/// A failure that is answered with the bare code.
class HresultError {
public:
    explicit HresultError(HRESULT code) noexcept : code_(code) {}
    [[nodiscard]] HRESULT Code() const noexcept { return code_; }

private:
    HRESULT code_;
};

/// A conversion that failed, with the argument's place, so that the caller learns which one it was.
class ArgumentError : public HresultError {
public:
    ArgumentError(HRESULT code, std::size_t index) noexcept : HresultError(code), index_(index) {}
    std::size_t Index() const noexcept { return index_; }

private:
    std::size_t index_;
};

/// What a caller gets to see of an exception.
struct FailedCall {
    HRESULT code = S_OK;       ///< the answer of Invoke
    std::int32_t number = 0;   ///< for DISP_E_EXCEPTION: the code in EXCEPINFO
    std::wstring description;  ///< for DISP_E_EXCEPTION
    std::wstring source;       ///< for DISP_E_EXCEPTION
    std::size_t argument = 0;  ///< for DISP_E_TYPEMISMATCH and DISP_E_OVERFLOW: the argument in call order
    bool namesArgument = false;
};

/// Describes the exception that is being handled; call it only inside a catch block.
FailedCall DescribeCurrentException(const std::wstring& defaultSource);

}  // namespace kandora::simulators
