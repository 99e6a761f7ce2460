#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include <windows.h>

#include <oaidl.h>

#include "automation/Text.h"
#include "automation/Variant.h"

namespace kandora {

/// A local variable handed to a callee by reference: what the callee stores is copied back after the call.
template <class T>
struct ByReference {
    T& variable;
};

template <class T>
ByReference<T> ByRef(T& variable) {
    return {variable};
}

/// One argument of a late-bound call, in the form in which the callee sees it.
class Argument {
public:
    Argument(const Variant& value) : value_(value) {}  // NOLINT(google-explicit-constructor)
    Argument(const Text& text) : value_(text) {}       // NOLINT(google-explicit-constructor)
    Argument(const wchar_t* text) : value_(text) {}    // NOLINT(google-explicit-constructor)
    Argument(std::int32_t number) : value_(number) {}  // NOLINT(google-explicit-constructor)
    Argument(std::int16_t number) : value_(number) {}  // NOLINT(google-explicit-constructor)
    Argument(ByReference<Text> text);                  // NOLINT(google-explicit-constructor)
    Argument(ByReference<std::int32_t> number);        // NOLINT(google-explicit-constructor)
    Argument(ByReference<std::int16_t> number);        // NOLINT(google-explicit-constructor)
    ~Argument();
    Argument(const Argument&) = delete;
    Argument& operator=(const Argument&) = delete;

    /// The value to pass; it stays owned by this argument, and a by-reference one points into it.
    [[nodiscard]] VARIANT Passed() noexcept;
    /// Stores what the callee left in a by-reference argument in the caller's variable.
    void CopyBack();

private:
    Variant value_;
    BSTR bstr_ = nullptr;
    Text* text_ = nullptr;
    std::int32_t* long_ = nullptr;
    std::int16_t* integer_ = nullptr;
};

/// The name of a member. Only literals are taken: they stay where they are for as long as the program runs,
/// so that names at the same address are the same.
class MemberName {
public:
    consteval MemberName(const wchar_t* literal) : name_(literal) {}  // NOLINT(google-explicit-constructor)

    [[nodiscard]] const wchar_t* Name() const noexcept { return name_; }

private:
    const wchar_t* name_;
};

/// An object reached by the names of its members alone. A member's number is asked once per object and kept
/// with it, so that each further call is one round trip. Copies share the object and the numbers; they stay
/// in the apartment of the object. Every call on a missing object raises 91; a failing one raises the
/// callee's own error.
class LateBound {
public:
    LateBound() noexcept = default;
    /// Takes a reference of its own; null is "no object".
    explicit LateBound(IDispatch* object);
    /// The object in a value; raises 13 when the value is none.
    explicit LateBound(const Variant& value);
    LateBound(const LateBound& other) noexcept;
    LateBound(LateBound&& other) noexcept : binding_(std::exchange(other.binding_, nullptr)) {}
    LateBound& operator=(LateBound other) noexcept {
        std::swap(binding_, other.binding_);
        return *this;
    }
    ~LateBound();

    [[nodiscard]] bool IsNothing() const noexcept { return binding_ == nullptr; }
    /// Without a new reference; null when there is no object.
    [[nodiscard]] IDispatch* Pointer() const noexcept;

    /// A method called as a statement: no result is asked for.
    template <class... Arguments>
    void Call(MemberName member, Arguments&&... arguments) const {
        InvokeWith(member, DISPATCH_METHOD, false, std::forward<Arguments>(arguments)...);
    }

    /// A method or property whose value is used.
    template <class... Arguments>
    [[nodiscard]] Variant Get(MemberName member, Arguments&&... arguments) const {
        return InvokeWith(member, DISPATCH_METHOD | DISPATCH_PROPERTYGET, true,
                          std::forward<Arguments>(arguments)...);
    }

    /// A property assigned.
    template <class Value>
    void Put(MemberName member, const Value& value) const {
        Argument argument(value);
        InvokePut(member, argument);
    }

    /// True when the object knows all the names.
    [[nodiscard]] bool Knows(std::initializer_list<const wchar_t*> members) const noexcept;
    /// The object's default value.
    [[nodiscard]] Variant DefaultValue() const;
    /// The items that the object enumerates, in order; none when it cannot be enumerated.
    [[nodiscard]] std::optional<std::vector<Variant>> Items() const;

private:
    struct Binding;

    template <class... Arguments>
    Variant InvokeWith(MemberName member, WORD flags, bool wantsResult, Arguments&&... values) const {
        if constexpr (sizeof...(Arguments) == 0) {
            return Invoke(member, flags, wantsResult, nullptr, 0);
        } else {
            Argument arguments[] = {Argument(std::forward<Arguments>(values))...};
            return Invoke(member, flags, wantsResult, arguments, sizeof...(Arguments));
        }
    }

    void InvokePut(MemberName member, Argument& value) const;
    Variant Invoke(MemberName member, WORD flags, bool wantsResult, Argument* arguments,
                   std::size_t count) const;

    Binding* binding_ = nullptr;
};

/// A new object of a registered class, in process or in a local server. Raises 429 when it cannot be created,
/// 462 when its server is gone, 7 when there is no memory.
LateBound NewObject(const Text& progId);

}  // namespace kandora
