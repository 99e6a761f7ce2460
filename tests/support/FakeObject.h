#pragma once

#include <concepts>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <windows.h>

#include <oaidl.h>

#include "automation/LateBound.h"
#include "automation/Text.h"
#include "automation/Variant.h"
#include "interfaces/ComObject.h"
#include "interfaces/ComPtr.h"
#include "tests/support/Conversation.h"
#include "tests/support/Seam.h"

namespace kandora::test {

/// The archive's object type of a document, and its number of a search's first hit.
inline constexpr std::int32_t documentEntry = 254;
inline constexpr std::int32_t firstHit = 0x10000000;

class FakeObject;

/// A counted reference to a fake.
class Fake {
public:
    Fake() = default;
    /// A new fake. Its calls go to the conversation, when there is one; its name leads each line.
    explicit Fake(std::string name, Conversation* conversation = nullptr);

    FakeObject* operator->() const noexcept { return object_.Get(); }
    [[nodiscard]] FakeObject* Get() const noexcept { return object_.Get(); }
    [[nodiscard]] Variant AsVariant() const;
    [[nodiscard]] LateBound AsLateBound() const;

private:
    ComPtr<FakeObject> object_;
};

/// One call that a fake has to answer.
class Call {
public:
    Call(FakeObject& object, const DISPPARAMS& parameters);

    FakeObject& object;
    /// In the order of the call; by-reference ones as what they refer to.
    std::vector<Variant> arguments;

    [[nodiscard]] Text TextAt(std::size_t index) const { return arguments.at(index).ToText(); }
    [[nodiscard]] std::int32_t LongAt(std::size_t index) const { return arguments.at(index).ToLong(); }
    /// Writes back into a by-reference argument of text or of 16 or 32 bits.
    void Store(std::size_t index, const Variant& value) const;

private:
    const DISPPARAMS& parameters_;
};

/// How a member fails: by a bare HRESULT, or with exception information.
struct Failure {
    HRESULT code = DISP_E_EXCEPTION;
    WORD number = 0;
    SCODE scode = 0;
    Text description;
    Text source;
    bool deferred = false;  ///< the caller has to ask for the texts

    static Failure Code(HRESULT code) { return {code, 0, 0, {}, {}, false}; }
    static Failure Exception(WORD number, Text description = {}, Text source = {}) {
        return {DISP_E_EXCEPTION, number, 0, std::move(description), std::move(source), false};
    }
    static Failure Scode(SCODE scode, Text description = {}, Text source = {}) {
        return {DISP_E_EXCEPTION, 0, scode, std::move(description), std::move(source), false};
    }
    [[nodiscard]] Failure Deferred() const {
        Failure later = *this;
        later.deferred = true;
        return later;
    }
};

/// What a member answers: a value, a failure, or a function of the call (which may throw a Failure).
class Answer {
public:
    Answer() = default;                                         ///< no value
    Answer(const Variant& value) : value_(value) {}             // NOLINT(google-explicit-constructor)
    Answer(int number) : value_(std::int32_t{number}) {}        // NOLINT(google-explicit-constructor)
    Answer(bool value) : value_(value) {}                       // NOLINT(google-explicit-constructor)
    Answer(const wchar_t* text) : value_(text) {}               // NOLINT(google-explicit-constructor)
    Answer(const Text& text) : value_(text) {}                  // NOLINT(google-explicit-constructor)
    Answer(const Fake& object) : value_(object.AsVariant()) {}  // NOLINT(google-explicit-constructor)
    Answer(Failure failure)                                     // NOLINT(google-explicit-constructor)
        : function_([failure = std::move(failure)](Call&) -> Variant { throw Failure(failure); }) {}
    template <class Function>
        requires std::is_invocable_r_v<Variant, Function, Call&>
    Answer(Function function) : function_(std::move(function)) {}  // NOLINT(google-explicit-constructor)

    [[nodiscard]] Variant To(Call& call) const { return function_ ? function_(call) : value_; }

private:
    Variant value_;
    std::function<Variant(Call&)> function_;
};

/// A scripted automation object. Members that are not planned are unknown to it. Each call is recorded as one
/// line:
///
///     archive.Login(BSTR& "anna", BSTR& "") -> I4 0   a method or property whose value is used
///     booking.Text -> BSTR "Miete"                    the same without arguments
///     archive.EloWindow(BSTR "MINIMIZE")              a statement: a method, and no value asked for
///     archive.ObjShort = BSTR "Miete"                 a property assigned
///     archive.Login(...) !! 1000 "no more"            a failure
///
/// Any other combination of flags is spelled out in the line.
class FakeObject final : public Undescribed<ComObject<IDispatch>> {
public:
    FakeObject(std::string name, Conversation* conversation);
    ~FakeObject() override;

    [[nodiscard]] const std::string& Name() const noexcept { return name_; }

    /// The answer whenever nothing else is queued. Also makes a member known that is only called or assigned.
    void Answers(const Text& member, Answer answer = {});
    /// The answers to the next calls, one each, before the one above.
    void Next(const Text& member, Answer answer);
    /// The value under which an object stands for itself.
    void HasDefaultValue(Answer answer);
    /// The items that an enumeration delivers; an empty list is an empty collection.
    void Enumerates(std::vector<Variant> items);
    /// QueryInterface succeeds for one more interface; the object does not implement it.
    void AlsoAnswersTo(const IID& interfaceId) { interfaces_.push_back(interfaceId); }
    /// From now on each use of the object fails, as when its program has died.
    void Dies(HRESULT code) { dead_ = code; }
    /// From now on each call of a member passes the seam, which outlives the object.
    void GoesThrough(Seam* seam) noexcept { seam_ = seam; }

    /// How often the member's id was asked.
    [[nodiscard]] int TimesAsked(const Text& member) const;
    /// The members whose ids were asked more than once.
    [[nodiscard]] std::vector<Text> AskedRepeatedly() const;
    /// Begins the counting anew, for an object that is handed out once more.
    void ForgetAsked();
    using ComObject::References;

    /// The fake behind an interface pointer; null when it is none.
    static const FakeObject* Of(IUnknown* object);
    /// Fakes (and their enumerations) that exist now.
    static int Alive() noexcept;

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID interfaceId, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID interfaceId, LCID locale, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* argument) override;

private:
    struct Member {
        Text name;
        DISPID id = DISPID_UNKNOWN;
        int asked = 0;
        std::deque<Answer> next;
        Answer standing;
        bool hasStanding = false;
    };

    void* Further(REFIID wanted) noexcept override;
    Member& MemberOf(const Text& name);
    Member* MemberWith(DISPID id);
    Variant AnswerOf(Member& member, Call& call) const;
    std::size_t Record(const std::string& line);
    void Complete(std::size_t place, const std::string& answer);

    std::string name_;
    Conversation* conversation_;
    Seam* seam_ = nullptr;
    HRESULT dead_ = S_OK;
    std::deque<Member> members_;
    std::vector<IID> interfaces_;
};

}  // namespace kandora::test
