#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "automation/Work.h"

namespace kandora {

/// The order of one thread's requests. A request needs the archive's object, the host's objects and the
/// records for itself, but while it waits for another program or for the user, further ones can enter. They
/// are kept here and carried out right after it, in the order in which they came.
class RequestOrder {
public:
    /// True while a request is in progress.
    [[nodiscard]] bool IsBusy() const noexcept { return busy_; }

    /// Keeps a request, which must not raise, for after the one in progress.
    void Postpone(std::function<void()> request) { waiting_.push_back(std::move(request)); }

    /// Carries out a piece of work that must not raise, and then what was postponed meanwhile. Not to be
    /// called while busy.
    void CarryOut(Work work) {
        busy_ = true;
        work();
        busy_ = false;
        if (!isCatchingUp_) {
            CatchUp();
        }
    }

private:
    void CatchUp() {
        isCatchingUp_ = true;
        while (!waiting_.empty()) {
            const std::function<void()> next = std::move(waiting_.front());
            waiting_.erase(waiting_.begin());
            next();
        }
        isCatchingUp_ = false;
    }

    bool busy_ = false;
    bool isCatchingUp_ = false;
    std::vector<std::function<void()>> waiting_;
};

}  // namespace kandora
