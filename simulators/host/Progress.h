#pragma once

#include <cstddef>

namespace kandora::simulators {

/// Shows how far a year has got: in place at a console, a line now and then elsewhere.
class Progress {
public:
    explicit Progress(std::size_t total);

    /// `done` of the total are done.
    void Show(std::size_t done) const;

    /// Gives other output a line of its own.
    void Interrupt() const;

private:
    std::size_t total_;
    bool inPlace_ = false;
};

}  // namespace kandora::simulators
