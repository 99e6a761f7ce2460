#include "automation/OwnArithmetic.h"

namespace kandora {

namespace {

/// All exceptions masked, results of 53 bits, rounding to the nearest.
constexpr std::uint16_t coprocessorWord = 0x027F;
constexpr std::uint32_t vectorsWord = 0x1F80;

/// What of the vectors' word are settings; the others tell what has happened.
constexpr std::uint32_t vectorsSettings = 0xFFC0;
/// Of the coprocessor's status: what its top register holds, and which one that is.
constexpr std::uint16_t topKind = 0x4500;
constexpr std::uint16_t topNumber = 0x3800;
constexpr std::uint16_t topIsEmpty = 0x4100;

/// Whether everything is as it is set up for a new thread, the coprocessor's registers empty.
bool IsOwn() noexcept {
    std::uint16_t control = 0;
    std::uint16_t status = 0;
    std::uint32_t vectors = 0;
    asm volatile("fxam\n\tfnstsw %0\n\tfnstcw %1\n\tstmxcsr %2" : "=m"(status), "=m"(control), "=m"(vectors));
    return control == coprocessorWord && (status & (topKind | topNumber)) == topIsEmpty &&
           (vectors & vectorsSettings) == vectorsWord;
}

}  // namespace

OwnArithmetic::OwnArithmetic() noexcept {
    asm volatile("fnstenv %0\n\tstmxcsr %1" : "=m"(coprocessor_), "=m"(vectors_));
    Resume();
}

OwnArithmetic::~OwnArithmetic() {
    asm volatile("fldenv %0\n\tldmxcsr %1" : : "m"(coprocessor_), "m"(vectors_));
}

void OwnArithmetic::Resume() noexcept {
    // Setting it up costs as much as a call of an object nearby, and hardly anybody leaves it otherwise.
    if (IsOwn()) {
        return;
    }
    // FNINIT also empties the registers, which whoever ran before may have left full.
    asm volatile("fninit\n\tfldcw %0\n\tldmxcsr %1" : : "m"(coprocessorWord), "m"(vectorsWord));
}

}  // namespace kandora
