#pragma once

#include <utility>

#include <windows.h>

#include <unknwn.h>

namespace kandora {

/// Owns one reference to an object, or none. The toolchain's own class of this name does not serve: in some
/// versions its Attach adds a reference to the one that it takes over, in others not.
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
    ~ComPtr() { Reset(); }

    /// Takes over the one reference that the caller holds.
    [[nodiscard]] static ComPtr Adopt(Interface* object) noexcept {
        ComPtr pointer;
        pointer.object_ = object;
        return pointer;
    }

    [[nodiscard]] Interface* Get() const noexcept { return object_; }
    Interface* operator->() const noexcept { return object_; }
    Interface& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    /// The place where a function delivers a reference; what was held is released.
    [[nodiscard]] Interface** Receive() noexcept {
        Reset();
        return &object_;
    }
    /// The same for functions that deliver an interface by its id.
    [[nodiscard]] void** ReceiveVoid() noexcept { return reinterpret_cast<void**>(Receive()); }

    /// Empty when the object does not answer to the identifier.
    template <class Other>
    [[nodiscard]] ComPtr<Other> As(REFIID iid = __uuidof(Other)) const noexcept {
        ComPtr<Other> other;
        object_->QueryInterface(iid, other.ReceiveVoid());
        return other;
    }

    void Reset() noexcept {
        if (Interface* const object = std::exchange(object_, nullptr)) {
            object->Release();
        }
    }

private:
    Interface* object_ = nullptr;
};

/// A new object; the returned pointer owns its first reference.
template <class Object, class... Arguments>
[[nodiscard]] ComPtr<Object> MakeObject(Arguments&&... arguments) {
    return ComPtr<Object>::Adopt(new Object(std::forward<Arguments>(arguments)...));
}

}  // namespace kandora
