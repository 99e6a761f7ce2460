#pragma once

namespace kandora {

/// What is declared here and implemented elsewhere: one implementation in the product, others in tests. Held
/// by reference or pointer, never copied.
class Replaceable {
public:
    virtual ~Replaceable() = default;
    Replaceable(const Replaceable&) = delete;
    Replaceable& operator=(const Replaceable&) = delete;

protected:
    Replaceable() = default;
};

}  // namespace kandora
