#pragma once

#include "automation/LateBound.h"
#include "automation/Text.h"
#include "automation/Variant.h"

namespace kandora {

/// Any value as readable text. What has none gets a stand-in, such as "(Typ 8204)" or "(Object@4711)".
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
