#include "simulators/archive/PaneLayout.h"

#include <algorithm>

namespace kandora::simulators {

namespace {

double Share(LONG value, LONG from, LONG to) {
    const double part = static_cast<double>(value - from) / static_cast<double>(std::max(1L, to - from));
    return std::clamp(part, 0.1, 0.85);
}

}  // namespace

void PaneLayout::Divide(const RECT& bounds, int gap) {
    const LONG bottom = std::max(bounds.top, bounds.bottom);
    const LONG right = std::max(bounds.left, bounds.right);
    const LONG middle = bounds.left + static_cast<LONG>((right - bounds.left) * foldersShare_);
    const LONG divide = bounds.top + static_cast<LONG>((bottom - bounds.top) * entriesShare_);
    folders_ = {bounds.left, bounds.top, middle, bottom};
    verticalSplitter_ = {middle, bounds.top, middle + gap, bottom};
    entries_ = {middle + gap, bounds.top, right, divide};
    horizontalSplitter_ = {middle + gap, divide, right, divide + gap};
    details_ = {middle + gap, divide + gap, right, bottom};
}

PaneLayout::Splitter PaneLayout::SplitterAt(POINT position) const {
    if (PtInRect(&verticalSplitter_, position) != FALSE) {
        return Splitter::Vertical;
    }
    return PtInRect(&horizontalSplitter_, position) != FALSE ? Splitter::Horizontal : Splitter::None;
}

void PaneLayout::Drag(Splitter splitter, POINT position) {
    if (splitter == Splitter::Vertical) {
        foldersShare_ = Share(position.x, folders_.left, entries_.right);
    } else {
        entriesShare_ = Share(position.y, entries_.top, details_.bottom);
    }
}

}  // namespace kandora::simulators
