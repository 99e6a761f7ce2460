#include "tests/support/FakeObject.h"

#include <algorithm>

#include <oleauto.h>

#include "automation/Errors.h"
#include "tests/support/Rendering.h"

namespace kandora::test {

namespace {

int alive = 0;

/// Asking an object for this interface tells whether it is a fake.
constexpr IID fakeInterface = {0x7B7E6C4A, 0x2F5D, 0x4C7B, {0x9A, 0x1E, 0x5D, 0x33, 0x60, 0x0C, 0x4E, 0x11}};

constexpr DISPID firstMember = 101;

/// The failure whose texts the caller has yet to ask for. One at a time is enough: the asking follows at
/// once.
Failure pending;

void FillIn(EXCEPINFO& info, const Failure& failure) {
    info.wCode = failure.number;
    info.scode = failure.scode;
    info.bstrDescription = failure.description.empty() ? nullptr : NewBstr(failure.description);
    info.bstrSource = failure.source.empty() ? nullptr : NewBstr(failure.source);
}

HRESULT STDMETHODCALLTYPE FillInLater(EXCEPINFO* info) {
    FillIn(*info, pending);
    return S_OK;
}

/// The items of a collection.
class FakeEnumeration final : public ComObject<IEnumVARIANT> {
public:
    /// Nobody has a reference at first.
    explicit FakeEnumeration(std::vector<Variant> items) : ComObject(0), items_(std::move(items)) { ++alive; }
    ~FakeEnumeration() override { --alive; }

    HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* items, ULONG* fetched) override {
        ULONG delivered = 0;
        for (; delivered < count && next_ < items_.size(); ++delivered, ++next_) {
            items[delivered] = Variant(items_[next_]).Detach();
        }
        if (fetched != nullptr) {
            *fetched = delivered;
        }
        return delivered == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        next_ += count;
        return next_ <= items_.size() ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override {
        next_ = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** copy) override {
        *copy = nullptr;
        return E_NOTIMPL;
    }

private:
    std::vector<Variant> items_;
    std::size_t next_ = 0;
};

std::string ShownArguments(const DISPPARAMS& parameters, UINT from) {
    std::string text;
    for (UINT i = parameters.cArgs; i > from; --i) {
        text += (text.empty() ? "" : ", ") + Shown(parameters.rgvarg[i - 1]);
    }
    return text;
}

/// Everything about a call that differs from how a well-behaved client calls.
std::string Oddities(REFIID interfaceId, WORD flags, const DISPPARAMS& parameters, bool wantsResult,
                     const EXCEPINFO* exception) {
    std::string odd;
    const bool put = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    if (interfaceId != IID_NULL) {
        odd += " {interface}";
    }
    if (exception == nullptr) {
        odd += " {no exception information}";
    }
    if (put) {
        if (wantsResult) {
            odd += " {result}";
        }
        if (parameters.cNamedArgs != 1 || parameters.rgdispidNamedArgs[0] != DISPID_PROPERTYPUT) {
            odd += " {value not named}";
        }
    } else {
        if (parameters.cNamedArgs != 0) {
            odd += " {named arguments}";
        }
        const WORD expected = wantsResult ? DISPATCH_METHOD | DISPATCH_PROPERTYGET : DISPATCH_METHOD;
        if (flags != expected) {
            odd += " {flags " + std::to_string(flags) + (wantsResult ? ", result}" : ", no result}");
        }
    }
    return odd;
}

std::string ShownCall(const std::string& object, const Text& member, WORD flags,
                      const DISPPARAMS& parameters) {
    const std::string name = object + (member.empty() ? "" : "." + Spelled(member));
    if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) {
        const std::string index = ShownArguments(parameters, 1);
        return name + (index.empty() ? "" : "(" + index + ")") +
               ((flags & DISPATCH_PROPERTYPUTREF) != 0 ? " := " : " = ") + Shown(parameters.rgvarg[0]);
    }
    const bool plainGet = parameters.cArgs == 0 && (flags & DISPATCH_PROPERTYGET) != 0;
    return name + (plainGet ? "" : "(" + ShownArguments(parameters, 0) + ")");
}

std::string ShownFailure(const Failure& failure) {
    if (failure.code != DISP_E_EXCEPTION) {
        return HexCode(failure.code);
    }
    return (failure.number != 0 ? std::to_string(failure.number) : HexCode(failure.scode)) +
           (failure.description.empty() ? "" : " " + Quoted(failure.description));
}

}  // namespace

