#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>
#include <string_view>

/// Text helpers shared by the simulators: UTF-16 inside, UTF-8 in files and on pipes.
namespace kandora::simulators {

/// A failure that a person is to read. The message is German and complete; what() gives it in UTF-8.
class Failure : public std::runtime_error {
public:
    explicit Failure(std::wstring_view message);

    [[nodiscard]] const std::wstring& Message() const noexcept { return message_; }

private:
    std::wstring message_;
};

/// UTF-16 to UTF-8; embedded NULs survive, an unpaired surrogate becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);

/// UTF-8 to UTF-16; embedded NULs survive, invalid bytes become U+FFFD.
std::wstring FromUtf8(std::string_view bytes);

/// The text in the form in which names are compared where letter case does not count.
std::wstring FoldCase(std::wstring_view text);

bool EqualIgnoringCase(std::wstring_view left, std::wstring_view right);

/// The text of a BSTR with its length; a null pointer is the empty text.
std::wstring FromBstr(const wchar_t* bstr);

/// The system's text for a Win32 error code or HRESULT, followed by the code in brackets.
std::wstring SystemMessage(unsigned long code);

/// Writes one line to the standard output or error: UTF-16 to a console, UTF-8 to a file or pipe.
void PrintLine(std::wstring_view line);
void PrintErrorLine(std::wstring_view line);

}  // namespace kandora::simulators
