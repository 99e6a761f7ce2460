#pragma once

#include <memory>
#include <vector>

#include "automation/WindowsPlatform.h"
#include "provider/MGlobals.h"
#include "ui/WindowsUserInterface.h"

namespace kandora {

/// Is told when its thread is about to leave COM.
class ThreadEndWatcher {
public:
    virtual void OnThreadEnd() noexcept = 0;

protected:
    ~ThreadEndWatcher() = default;
};

/// Everything that belongs to one thread.
class ThreadState {
public:
    [[nodiscard]] MGlobals& Globals() noexcept { return globals_; }

    /// The watcher is told at most once. It must take itself out before it is destroyed.
    void Watch(ThreadEndWatcher& watcher) { watchers_.push_back(&watcher); }
    void Unwatch(ThreadEndWatcher& watcher) noexcept { std::erase(watchers_, &watcher); }

    /// Ends all sessions; to be called while automation still works.
    void End() noexcept;

private:
    WindowsPlatform platform_;
    WindowsUserInterface userInterface_{platform_,
                                        [this]() -> CErrHandler& { return globals_.goErrHandler(); }};
    MGlobals globals_{platform_, userInterface_};
    std::vector<ThreadEndWatcher*> watchers_;
};

/// The calling thread's state, made on first use. It ends just before the thread leaves COM for good, because
/// its end logs out of the archive; what the returned pointer keeps alive after that has no connections. A
/// thread that dies without leaving COM leaks its state.
std::shared_ptr<ThreadState> CurrentThreadState();

}  // namespace kandora
