#pragma once

#include <concepts>
#include <memory>
#include <type_traits>

namespace kandora {

/// A caller's lambda for a function that is no template, so that the function's code exists only once. It
/// refers to the lambda and must not outlive the call that it is given to.
class Work {
public:
    // NOLINTBEGIN(google-explicit-constructor,bugprone-forwarding-reference-overload): stands for the lambda
    template <class Body>
        requires(!std::same_as<std::remove_cvref_t<Body>, Work>)
    Work(Body&& body) noexcept
        : body_(const_cast<void*>(static_cast<const void*>(std::addressof(body)))),
          run_([](void* object) { (*static_cast<std::remove_reference_t<Body>*>(object))(); }) {}
    // NOLINTEND(google-explicit-constructor,bugprone-forwarding-reference-overload)

    void operator()() const { run_(body_); }

private:
    void* body_;
    void (*run_)(void*);
};

}  // namespace kandora
