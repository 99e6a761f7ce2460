#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "automation/Text.h"
#include "automation/Variant.h"
#include "tests/support/Unique.h"

namespace kandora::test {

/// One call that leaves the component, before it is answered.
struct OutsideCall {
    std::string_view side;  ///< name of the object called; "machine" or "user"
    TextView operation;     ///< member; for an object that is created "create" and the class as argument
    const std::vector<Variant>& arguments;
    bool answered;  ///< false when the caller asks for no result
};

/// Stands between the component and the fakes that are given it: sees every call (asking an object for a
/// member's id belongs to the call that follows), may answer in place of the fake, fail the call, or do
/// something of its own meanwhile. Reading the clock or the environment and sleeping do not pass here.
class Seam : Unique {
public:
    Seam() = default;
    virtual ~Seam() = default;

    /// The answer to the call; `carryOut` lets the fake do what it is asked for. May throw a Failure (on
    /// objects) or any other exception.
    virtual Variant Around(const OutsideCall& call, const std::function<Variant()>& carryOut) = 0;

    /// Around everything that happens outside of the component.
    virtual void Enter() noexcept {}
    virtual void Leave() noexcept {}
};

/// Marks the time of a fake's work, between Enter and Leave; does nothing without a seam.
class OutsideStretch : Unique {
public:
    explicit OutsideStretch(Seam* seam) noexcept : seam_(seam) {
        if (seam_ != nullptr) {
            seam_->Enter();
        }
    }
    ~OutsideStretch() {
        if (seam_ != nullptr) {
            seam_->Leave();
        }
    }

private:
    Seam* seam_;
};

}  // namespace kandora::test
