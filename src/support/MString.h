#pragma once

#include "automation/LateBound.h"
#include "automation/Text.h"
#include "automation/Variant.h"

namespace kandora {

/// Any value as one line of readable text. Always returns a text.
Text ToText(const Variant& vtValue);

/// "[first, second]". Raises 5 when the value is no array.
Text ArrayToText(const Variant& vtValue);
/// "[first, second]". Raises 5 when the object is no list.
Text ListToText(const LateBound& oList);
/// "{key=item, key=item}", in the dictionary's order.
Text DictionaryToText(const LateBound& oDictionary);
/// "{Recordset: name=value, name=value}" of the current record, or the names of its fields when there is
/// none.
Text RecordsetToText(const LateBound& oRecordset);

/// True when the object enumerates at least one item; an empty collection is no list.
bool IsList(const LateBound& oObject);
/// True when the value has a standard conversion to text.
bool CanConvertToText(const Variant& vtValue);

}  // namespace kandora
