#pragma once

#include <array>
#include <cstdint>

namespace kandora {

/// The processor's arithmetic as the platform sets it up for a new thread: nothing interrupts the program,
/// doubles are rounded to the nearest one. A host or its libraries may have chosen otherwise for the thread;
/// their settings are restored, to the last flag, when the object goes. What is called meanwhile runs with
/// the platform's.
class OwnArithmetic {
public:
    OwnArithmetic() noexcept;
    ~OwnArithmetic();
    OwnArithmetic(const OwnArithmetic&) = delete;
    OwnArithmetic& operator=(const OwnArithmetic&) = delete;

    /// Sets it up again, after somebody else's function has been called.
    static void Resume() noexcept;

private:
    std::array<std::uint32_t, 7> coprocessor_;  ///< as FNSTENV stores it
    std::uint32_t vectors_;
};

}  // namespace kandora
