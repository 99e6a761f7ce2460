#include "tools/check/OutputFile.h"

#include <array>

#include "automation/Errors.h"
#include "interfaces/CodePages.h"
#include "tools/check/CheckCommandLine.h"

namespace kandora::check {

OutputFile::OutputFile(const Text& path)
    : path_(path), handle_(path.empty() ? nullptr
                                        : CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {
    if (!path.empty() && !handle_) {
        throw UsageError(L"Die Datei «" + path + L"» lässt sich nicht schreiben: " +
                         DescriptionOf(NumberOfFileError(GetLastError())));
    }
}

void OutputFile::Write(const std::function<std::string()>& make) const {
    if (!handle_) {
        return;
    }
    const std::string bytes = make();
    for (std::size_t begin = 0; begin < bytes.size();) {
        DWORD written = 0;
        if (WriteFile(handle_.Get(), bytes.data() + begin, static_cast<DWORD>(bytes.size() - begin), &written,
                      nullptr) == FALSE ||
            written == 0) {
            const std::int32_t number = NumberOfFileError(GetLastError());
            throw RuntimeError(number, path_ + L": " + DescriptionOf(number));
        }
        begin += written;
    }
}

Text ReadLine() {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    DWORD read = 0;
    if (GetConsoleMode(input, &mode) != FALSE) {
        std::array<wchar_t, 256> typed{};
        if (ReadConsoleW(input, typed.data(), static_cast<DWORD>(typed.size()), &read, nullptr) == FALSE) {
            return {};
        }
        const Text line(typed.data(), read);
        return line.substr(0, line.find_first_of(L"\r\n"));
    }
    std::string bytes;
    for (char byte = 0; ReadFile(input, &byte, 1, &read, nullptr) != FALSE && read == 1 && byte != '\n';) {
        if (byte != '\r') {
            bytes += byte;
        }
    }
    return TextFromUtf8(bytes);
}

}  // namespace kandora::check
