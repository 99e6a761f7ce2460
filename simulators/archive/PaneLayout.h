#pragma once

#include <windows.h>

namespace kandora::simulators {

/// How the panes share the window: the folders on the left, the entries on the right, the details below them,
/// and between them splitters that the user drags.
class PaneLayout {
public:
    enum class Splitter { None, Vertical, Horizontal };

    /// The panes share what is within `bounds`; `gap` is the width of a splitter.
    void Divide(const RECT& bounds, int gap);

    [[nodiscard]] const RECT& Folders() const noexcept { return folders_; }
    [[nodiscard]] const RECT& Entries() const noexcept { return entries_; }
    [[nodiscard]] const RECT& Details() const noexcept { return details_; }
    [[nodiscard]] Splitter SplitterAt(POINT position) const;
    /// Takes the splitter to the position as far as that leaves room for all panes; Divide shows it.
    void Drag(Splitter splitter, POINT position);

private:
    double foldersShare_ = 0.26;  ///< of the width
    double entriesShare_ = 0.5;   ///< of the height
    RECT folders_{};
    RECT verticalSplitter_{};
    RECT entries_{};
    RECT horizontalSplitter_{};
    RECT details_{};
};

}  // namespace kandora::simulators
