#include "automation/OwnArithmetic.h"

namespace kandora {

namespace {

/// All exceptions masked, results of 53 bits, rounding to the nearest.
constexpr std::uint16_t coprocessorWord = 0x027F;
constexpr std::uint32_t vectorsWord = 0x1F80;

/// What of the vectors' word are settings; the others tell what has happened.
constexpr std::uint32_t vectorsSettings = 0xFFC0;

}  // namespace

OwnArithmetic::OwnArithmetic() noexcept {
    asm volatile("fnstenv %0\n\tstmxcsr %1" : "=m"(coprocessor_), "=m"(vectors_));
    Resume();
}

OwnArithmetic::~OwnArithmetic() {
    asm volatile("fldenv %0\n\tldmxcsr %1" : : "m"(coprocessor_), "m"(vectors_));
}

void OwnArithmetic::Resume() noexcept {
    std::uint16_t coprocessor = 0;
    std::uint32_t vectors = 0;
    asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(coprocessor), "=m"(vectors));
    // Whoever ran before may have left the registers full: EMMS empties them, and so does FNINIT. Only that
    // one can do so while an exception waits that is not masked. Loading the settings costs a third of a call
    // of an object nearby, and hardly anybody leaves others.
    if (coprocessor == coprocessorWord && (vectors & vectorsSettings) == vectorsWord) {
        asm volatile("emms");
    } else {
        asm volatile("fninit\n\tfldcw %0\n\tldmxcsr %1" : : "m"(coprocessorWord), "m"(vectorsWord));
    }
}

}  // namespace kandora
