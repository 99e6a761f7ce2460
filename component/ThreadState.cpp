#include "component/ThreadState.h"

#include <atomic>

#include <windows.h>

#include <objbase.h>

#include "automation/Errors.h"
#include "automation/WindowsPlatform.h"
#include "component/Module.h"
#include "ui/WindowsUserInterface.h"

namespace kandora {

namespace {

/// Everything of one thread, in the order in which it is made.
struct ThreadParts {
    WindowsPlatform platform;
    WindowsUserInterface userInterface{platform, [this]() -> CErrHandler& { return globals.goErrHandler(); }};
    MGlobals globals{platform, userInterface};
};

/// Holds a thread's parts, and is told by COM when the thread is about to leave it.
class ThreadSlot final : public IInitializeSpy {
public:
    explicit ThreadSlot(std::shared_ptr<ThreadParts> parts) : parts_(std::move(parts)) {}
    virtual ~ThreadSlot() = default;
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;

    void Watch() { RequireSuccess(CoRegisterInitializeSpy(this, &cookie_)); }
    [[nodiscard]] const std::shared_ptr<ThreadParts>& Parts() const noexcept { return parts_; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (iid != IID_IUnknown && iid != IID_IInitializeSpy) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = static_cast<IInitializeSpy*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    HRESULT STDMETHODCALLTYPE PreInitialize(DWORD /*coInit*/, DWORD /*references*/) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE PostInitialize(HRESULT outcome, DWORD /*coInit*/,
                                             DWORD /*references*/) override {
        return outcome;
    }
    HRESULT STDMETHODCALLTYPE PreUninitialize(DWORD references) override {
        if (references == 1) {
            End();
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE PostUninitialize(DWORD /*references*/) override { return S_OK; }

private:
    void End() noexcept;

    module::Use use_;
    std::atomic<ULONG> references_ = 1;
    ULARGE_INTEGER cookie_{};
    std::shared_ptr<ThreadParts> parts_;
};

/// A bare slot of thread storage: this toolchain frees storage with destructors too early for objects that
/// need COM.
DWORD SlotIndex() {
    static const DWORD index = TlsAlloc();
    if (index == TLS_OUT_OF_INDEXES) {
        throw RuntimeError(errors::outOfMemory);
    }
    return index;
}

void ThreadSlot::End() noexcept {
    TlsSetValue(SlotIndex(), nullptr);
    parts_->globals.ReleaseServices();
    parts_.reset();
    CoRevokeInitializeSpy(cookie_);
    Release();
}

}  // namespace

std::shared_ptr<MGlobals> CurrentThreadState() {
    auto* slot = static_cast<ThreadSlot*>(TlsGetValue(SlotIndex()));
    if (slot == nullptr) {
        auto created = std::make_unique<ThreadSlot>(std::make_shared<ThreadParts>());
        created->Watch();
        slot = created.release();
        TlsSetValue(SlotIndex(), slot);
    }
    const std::shared_ptr<ThreadParts>& parts = slot->Parts();
    return {parts, &parts->globals};
}

}  // namespace kandora
