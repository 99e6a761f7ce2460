#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "simulators/common/Value.h"

namespace kandora::simulators {

/// The arguments of one call, in call order. The value of a property assignment is the last one.
/// The converting accessors throw so that the caller gets DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW together
/// with the argument's position; an argument left out at the end of the list throws DISP_E_PARAMNOTOPTIONAL.
class Arguments {
public:
    explicit Arguments(const DISPPARAMS& parameters) noexcept : parameters_(parameters) {}

    [[nodiscard]] std::size_t Count() const noexcept { return parameters_.cArgs; }
    /// True for an argument beyond the last one or one that was left out between commas.
    [[nodiscard]] bool IsMissing(std::size_t index) const noexcept;

    [[nodiscard]] std::int16_t Short(std::size_t index) const;
    [[nodiscard]] std::int32_t Long(std::size_t index) const;
    [[nodiscard]] std::wstring Text(std::size_t index) const;
    /// The value as passed, by-reference levels resolved.
    [[nodiscard]] Value Any(std::size_t index) const;

    /// The argument exactly as it arrived. The index must be below Count().
    [[nodiscard]] const VARIANT& Raw(std::size_t index) const noexcept;

private:
    [[nodiscard]] Value Converted(std::size_t index, VARTYPE type) const;

    const DISPPARAMS& parameters_;
};

}  // namespace kandora::simulators
