#pragma once

#include <windows.h>

namespace kandora::check {

/// Owns a handle of the system; empty when nothing could be opened.
class Handle {
public:
    Handle() = default;
    explicit Handle(HANDLE opened) noexcept : handle_(opened == INVALID_HANDLE_VALUE ? nullptr : opened) {}
    ~Handle() {
        if (handle_ != nullptr) {
            CloseHandle(handle_);
        }
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    explicit operator bool() const noexcept { return handle_ != nullptr; }
    [[nodiscard]] HANDLE Get() const noexcept { return handle_; }
    /// For functions that deliver one into an empty place.
    HANDLE* Receive() noexcept { return &handle_; }

private:
    HANDLE handle_ = nullptr;
};

}  // namespace kandora::check
