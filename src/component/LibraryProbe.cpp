// Not part of the component: a program that uses what the component uses of the C++ library. When the build
// is configured, it is linked with LibraryFailures.cpp and Terminate.cpp to see whether their functions can
// replace the library's.
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "automation/Errors.h"

namespace kandora {

RuntimeError::RuntimeError(std::int32_t number) : number_(number), line_(0) {}
RuntimeError::RuntimeError(const RuntimeError&) = default;
RuntimeError::~RuntimeError() = default;

}  // namespace kandora

int main(int count, char** words) {
    const auto size = static_cast<std::size_t>(count);
    try {
        std::vector<std::wstring> texts(size, L"text");
        texts.reserve(texts.size() * size);
        texts.insert(texts.begin(), texts.at(size - 1).substr(size));
        std::string bytes(words[0]);
        bytes.replace(size, size, bytes).append(bytes, size);
        std::function<std::size_t(const std::string&)> length;
        if (count > 1) {
            length = [](const std::string& text) { return text.size(); };
        }
        std::variant<int, std::wstring> either = count;
        std::optional<std::size_t> maybe = length(bytes);
        const auto shared = std::make_shared<std::vector<int>>(std::get<int>(either));
        const std::unique_ptr<int[]> numbers(new int[maybe.value()]);
        return numbers[0] + shared->at(size);
    } catch (const std::bad_alloc&) {
        return 2;
    } catch (...) {
        return 3;
    }
}
