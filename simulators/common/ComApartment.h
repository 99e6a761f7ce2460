#pragma once

#include <string_view>

namespace kandora::simulators {

/// The apartment in which a program's objects and windows live, for the calling thread.
class ComApartment {
public:
    /// Throws Failure: "complaint: the system's text" when the system refuses.
    explicit ComApartment(std::wstring_view complaint);
    ~ComApartment();
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
};

}  // namespace kandora::simulators
