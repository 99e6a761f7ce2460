#include "support/CErrHandler.h"

#include <vector>

#include "support/MVariantArrays.h"

namespace kandora {

namespace {

constexpr const wchar_t* frameSeparator = L" <- ";

/// Drops the older half when the most frames that may be are there.
void MakeRoom(Variant& frames) {
    if (CountOfArray(frames) < CErrHandler::maximalFrames) {
        return;
    }
    const std::vector<Variant> all = frames.Elements();
    frames = Variant::ArrayOf(std::vector<Variant>(all.begin() + CErrHandler::maximalFrames / 2, all.end()));
}

}  // namespace

Variant CErrHandler::NoFrames() noexcept {
    try {
        return Variant::ArrayOf(std::vector<Variant>());
    } catch (...) {
        return {};
    }
}

Text CErrHandler::CallStack() const {
    std::vector<Text> frames;
    if (record_.vasCallStack.IsArray()) {
        for (const Variant& frame : record_.vasCallStack.Elements()) {
            frames.push_back(frame.ToText());
        }
    }
    return Joined(frames, frameSeparator);
}

Text CErrHandler::sToString() const {
    const Text original = record_.lNumber == record_.lOriginalNumber
                              ? Text()
                              : L" (" + Decimal(record_.lOriginalNumber) + L") ";
    return L"[" + Decimal(record_.lNumber) + original + L"] " + record_.sDescription + L" | ON LINE " +
           Decimal(record_.lLine) + L" | CALLSTACK: " + CallStack();
}

void CErrHandler::Log(const RuntimeError& oError, const Text& sThisClass, const Text& sThisMethod) {
    if (record_.lOriginalNumber != 0) {
        record_.sDescription = oError.Description();
        record_.lNumber = oError.Number();
    } else {
        record_.sOriginalDescription = oError.Description();
        record_.sSource = oError.Source();
        record_.lOriginalNumber = oError.Number();
        record_.lNumber = oError.Number();
        record_.sDescription = record_.sOriginalDescription;
        record_.lLine = oError.Line();
    }
    MakeRoom(record_.vasCallStack);
    AppendToArray(record_.vasCallStack, Variant(sThisClass + L"." + sThisMethod));
}

void CErrHandler::Clear() noexcept {
    record_.sOriginalDescription.clear();
    record_.sDescription.clear();
    record_.lOriginalNumber = 0;
    record_.lNumber = 0;
    record_.vasCallStack = NoFrames();
}

void CErrHandler::RaiseAgain() const {
    throw RuntimeError(record_.lNumber, record_.sDescription, CallStack());
}

void CErrHandler::PrependDescription(const Text& sNewDescription) {
    record_.sDescription = sNewDescription + L": " + record_.sDescription;
}

void CErrHandler::ShowError() {
    boxes_.ShowMessage(sToString(), boxstyle::critical | boxstyle::systemModal, applicationTitle);
}

}  // namespace kandora
