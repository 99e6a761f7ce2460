#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulators/common/Arguments.h"

namespace kandora::simulators {

class DispatchObject;

/// The members of one class: names, dispatch ids (1, 2, ... in order of declaration) and handlers.
class MemberTable {
public:
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

protected:
    void Add(Member member);

private:
    std::vector<Member> members_;
    std::map<std::wstring, DISPID, std::less<>> idByFoldedName_;
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

private:
    static std::function<Value(DispatchObject&, Arguments&)> Bound(Function handler) {
        return [handler = std::move(handler)](DispatchObject& object, Arguments& arguments) {
            return handler(static_cast<Object&>(object), arguments);
        };
    }
};

}  // namespace kandora::simulators
