// A library of somebody else's, with the toolchain's runtime libraries beside it.

#include <stdexcept>
#include <string>

namespace {

[[gnu::noinline]] void Throw(const std::string& text) {
    throw std::runtime_error(text);
}

}  // namespace

extern "C" __declspec(dllexport) int ThrowAndCatch() {
    try {
        Throw("Störung");
    } catch (const std::exception&) {
        return 7;
    }
    return 0;
}
