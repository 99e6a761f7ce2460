#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace kandora::model_tests {

/// How a call out of the component fails.
enum class FaultKind : std::uint8_t {
    Error,       ///< an error with a description
    Code,        ///< a bare error code
    Gone,        ///< the program dies before it does what it was asked
    GoneAfter,   ///< it dies when it has done it
    LostAnswer,  ///< it does it, and the caller gets an error
    NoMemory,
    Refused,    ///< the answer that means "no", where there is one
    WrongType,  ///< an answer of a type that nobody expects
};
inline constexpr std::size_t faultKinds = 8;

/// One disturbance of a request: its call number `at`, counted from 1, fails; with `lasting` every later one
/// too.
struct Fault {
    FaultKind kind = FaultKind::Error;
    std::uint32_t at = 1;
    bool lasting = false;

    bool operator==(const Fault&) const = default;
};

/// The one place that all calls out of the component pass: counts them and tells which one is to fail.
class Faults {
public:
    void Begin(const std::optional<Fault>& fault) {
        fault_ = fault;
        calls_ = 0;
        struck_ = false;
    }
    void End() { fault_.reset(); }

    /// To be asked once per call.
    std::optional<FaultKind> Next() {
        ++calls_;
        ++allCalls_;
        if (!fault_ || calls_ < fault_->at || (calls_ > fault_->at && !fault_->lasting)) {
            return std::nullopt;
        }
        struck_ = true;
        ++strikes_[static_cast<std::size_t>(fault_->kind)];
        return fault_->kind;
    }

    /// Whether the fault of the present request has struck.
    [[nodiscard]] bool Struck() const { return struck_; }
    /// How often each kind has struck so far.
    [[nodiscard]] const std::array<std::uint64_t, faultKinds>& Strikes() const { return strikes_; }
    [[nodiscard]] std::uint64_t AllCalls() const { return allCalls_; }

private:
    std::optional<Fault> fault_;
    std::uint32_t calls_ = 0;
    bool struck_ = false;
    std::uint64_t allCalls_ = 0;
    std::array<std::uint64_t, faultKinds> strikes_{};
};

}  // namespace kandora::model_tests
