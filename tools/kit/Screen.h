#pragma once

#include <windows.h>

#include "automation/Text.h"

namespace kandora::kit {

/// What the user sees and is asked.
class Screen {
public:
    Screen();

    /// A line that stays.
    void Line(const Text& line);
    /// How far something is, in place of the last such text, on a console only.
    void Progress(const Text& text);
    /// Whether the user agrees. Nobody agrees where nobody can be asked.
    [[nodiscard]] bool Asks(const Text& question);
    /// Waits for the user when the console's window goes with this program, which would take all that was
    /// said along.
    void HoldWindow();

private:
    /// Blanks in place of the last progress.
    void Wipe();
    void WriteToConsole(const Text& text) const;

    HANDLE console_ = nullptr;  ///< none when the output goes elsewhere
    std::size_t shown_ = 0;     ///< characters of the last progress
};

}  // namespace kandora::kit
