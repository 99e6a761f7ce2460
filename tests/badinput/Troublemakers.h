#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <windows.h>

#include <oaidl.h>

#include "tests/support/Unique.h"

namespace kandora::test {

using Random = std::mt19937;

/// A number from 0 up to, but not including, `count`.
inline std::uint32_t Below(Random& random, std::uint32_t count) {
    return static_cast<std::uint32_t>(random() % count);
}

/// A value as a careless or hostile caller hands it over, and the memory that it refers to.
class Given : Unique {
public:
    Given() { VariantInit(&value); }
    ~Given();

    VARIANT value;

    /// Zeroed memory for a value to refer to.
    void* Place();
    /// A value for another one to refer to; what it owns goes with this object.
    VARIANT* Another();
    /// Runs the action before the values are freed.
    void Before(std::function<void()> action) { before_.push_back(std::move(action)); }
    /// Hands the value over to the caller, who frees it.
    [[nodiscard]] VARIANT Release() noexcept;

private:
    std::deque<std::array<std::byte, sizeof(VARIANT)>> places_;
    std::deque<VARIANT> others_;
    std::vector<std::function<void()>> before_;
};

/// One kind of bad value.
struct Troublemaker {
    std::string name;
    std::function<void(Given&)> make;
    /// The value as a whole can be given away, as an answer is.
    bool isAnswer = true;
};

/// Every type there is and some there are not, by value, by reference and by a null reference; arrays of many
/// element types, dimensions and bounds; values that refer to themselves.
const std::vector<Troublemaker>& Troublemakers();

/// Any value, nested a few levels deep.
void MakeRandom(Given& given, Random& random);

/// A new array from 0 of five values, as the host passes it with a voucher, in which one value is replaced by
/// a copy of the given one as it stands.
void MakeVoucher(Given& given, std::size_t replaced, const VARIANT& element);

}  // namespace kandora::test
