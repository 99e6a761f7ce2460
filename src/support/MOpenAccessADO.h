#pragma once

#include "automation/LateBound.h"
#include "automation/Variant.h"

namespace kandora {

/// Names of a record set's fields in their order, as a list; an empty value when there are none.
Variant FieldNames(const LateBound& oRecordset);

}  // namespace kandora
