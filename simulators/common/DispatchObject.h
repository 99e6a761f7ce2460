#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "interfaces/ComObject.h"
#include "simulators/common/Arguments.h"
#include "simulators/common/CallFailure.h"
#include "simulators/common/MemberTable.h"

namespace kandora::simulators {

enum class CallKind { Method, Get, Put };

/// One call on its way to its handler.
struct Call {
    const std::wstring& member;  ///< as the table spells it
    CallKind kind;
    Arguments& arguments;
};

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
