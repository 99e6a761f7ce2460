#include "component/ThreadState.h"

#include <windows.h>

#include <objbase.h>

#include "automation/Errors.h"
#include "automation/OwnArithmetic.h"
#include "component/Module.h"
#include "interfaces/ComObject.h"

namespace kandora {

namespace {

/// Holds a thread's state; COM tells it when the thread is about to leave.
class ThreadSlot final : public ComObject<IInitializeSpy> {
public:
    explicit ThreadSlot(std::shared_ptr<ThreadState> state) : state_(std::move(state)) {}

    void Watch() { RequireSuccess(CoRegisterInitializeSpy(this, &cookie_)); }
    [[nodiscard]] const std::shared_ptr<ThreadState>& State() const noexcept { return state_; }

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

// NOLINTNEXTLINE(bugprone-exception-escape): the index exists since the slot was filled
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
