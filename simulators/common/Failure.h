#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace kandora::simulators {

/// A failure that a person is to read. The message is German and complete; what() gives it in UTF-8.
class Failure : public std::runtime_error {
public:
    explicit Failure(std::wstring_view message);

    [[nodiscard]] const std::wstring& Message() const noexcept { return message_; }

private:
    std::wstring message_;
};

/// The system's text for a Win32 error code or HRESULT, followed by the code in brackets.
std::wstring SystemMessage(unsigned long code);

}  // namespace kandora::simulators
