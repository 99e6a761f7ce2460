#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <vector>

#include "interfaces/ComObject.h"
#include "simulators/common/ComPtr.h"
#include "simulators/common/Value.h"

/// Base class for objects that late-bound clients drive through IDispatch alone.
///
/// A class describes its members once, in a table that all its objects share:
///
///     class Counter : public DispatchObject {
///     public:
///         Counter() : DispatchObject(L"Demo.Counter", Members()) {}
///     private:
///         static const MemberTable& Members() {
///             static const MemberTable table = MemberTableOf<Counter>()
///                 .Method(L"Add", 1, &Counter::Add)
///                 .Property(L"Total", &Counter::Total, &Counter::SetTotal)
///                 .Property(L"Name", [](Counter&, Arguments&) { return Value::Text(L"Zähler"); });
///             return table;
///         }
///         Value Add(Arguments& arguments) { total_ += arguments.Long(0); return Value::Long(total_); }
///         Value Total(Arguments&) { return Value::Long(total_); }
///         void SetTotal(Arguments& arguments) { total_ = arguments.Long(0); }
///         std::int32_t total_ = 0;
///     };
///
///     ComPtr<Counter> counter = MakeObject<Counter>();
///
/// Names are found without regard to letter case. Arguments come in call order, by-reference levels resolved,
/// and are converted when a handler asks for them. Whatever a handler throws becomes the automation answer.
namespace kandora::simulators {

/// A failure that the caller receives as DISP_E_EXCEPTION. Numbers from 1 to 65535 travel as 0x800A0000 plus
/// the number, anything else is taken as the code itself. An empty source is filled with the object's class
/// name.
class AutomationError {
public:
    explicit AutomationError(std::int32_t number, std::wstring description, std::wstring source = {})
        : number_(number), description_(std::move(description)), source_(std::move(source)) {}

    [[nodiscard]] std::int32_t Number() const noexcept { return number_; }
    [[nodiscard]] const std::wstring& Description() const noexcept { return description_; }
    [[nodiscard]] const std::wstring& Source() const noexcept { return source_; }

private:
    std::int32_t number_;
    std::wstring description_;
    std::wstring source_;
};

/// A failure that is answered with the bare code.
class HresultError {
public:
    explicit HresultError(HRESULT code) noexcept : code_(code) {}
    [[nodiscard]] HRESULT Code() const noexcept { return code_; }

private:
    HRESULT code_;
};

/// The arguments of one call, in call order. The value of a property assignment is the last one.
/// The converting accessors throw so that the caller gets DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW together
/// with the argument's position; an argument left out at the end of the list throws DISP_E_PARAMNOTOPTIONAL.
class Arguments {
public:
    explicit Arguments(const DISPPARAMS& parameters) noexcept : parameters_(parameters) {}

    [[nodiscard]] std::size_t Count() const noexcept { return parameters_.cArgs; }
    /// True for an argument beyond the last one or one that was left out between commas.
    [[nodiscard]] bool IsMissing(std::size_t index) const noexcept;

    [[nodiscard]] std::int16_t Short(std::size_t index) const;
    [[nodiscard]] std::int32_t Long(std::size_t index) const;
    [[nodiscard]] double Double(std::size_t index) const;
    [[nodiscard]] double Date(std::size_t index) const;
    [[nodiscard]] bool Boolean(std::size_t index) const;
    [[nodiscard]] std::wstring Text(std::size_t index) const;
    /// Null when the caller passed Nothing.
    [[nodiscard]] ComPtr<IDispatch> Object(std::size_t index) const;
    /// The value as passed, by-reference levels resolved.
    [[nodiscard]] Value Any(std::size_t index) const;

    /// Writes back into an argument that was passed by reference, converted to the type of the caller's
    /// variable; an argument passed by value is left alone.
    void Assign(std::size_t index, const Value& value) const;

    /// The argument exactly as it arrived. The index must be below Count().
    [[nodiscard]] const VARIANT& Raw(std::size_t index) const noexcept;

private:
    [[nodiscard]] Value Converted(std::size_t index, VARTYPE type) const;

    const DISPPARAMS& parameters_;
};

class DispatchObject;

enum class CallKind { Method, Get, Put };

/// One call on its way to its handler.
struct Call {
    const std::wstring& member;  ///< as the table spells it
    CallKind kind;
    Arguments& arguments;
};

/// The members of one class: names, dispatch ids (1, 2, ... in order of declaration) and handlers.
class MemberTable {
public:
    static constexpr std::size_t anyNumber = static_cast<std::size_t>(-1);

