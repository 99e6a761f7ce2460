#pragma once

#include "simulators/archive/Controls.h"

namespace kandora::simulators {

inline constexpr int closedFolderIcon = 0;
inline constexpr int openFolderIcon = 1;

/// The system's pictures of a closed and of an open folder, `size` pixels wide and high.
ImageList FolderIcons(int size);

}  // namespace kandora::simulators
