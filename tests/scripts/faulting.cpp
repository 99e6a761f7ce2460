#include <windows.h>

#include <cstdio>
#include <cstring>

// Faults, in its main thread or in another one.
namespace {

DWORD WINAPI Fault(void*) {
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
