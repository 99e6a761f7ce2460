// Bears the name of the toolchain's runtime library and counts how often it is told of functions.

namespace {

int heard = 0;

}  // namespace

extern "C" {

// NOLINTNEXTLINE(bugprone-reserved-identifier): the toolchain's name
__declspec(dllexport) void __register_frame_info(const void*, void*) {
    ++heard;
}
__declspec(dllexport) void* __deregister_frame_info(const void*) {  // NOLINT(bugprone-reserved-identifier)
    ++heard;
    return nullptr;
}
__declspec(dllexport) int Heard() {
    return heard;
}

}  // extern "C"
