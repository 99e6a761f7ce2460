#include <windows.h>

#include <cstdio>
#include <cstring>

// A program that faults: in another thread when it is told "thread", else in its main thread.
namespace {

[[gnu::no_sanitize("undefined")]] DWORD WINAPI Fault(void*) {
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;  // NOLINT(clang-analyzer-core.NullDereference): that is what it is for
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::puts("begun");
    std::fflush(stdout);
    if (argc == 2 && std::strcmp(argv[1], "thread") == 0) {
        WaitForSingleObject(CreateThread(nullptr, 0, &Fault, nullptr, 0, nullptr), INFINITE);
    } else {
        Fault(nullptr);
    }
    std::puts("ended");
    return 0;
}
