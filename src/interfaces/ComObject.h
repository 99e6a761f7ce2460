#pragma once

#include <atomic>
#include <type_traits>

#include <windows.h>

#include <oaidl.h>

namespace kandora {

/// Base of a class that implements these interfaces: gives it QueryInterface. One that is derived from
/// IDispatch also answers for IDispatch; the first one is the object's identity.
template <class First, class... Others>
class ComInterfaces : public First, public Others... {
public:
    ComInterfaces(const ComInterfaces&) = delete;
    ComInterfaces& operator=(const ComInterfaces&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = wanted == IID_IUnknown ? static_cast<First*>(this) : Own<First, Others...>(wanted);
        if (*object == nullptr) {
            *object = Further(wanted);
        }
        if (*object == nullptr) {
            return E_NOINTERFACE;
        }
        static_cast<First*>(this)->AddRef();
        return S_OK;
    }

protected:
    ComInterfaces() = default;
    virtual ~ComInterfaces() = default;

    /// An interface that is not in the list, or null.
    virtual void* Further(REFIID /*wanted*/) noexcept { return nullptr; }

private:
    template <class Interface, class... Rest>
    void* Own(REFIID wanted) noexcept {
        const bool isDispatch = std::is_base_of_v<IDispatch, Interface> && wanted == IID_IDispatch;
        if (isDispatch || wanted == __uuidof(Interface)) {
            return static_cast<Interface*>(this);
        }
        if constexpr (sizeof...(Rest) > 0) {
            return Own<Rest...>(wanted);
        } else {
            return nullptr;
        }
    }
};

/// An object that lives as long as somebody has a reference. It begins with one, which whoever makes it owns.
template <class... Interfaces>
class ComObject : public ComInterfaces<Interfaces...> {
public:
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            references_ = 1;  // the destructor may lend the object out and must not end it again
            Finish();
        }
        return left;
    }

protected:
    explicit ComObject(ULONG references = 1) : references_(references) {}
    ~ComObject() override = default;

    [[nodiscard]] ULONG References() const noexcept { return references_; }

private:
    /// The end, when the last reference is gone.
    virtual void Finish() { delete this; }

    std::atomic<ULONG> references_;
};

/// An object that somebody else owns, whatever references there are.
template <class... Interfaces>
class LentComObject : public ComInterfaces<Interfaces...> {
public:
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

protected:
    LentComObject() = default;
    ~LentComObject() override = default;
};

/// An automation object of which nothing is described beforehand.
template <class Base>
class Undescribed : public Base {
public:
    using Base::Base;

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (count == nullptr) {
            return E_POINTER;
        }
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** info) override {
        if (info == nullptr) {
            return E_POINTER;
        }
        *info = nullptr;
        return DISP_E_BADINDEX;
    }
};

}  // namespace kandora
