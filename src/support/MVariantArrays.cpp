#include "support/MVariantArrays.h"

#include <vector>

namespace kandora {

void AppendToArray(Variant& vaList, const Variant& vtValue) {
    if (vaList.IsEmpty()) {
        vaList = Variant::ArrayOf(std::vector<Variant>());
    }
    const std::int32_t top = vaList.UpperBound() + 1;
    vaList.Resize(top);
    vaList.SetElement(top, vtValue);
}

Variant TakeLastOfArray(Variant& vaList) {
    const std::int32_t top = vaList.UpperBound();
    Variant last = vaList.Element(top);
    if (CountOfArray(vaList) < 2) {
        vaList = Variant::ArrayOf(std::vector<Variant>());
    } else {
        vaList.Resize(top - 1);
    }
    return last;
}

std::int32_t CountOfArray(const Variant& vaList) {
    return vaList.IsEmpty() ? 0 : vaList.UpperBound() - vaList.LowerBound() + 1;
}

}  // namespace kandora
