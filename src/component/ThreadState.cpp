#include "component/ThreadState.h"

#include <atomic>

#include <windows.h>

#include <objbase.h>

#include "automation/Errors.h"
#include "automation/OwnArithmetic.h"
#include "component/Module.h"

namespace kandora {

namespace {

/// Holds a thread's parts, and is told by COM when the thread is about to leave it.
class ThreadSlot final : public IInitializeSpy {
public:
    explicit ThreadSlot(std::shared_ptr<ThreadState> state) : state_(std::move(state)) {}
    virtual ~ThreadSlot() = default;
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;

    void Watch() { RequireSuccess(CoRegisterInitializeSpy(this, &cookie_)); }
    [[nodiscard]] const std::shared_ptr<ThreadState>& State() const noexcept { return state_; }

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
            const OwnArithmetic arithmetic;
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
    std::shared_ptr<ThreadState> state_;
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

// NOLINTNEXTLINE(bugprone-exception-escape): the index was made when the slot was filled
void ThreadSlot::End() noexcept {
    TlsSetValue(SlotIndex(), nullptr);
    state_->End();
    state_.reset();
    CoRevokeInitializeSpy(cookie_);
    Release();
}

}  // namespace

void ThreadState::End() noexcept {
    while (!watchers_.empty()) {
        ThreadEndWatcher* const watcher = watchers_.back();
        watchers_.pop_back();
        watcher->OnThreadEnd();
    }
    globals_.ReleaseServices();
}

std::shared_ptr<ThreadState> CurrentThreadState() {
    auto* slot = static_cast<ThreadSlot*>(TlsGetValue(SlotIndex()));
    if (slot == nullptr) {
        auto created = std::make_unique<ThreadSlot>(std::make_shared<ThreadState>());
        created->Watch();
        slot = created.release();
        TlsSetValue(SlotIndex(), slot);
    }
    return slot->State();
}

}  // namespace kandora
