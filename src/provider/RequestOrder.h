#pragma once

#include <functional>
#include <utility>
#include <vector>

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

    /// One request's turn, for as long as this object lives. It makes a free order busy, and at its end what
    /// was postponed meanwhile is carried out. While another request is in progress it changes nothing.
    class Turn {
    public:
        explicit Turn(RequestOrder& order) noexcept : order_(order.busy_ ? nullptr : &order) {
            order.busy_ = true;
        }
        ~Turn() {
            if (order_ != nullptr) {
                order_->busy_ = false;
                order_->CatchUp();
            }
        }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        /// True while another request is in progress.
        [[nodiscard]] bool IsMeanwhile() const noexcept { return order_ == nullptr; }

    private:
        RequestOrder* order_;  ///< null while another request is in progress
    };

private:
    void CatchUp() {
        if (isCatchingUp_) {
            return;  // this turn was a postponed one: the loop that ran it goes on with the next
        }
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
