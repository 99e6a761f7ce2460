#include "automation/LateBound.h"

#include <algorithm>
#include <cwchar>
#include <utility>

#include "automation/BusyServer.h"
#include "automation/Errors.h"
#include "interfaces/ComPtr.h"

namespace kandora {

namespace {

/// No member that this system calls takes as many arguments.
constexpr std::size_t maximalArguments = 8;

RuntimeError ErrorFrom(EXCEPINFO& info) {
    if (info.pfnDeferredFillIn != nullptr) {
        info.pfnDeferredFillIn(&info);
    }
    const std::int32_t number = info.wCode != 0 ? info.wCode : NumberOf(info.scode);
    Text description = TextOf(info.bstrDescription);
    Text source = TextOf(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrHelpFile);
    return {number, description.empty() ? DescriptionOf(number) : std::move(description), std::move(source)};
}

/// One Invoke with everything around it; the result stays where it is when none is wanted.
Variant InvokeById(IDispatch* object, DISPID id, WORD flags, DISPPARAMS& parameters, bool wantsResult) {
    Variant result;
    EXCEPINFO exception{};
    const HRESULT outcome = WhileBusy([&] {
        return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                              wantsResult ? result.Receive() : nullptr, &exception, nullptr);
    });
    if (outcome == DISP_E_EXCEPTION) {
        throw ErrorFrom(exception);
    }
    RequireSuccess(outcome);
    result.Dereference();
    return result;
}

}  // namespace

Argument::Argument(ByReference<Text> text) : bstr_(NewBstr(text.variable)), text_(&text.variable) {}
Argument::Argument(ByReference<std::int32_t> number) : value_(number.variable), long_(&number.variable) {}
Argument::Argument(ByReference<std::int16_t> number) : value_(number.variable), integer_(&number.variable) {}

Argument::~Argument() {
    if (bstr_ != nullptr) {
        SysFreeString(bstr_);
    }
}

VARIANT Argument::Passed() noexcept {
    VARIANT passed = value_.Raw();
    if (text_ != nullptr) {
        passed.vt = VT_BYREF | VT_BSTR;
        passed.pbstrVal = &bstr_;
    } else if (long_ != nullptr) {
        passed.vt = VT_BYREF | VT_I4;
        passed.plVal = &value_.Receive()->lVal;
    } else if (integer_ != nullptr) {
        passed.vt = VT_BYREF | VT_I2;
        passed.piVal = &value_.Receive()->iVal;
    }
    return passed;
}

void Argument::CopyBack() {
    if (text_ != nullptr) {
        *text_ = TextOf(bstr_);
    } else if (long_ != nullptr) {
        *long_ = value_.Raw().lVal;
    } else if (integer_ != nullptr) {
        *integer_ = value_.Raw().iVal;
    }
}

/// The object and what is known of it, owned by all copies together. They are counted without locks: all of
/// them stay in one apartment.
struct LateBound::Binding {
    explicit Binding(IDispatch* theObject) : object(theObject) {}

    DISPID IdOf(MemberName member) {
        for (const Id& known : ids) {
            if (known.member.Name() == member.Name()) {
                return known.id;
            }
        }
        for (const Id& known : ids) {  // the same name, written at another place
            if (std::wcscmp(known.member.Name(), member.Name()) == 0) {
                return known.id;
            }
        }
        DISPID id = DISPID_UNKNOWN;
        auto* name = const_cast<wchar_t*>(member.Name());
        RequireSuccess(
            WhileBusy([&] { return object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id); }));
        ids.push_back({member, id});
        return id;
    }

    struct Id {
        MemberName member;
        DISPID id;
    };

    ComPtr<IDispatch> object;
    std::vector<Id> ids;
    long owners = 1;
};

LateBound::LateBound(IDispatch* object) : binding_(object == nullptr ? nullptr : new Binding(object)) {}

LateBound::LateBound(const LateBound& other) noexcept : binding_(other.binding_) {
    if (binding_ != nullptr) {
        ++binding_->owners;
    }
}

LateBound::~LateBound() {
    if (binding_ != nullptr && --binding_->owners == 0) {
        delete binding_;
    }
}

