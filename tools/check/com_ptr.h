#pragma once

#include <utility>

#include <windows.h>

#include <unknwn.h>

namespace kandora::check {

/// Owns one reference.
template <class Interface>
class ComPtr {
public:
    ComPtr() noexcept = default;
    explicit ComPtr(Interface* owned) noexcept : object_(owned) {}
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ComPtr& operator=(ComPtr&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;
    ~ComPtr() { Reset(); }

    [[nodiscard]] Interface* Get() const noexcept { return object_; }
    Interface* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }
    /// For functions that deliver a reference.
    Interface** Receive() noexcept {
        Reset();
        return &object_;
    }
    void** ReceiveVoid() noexcept { return reinterpret_cast<void**>(Receive()); }
    void Reset() noexcept {
        if (Interface* const object = std::exchange(object_, nullptr)) {
            object->Release();
        }
    }

private:
    Interface* object_ = nullptr;
};

}  // namespace kandora::check
