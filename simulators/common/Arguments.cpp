#include "simulators/common/Arguments.h"

#include "simulators/common/CallFailure.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

const VARIANT& Arguments::Raw(std::size_t index) const noexcept {
    // Automation passes arguments last one first.
    return parameters_.rgvarg[parameters_.cArgs - 1 - index];
}

bool Arguments::IsMissing(std::size_t index) const noexcept {
    return index >= Count() || (Raw(index).vt == VT_ERROR && Raw(index).scode == DISP_E_PARAMNOTFOUND);
}

Value Arguments::Any(std::size_t index) const {
    if (IsMissing(index)) {
        throw ArgumentError(DISP_E_PARAMNOTOPTIONAL, index);
    }
    try {
        return Value::CopyOf(Raw(index));
    } catch (const HresultError& error) {
        throw ArgumentError(error.Code(), index);
    }
}

Value Arguments::Converted(std::size_t index, VARTYPE type) const {
    const Value value = Any(index);
    try {
        return value.ConvertedTo(type);
    } catch (const HresultError& error) {
        throw ArgumentError(error.Code(), index);
    }
}

std::int16_t Arguments::Short(std::size_t index) const {
    return Converted(index, VT_I2).Get().iVal;
}

std::int32_t Arguments::Long(std::size_t index) const {
    return Converted(index, VT_I4).Get().lVal;
}

std::wstring Arguments::Text(std::size_t index) const {
    return FromBstr(Converted(index, VT_BSTR).Get().bstrVal);
}

}  // namespace kandora::simulators
