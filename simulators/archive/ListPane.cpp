#include "simulators/archive/ListPane.h"

#include <utility>

namespace kandora::simulators {

void ListPane::Fit(const Resolution& resolution) {
    resolution_ = resolution;
    ImageList spacer = SpacerOf(resolution.Pixels(19));
    ListView_SetImageList(list_, spacer.get(), LVSIL_SMALL);
    spacer_ = std::move(spacer);
    ShowColumns();
}

}  // namespace kandora::simulators