Fake::Fake(std::string name, Conversation* conversation)
    : object_(new FakeObject(std::move(name), conversation)) {}

Variant Fake::AsVariant() const {
    return Variant(static_cast<IDispatch*>(object_.Get()));
}

LateBound Fake::AsLateBound() const {
    return LateBound(static_cast<IDispatch*>(object_.Get()));
}

Call::Call(FakeObject& theObject, const DISPPARAMS& parameters) : object(theObject), parameters_(parameters) {
    for (UINT i = parameters.cArgs; i > 0; --i) {
        arguments.emplace_back(parameters.rgvarg[i - 1]);
    }
}

void Call::Store(std::size_t index, const Variant& value) const {
    const VARIANT& argument = parameters_.rgvarg[parameters_.cArgs - 1 - index];
    switch (argument.vt) {
    case VT_BYREF | VT_BSTR:
        SysFreeString(*argument.pbstrVal);
        *argument.pbstrVal = NewBstr(value.ToText());
        break;
    case VT_BYREF | VT_I4:
        *argument.plVal = value.ToLong();
        break;
    case VT_BYREF | VT_I2:
        *argument.piVal = value.ToInteger();
        break;
    default:
        throw Failure::Code(DISP_E_TYPEMISMATCH);
    }
}

FakeObject::FakeObject(std::string name, Conversation* conversation)
    : Undescribed(0), name_(std::move(name)), conversation_(conversation) {
    ++alive;
}

FakeObject::~FakeObject() {
    --alive;
}

void FakeObject::Answers(const Text& member, Answer answer) {
    Member& planned = MemberOf(member);
    planned.standing = std::move(answer);
    planned.hasStanding = true;
}

void FakeObject::Next(const Text& member, Answer answer) {
    MemberOf(member).next.push_back(std::move(answer));
}

void FakeObject::HasDefaultValue(Answer answer) {
    Answers({}, std::move(answer));
    MemberOf({}).id = DISPID_VALUE;
}

void FakeObject::Enumerates(std::vector<Variant> items) {
    Answers(L"_NewEnum", [items = std::move(items)](Call&) {
        VARIANT enumeration;
        enumeration.vt = VT_UNKNOWN;
        auto* const object = new FakeEnumeration(items);
        enumeration.punkVal = object;
        object->AddRef();
        Variant result;
        *result.Receive() = enumeration;
        return result;
    });
    MemberOf(L"_NewEnum").id = DISPID_NEWENUM;
}

int FakeObject::TimesAsked(const Text& member) const {
    const auto found = std::ranges::find(members_, member, &Member::name);
    return found == members_.end() ? 0 : found->asked;
}

std::vector<Text> FakeObject::AskedRepeatedly() const {
    std::vector<Text> names;
    for (const Member& member : members_) {
        if (member.asked > 1) {
            names.push_back(member.name);
        }
    }
    return names;
}

void FakeObject::ForgetAsked() {
    for (Member& member : members_) {
        member.asked = 0;
    }
}

const FakeObject* FakeObject::Of(IUnknown* object) {
    ComPtr<IDispatch> fake;
    return SUCCEEDED(object->QueryInterface(fakeInterface, fake.ReceiveVoid()))
               ? static_cast<const FakeObject*>(fake.Get())
               : nullptr;
}

int FakeObject::Alive() noexcept {
    return alive;
}

