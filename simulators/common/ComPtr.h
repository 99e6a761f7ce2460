#pragma once

#include <utility>

/// Minimal counted reference to a COM object.
namespace kandora::simulators {

template <class Interface>
class ComPtr {
public:
    ComPtr() noexcept = default;
    /// Shares the object: takes a reference of its own.
    explicit ComPtr(Interface* object) noexcept : object_(object) {
        if (object_ != nullptr) {
            object_->AddRef();
        }
    }
    ComPtr(const ComPtr& other) noexcept : ComPtr(other.object_) {}
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ComPtr() {
        if (object_ != nullptr) {
            object_->Release();
        }
    }

    /// Takes over the one reference that the caller holds.
    static ComPtr Adopt(Interface* object) noexcept {
        ComPtr pointer;
        pointer.object_ = object;
        return pointer;
    }

    [[nodiscard]] Interface* Get() const noexcept { return object_; }
    Interface* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    /// The place where a creating call stores its result; drops what is held.
    Interface** Receive() noexcept {
        *this = ComPtr();
        return &object_;
    }

private:
    Interface* object_ = nullptr;
};

/// A new object, made with a count of one that the answer owns.
template <class Object, class... Arguments>
ComPtr<Object> MakeObject(Arguments&&... arguments) {
    return ComPtr<Object>::Adopt(new Object(std::forward<Arguments>(arguments)...));
}

}  // namespace kandora::simulators