    struct Member {
        std::wstring name;
        std::function<Value(DispatchObject&, Arguments&)> method;
        std::function<Value(DispatchObject&, Arguments&)> get;
        std::function<void(DispatchObject&, Arguments&)> put;
        std::size_t minimum = 0;  ///< arguments, without an assignment's value
        std::size_t maximum = 0;
    };

    /// The id of a name, or DISPID_UNKNOWN.
    [[nodiscard]] DISPID IdOf(std::wstring_view name) const;
    /// The member of an id, or null.
    [[nodiscard]] const Member* Find(DISPID id) const noexcept;
    [[nodiscard]] const std::vector<Member>& All() const noexcept { return members_; }

protected:
    void Add(Member member);
    void SetDefault(std::wstring_view name);

private:
    std::vector<Member> members_;
    std::map<std::wstring, DISPID, std::less<>> idByFoldedName_;
    DISPID default_ = DISPID_UNKNOWN;
};

/// Builds the table of class Object. Handlers are members of Object or callables that take (Object&,
/// Arguments&).
template <class Object>
class MemberTableOf : public MemberTable {
public:
    using Function = std::function<Value(Object&, Arguments&)>;
    using Setter = std::function<void(Object&, Arguments&)>;

    MemberTableOf& Method(std::wstring_view name, std::size_t count, Function handler) {
        return Method(name, count, count, std::move(handler));
    }
    MemberTableOf& Method(std::wstring_view name, std::size_t minimum, std::size_t maximum,
                          Function handler) {
        Member member;
        member.name = name;
        member.method = Bound(std::move(handler));
        member.minimum = minimum;
        member.maximum = maximum;
        Add(std::move(member));
        return *this;
    }
    /// A property; without a setter it can only be read. `parameters` counts the arguments of an indexed
    /// property.
    MemberTableOf& Property(std::wstring_view name, Function getter, Setter setter = nullptr,
                            std::size_t parameters = 0) {
        Member member;
        member.name = name;
        member.get = Bound(std::move(getter));
        if (setter) {
            member.put = [setter = std::move(setter)](DispatchObject& object, Arguments& arguments) {
                setter(static_cast<Object&>(object), arguments);
            };
        }
        member.minimum = parameters;
        member.maximum = parameters;
        Add(std::move(member));
        return *this;
    }
    /// Makes a member declared before the default one (DISPID_VALUE).
    MemberTableOf& Default(std::wstring_view name) {
        SetDefault(name);
        return *this;
    }

private:
    static std::function<Value(DispatchObject&, Arguments&)> Bound(Function handler) {
        return [handler = std::move(handler)](DispatchObject& object, Arguments& arguments) {
            return handler(static_cast<Object&>(object), arguments);
        };
    }
};

/// What a caller gets to see of an exception.
struct FailedCall {
    HRESULT code = S_OK;       ///< the answer of Invoke
    std::int32_t number = 0;   ///< for DISP_E_EXCEPTION: the code in EXCEPINFO
    std::wstring description;  ///< for DISP_E_EXCEPTION
    std::wstring source;       ///< for DISP_E_EXCEPTION
    std::size_t argument = 0;  ///< for DISP_E_TYPEMISMATCH and DISP_E_OVERFLOW: the argument in call order
    bool namesArgument = false;
};

/// Describes the exception that is being handled; call it only inside a catch block.
FailedCall DescribeCurrentException(const std::wstring& defaultSource);

class DispatchObject : public Undescribed<ComObject<IDispatch>> {
public:
    /// Objects of this kind alive in the process; a server may end when it falls to zero.
    static long LiveObjects() noexcept;

    [[nodiscard]] const std::wstring& ClassName() const noexcept { return className_; }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT* argumentError) override;

protected:
    /// The object starts with a count of one (see MakeObject). The table must outlive it.
    DispatchObject(std::wstring className, const MemberTable& members);
    ~DispatchObject() override;

    /// Every call passes here; `proceed` runs its handler. Override it to trace, answer or refuse calls.
    virtual Value Perform(const Call& call, const std::function<Value()>& proceed);

    /// Called when a client asked for a member that does not exist.
    virtual void OnUnknownName(std::wstring_view name);

private:
    HRESULT Answer(const MemberTable::Member& member, CallKind kind, Arguments& arguments, VARIANT* result,
                   EXCEPINFO* exception, UINT* argumentError);

    std::wstring className_;
    const MemberTable& members_;
};

}  // namespace kandora::simulators