FakeObject::Member& FakeObject::MemberOf(const Text& name) {
    const auto found = std::ranges::find(members_, name, &Member::name);
    if (found != members_.end()) {
        return *found;
    }
    Member& added = members_.emplace_back();
    added.name = name;
    added.id = firstMember + static_cast<DISPID>(members_.size()) - 1;
    return added;
}

FakeObject::Member* FakeObject::MemberWith(DISPID id) {
    const auto found = std::ranges::find(members_, id, &Member::id);
    return found == members_.end() ? nullptr : &*found;
}

std::size_t FakeObject::Record(const std::string& line) {
    return conversation_ == nullptr ? 0 : conversation_->Add(line);
}

void FakeObject::Complete(std::size_t place, const std::string& answer) {
    if (conversation_ != nullptr) {
        conversation_->Complete(place, answer);
    }
}

Variant FakeObject::AnswerOf(Member& member, Call& call) const {
    if (FAILED(dead_)) {
        throw Failure::Code(dead_);
    }
    if (member.next.empty() && !member.hasStanding) {
        throw Failure::Code(DISP_E_MEMBERNOTFOUND);
    }
    Answer answer = member.standing;
    if (!member.next.empty()) {
        answer = std::move(member.next.front());
        member.next.pop_front();
    }
    return answer.To(call);
}

void* FakeObject::Further(REFIID wanted) noexcept {
    const bool known = wanted == fakeInterface || std::ranges::find(interfaces_, wanted) != interfaces_.end();
    return known ? static_cast<IDispatch*>(this) : nullptr;
}

HRESULT FakeObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
    *ids = DISPID_UNKNOWN;
    if (FAILED(dead_)) {
        Record(name_ + "." + Spelled(*names) + " !! " + HexCode(dead_));
        return dead_;
    }
    const auto found = std::ranges::find(members_, TextView(*names), &Member::name);
    if (count != 1 || found == members_.end()) {
        Record(name_ + "." + Spelled(*names) + " !! unknown");
        return DISP_E_UNKNOWNNAME;
    }
    ++found->asked;
    *ids = found->id;
    return S_OK;
}

HRESULT FakeObject::Invoke(DISPID id, REFIID interfaceId, LCID, WORD flags, DISPPARAMS* parameters,
                           VARIANT* result, EXCEPINFO* exception, UINT*) {
    const ComPtr<FakeObject> keeper(this);  // the caller may let go of this object while it answers
    Member* const member = MemberWith(id);
    if (member == nullptr) {
        return DISP_E_MEMBERNOTFOUND;
    }
    const OutsideStretch stretch(seam_);
    std::size_t place = 0;
    if (conversation_ != nullptr) {
        place = Record(ShownCall(name_, member->name, flags, *parameters) +
                       Oddities(interfaceId, flags, *parameters, result != nullptr, exception));
    }
    try {
        Call call(*this, *parameters);
        const auto carryOut = [&] { return AnswerOf(*member, call); };
        Variant value =
            seam_ == nullptr
                ? carryOut()
                : seam_->Around({name_, member->name, call.arguments, result != nullptr}, carryOut);
        if (result != nullptr) {
            if (conversation_ != nullptr) {
                Complete(place, " -> " + Shown(value));
            }
            *result = value.Detach();
        }
        return S_OK;
    } catch (const Failure& failure) {
        Complete(place, " !! " + ShownFailure(failure));
        if (failure.code == DISP_E_EXCEPTION && exception != nullptr) {
            *exception = {};
            if (failure.deferred) {
                pending = failure;
                exception->pfnDeferredFillIn = FillInLater;
            } else {
                FillIn(*exception, failure);
            }
        }
        return failure.code;
    } catch (const RuntimeError& error) {
        Complete(place, " !! " + std::to_string(error.Number()));
        return HresultOf(error.Number());
    }
}

}  // namespace kandora::test