LateBound::LateBound(const Variant& value) {
    if (!value.IsObject()) {
        throw RuntimeError(errors::typeMismatch);
    }
    if (value.ObjectPointer() != nullptr) {
        ComPtr<IDispatch> object;
        RequireSuccess(WhileBusy(
            [&] { return value.ObjectPointer()->QueryInterface(IID_IDispatch, object.ReceiveVoid()); }));
        binding_ = new Binding(object.Get());
    }
}

IDispatch* LateBound::Pointer() const noexcept {
    return binding_ == nullptr ? nullptr : binding_->object.Get();
}

void LateBound::InvokePut(MemberName member, Argument& value) const {
    Invoke(member, DISPATCH_PROPERTYPUT, false, &value, 1);
}

Variant LateBound::Invoke(MemberName member, WORD flags, bool wantsResult, Argument* arguments,
                          std::size_t count) const {
    if (binding_ == nullptr) {
        throw RuntimeError(errors::objectMissing);
    }
    // The callee may make the owner of this reference drop it while the call is under way.
    const LateBound alive = *this;
    std::array<VARIANT, maximalArguments> passed;
    for (std::size_t i = 0; i < count; ++i) {
        passed[count - 1 - i] =
            arguments[i].Passed();  // automation takes arguments from the last to the first
    }
    DISPID put = DISPID_PROPERTYPUT;
    const bool isPut = (flags & DISPATCH_PROPERTYPUT) != 0;
    DISPPARAMS parameters{count > 0 ? passed.data() : nullptr, isPut ? &put : nullptr,
                          static_cast<UINT>(count), isPut ? 1U : 0U};
    Variant result = InvokeById(alive.binding_->object.Get(), alive.binding_->IdOf(member), flags, parameters,
                                wantsResult);
    for (std::size_t i = 0; i < count; ++i) {
        arguments[i].CopyBack();
    }
    return result;
}

bool LateBound::Knows(std::initializer_list<const wchar_t*> members) const noexcept {
    if (binding_ == nullptr) {
        return false;
    }
    return std::ranges::all_of(members, [this](const wchar_t* member) {
        DISPID id = DISPID_UNKNOWN;
        auto* name = const_cast<wchar_t*>(member);
        return SUCCEEDED(binding_->object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id));
    });
}

Variant LateBound::DefaultValue() const {
    if (binding_ == nullptr) {
        throw RuntimeError(errors::objectMissing);
    }
    DISPPARAMS none{};
    return InvokeById(binding_->object.Get(), DISPID_VALUE, DISPATCH_METHOD | DISPATCH_PROPERTYGET, none,
                      true);
}

std::optional<std::vector<Variant>> LateBound::Items() const {
    if (binding_ == nullptr) {
        return std::nullopt;
    }
    try {
        DISPPARAMS none{};
        const Variant enumerator = InvokeById(binding_->object.Get(), DISPID_NEWENUM,
                                              DISPATCH_METHOD | DISPATCH_PROPERTYGET, none, true);
        ComPtr<IEnumVARIANT> items;
        if (!enumerator.IsObject() || enumerator.ObjectPointer() == nullptr ||
            FAILED(enumerator.ObjectPointer()->QueryInterface(IID_IEnumVARIANT, items.ReceiveVoid()))) {
            return std::nullopt;
        }
        std::vector<Variant> result;
        Variant item;
        while (WhileBusy([&] { return items->Next(1, item.Receive(), nullptr); }) == S_OK) {
            item.Dereference();
            result.push_back(std::exchange(item, Variant()));
        }
        return result;
    } catch (const RuntimeError&) {
        return std::nullopt;
    }
}

LateBound NewObject(const Text& progId) {
    CLSID clsid{};
    ComPtr<IDispatch> object;
    HRESULT outcome = CLSIDFromProgID(progId.c_str(), &clsid);
    if (SUCCEEDED(outcome)) {
        outcome = WhileBusy([&] {
            return CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IDispatch,
                                    object.ReceiveVoid());
        });
    }
    if (FAILED(outcome)) {
        const std::int32_t number = NumberOf(outcome);
        throw RuntimeError(number == errors::outOfMemory || number == errors::serverGone
                               ? number
                               : errors::cannotCreateObject);
    }
    return LateBound(object.Get());
}

}  // namespace kandora
