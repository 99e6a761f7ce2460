#pragma once

namespace kandora {

/// Base of what has one implementation in the product and others in tests. Held by reference or pointer,
/// never copied.
class Replaceable {
public:
    virtual ~Replaceable() = default;
    Replaceable(const Replaceable&) = delete;
    Replaceable& operator=(const Replaceable&) = delete;

protected:
    Replaceable() = default;
};

}  // namespace kandora
