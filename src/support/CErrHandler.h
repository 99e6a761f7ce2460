#pragma once

#include <cstdint>
#include <utility>

#include "automation/Clock.h"
#include "automation/Errors.h"
#include "automation/Text.h"
#include "automation/Variant.h"
#include "support/MessageBoxes.h"

namespace kandora {

/// What is known of the errors since the last Clear: number and text of the first one and of the current one,
/// and the frames "class.method" that they have passed, innermost first. One per thread. An error that was
/// recorded and not shown is still there when the next one comes.
class CErrHandler {
public:
    /// Nobody reads a box with as many frames. An outside caller whose calls keep failing must not fill the
    /// host's memory with them: the older half is forgotten then.
    static constexpr std::int32_t maximalFrames = 1000;

    CErrHandler(MessageBoxes& boxes, const LocalTime& created) : boxes_(boxes), dtCreated_(created) {}

    [[nodiscard]] const Text& sOriginalDescription() const noexcept { return record_.sOriginalDescription; }
    [[nodiscard]] const Text& sDescription() const noexcept { return record_.sDescription; }
    void sDescription(const Text& sNewDescription) { record_.sDescription = sNewDescription; }
    [[nodiscard]] const Text& sSource() const noexcept { return record_.sSource; }
    /// Number of the first error; 0 means that nothing is recorded.
    [[nodiscard]] std::int32_t lOriginalNumber() const noexcept { return record_.lOriginalNumber; }
    [[nodiscard]] std::int32_t lNumber() const noexcept { return record_.lNumber; }
    void lNumber(std::int32_t lNewNumber) noexcept { record_.lNumber = lNewNumber; }
    /// Line number of the first error's statement; 0 where statements carry none.
    [[nodiscard]] std::int32_t lLine() const noexcept { return record_.lLine; }
    /// A copy of the frames, an array of texts.
    [[nodiscard]] Variant vasCallStack() const { return record_.vasCallStack; }
    /// Number, description, line and frames in one line.
    [[nodiscard]] Text sToString() const;

    /// Records an error, or the passing of a recorded one through an outer procedure, and appends the frame.
    /// It cannot tell the two apart: until Clear, a new error counts as a further one.
    void Log(const RuntimeError& oError, const Text& sThisClass, const Text& sThisMethod);
    /// Forgets number, description and frames. Source and line deliberately stay as the last first error left
    /// them.
    void Clear() noexcept;
    /// Raises the recorded error with its frames as the source.
    [[noreturn]] void RaiseAgain() const;
    void PrependDescription(const Text& sNewDescription);
    /// Shows sToString in a critical box and waits for the user.
    void ShowError();

private:
    friend class ErrorKeeper;

    /// An empty array; without the memory for one an empty value, which counts as an empty list too.
    static Variant NoFrames() noexcept;

    struct Record {
        Text sOriginalDescription;
        std::int32_t lOriginalNumber = 0;
        Text sDescription;
        std::int32_t lNumber = 0;
        Text sSource;
        std::int32_t lLine = 0;
        Variant vasCallStack = NoFrames();
    };

    [[nodiscard]] Text CallStack() const;

    MessageBoxes& boxes_;
    LocalTime dtCreated_;  ///< nobody asks for it
    Record record_;
};

/// Sets the error record aside for as long as this object lives: for a stretch of work whose errors have
/// nothing to do with the one that may be recorded; neither is to get into the other's record.
class ErrorKeeper {
public:
    explicit ErrorKeeper(CErrHandler& handler) noexcept
        : handler_(handler), kept_(std::exchange(handler.record_, {})) {}
    ~ErrorKeeper() { handler_.record_ = std::move(kept_); }
    ErrorKeeper(const ErrorKeeper&) = delete;
    ErrorKeeper& operator=(const ErrorKeeper&) = delete;

private:
    CErrHandler& handler_;
    CErrHandler::Record kept_;
};

}  // namespace kandora
