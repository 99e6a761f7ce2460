#pragma once

namespace kandora::test {

/// Base of what cannot be copied.
class Unique {
public:
    Unique(const Unique&) = delete;
    Unique& operator=(const Unique&) = delete;

protected:
    Unique() = default;
    ~Unique() = default;
};

}  // namespace kandora::test
