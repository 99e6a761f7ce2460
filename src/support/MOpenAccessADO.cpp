#include "support/MOpenAccessADO.h"

#include "support/MVariantArrays.h"

namespace kandora {

Variant FieldNames(const LateBound& oRecordset) {
    Variant names;
    const LateBound fields(oRecordset.Get(L"Fields"));
    const std::int32_t count = fields.Get(L"Count").ToLong();
    for (std::int32_t i = 0; i < count; ++i) {
        AppendToArray(names, LateBound(fields.Get(L"Item", i)).Get(L"Name"));
    }
    return names;
}

}  // namespace kandora
