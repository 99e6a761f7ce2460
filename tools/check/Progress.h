#pragma once

#include <cstdint>
#include <functional>

#include "automation/Text.h"

namespace kandora::check {

/// A line at a console that tells how far something is, and is written over again and again. Where the output
/// goes to a file or a pipe there is none.
class ProgressLine {
public:
    /// The time begins.
    void Begin();
    /// Shows the text, a few times a second at most; it is asked with the milliseconds since the beginning.
    void Show(const std::function<Text(std::uint64_t elapsed)>& text);
    /// Takes the line away, for something else to be written.
    void Clear();

private:
    std::uint64_t begun_ = 0;
    std::uint64_t shown_ = 0;
    std::size_t length_ = 0;
};

}  // namespace kandora::check
