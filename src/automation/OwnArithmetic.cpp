#include "automation/OwnArithmetic.h"

namespace kandora {

namespace {

/// All exceptions masked, results of 53 bits, rounding to the nearest.
constexpr std::uint16_t coprocessorWord = 0x027F;
constexpr std::uint32_t vectorsWord = 0x1F80;

}  // namespace

OwnArithmetic::OwnArithmetic() noexcept {
    asm volatile("fnstenv %0\n\tstmxcsr %1" : "=m"(coprocessor_), "=m"(vectors_));
    Resume();
}

OwnArithmetic::~OwnArithmetic() {
    asm volatile("fldenv %0\n\tldmxcsr %1" : : "m"(coprocessor_), "m"(vectors_));
}

void OwnArithmetic::Resume() noexcept {
    // FNINIT also empties the registers, which whoever ran before may have left full.
    asm volatile("fninit\n\tfldcw %0\n\tldmxcsr %1" : : "m"(coprocessorWord), "m"(vectorsWord));
}

}  // namespace kandora
