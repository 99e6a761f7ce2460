#include "benchmarks/Recorder.h"
#include "interfaces/ComObject.h"

#include <array>
#include <atomic>
#include <stdexcept>

namespace kandora::benchmarks {

namespace {

constexpr std::size_t mostArguments = 8;

}  // namespace

/// Stands before an object of another program and passes everything on.
class Conversation::Listener final : public Undescribed<ComObject<IDispatch>> {
public:
    Listener(Conversation& conversation, ComPtr<IDispatch> object, std::size_t role)
        : conversation_(conversation), object_(std::move(object)), role_(role) {}
    ~Listener() override {
        Step step;
        step.kind = Step::Kind::LetGo;
        step.object = role_;
        conversation_.steps_.push_back(std::move(step));
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override {
        Step step;
        step.kind = Step::Kind::Ask;
        step.object = role_;
        step.name = names[0];
        conversation_.steps_.push_back(step);
        return object_->GetIDsOfNames(reserved, names, count, locale, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* argument) override {
        Step step;
        step.object = role_;
        step.id = id;
        step.flags = flags;
        step.wantsResult = result != nullptr;
        for (UINT i = 0; i < parameters->cArgs; ++i) {
            step.arguments.push_back(Taken(parameters->rgvarg[i]));
        }
        const HRESULT outcome =
            object_->Invoke(id, reserved, locale, flags, parameters, result, exception, argument);
        if (SUCCEEDED(outcome) && result != nullptr && result->vt == VT_DISPATCH &&
            result->pdispVal != nullptr) {
            step.resultObject = conversation_.roles_;
            result->pdispVal = conversation_.NewListener(result->pdispVal);
        }
        conversation_.steps_.push_back(std::move(step));
        return outcome;
    }

private:
    static Passed Taken(const VARIANT& value) {
        Passed passed;
        passed.type = value.vt;
        switch (value.vt) {
        case VT_BSTR:
            passed.text.assign(value.bstrVal == nullptr ? L"" : value.bstrVal, SysStringLen(value.bstrVal));
            break;
        case VT_BSTR | VT_BYREF:
            passed.text.assign(*value.pbstrVal == nullptr ? L"" : *value.pbstrVal,
                               SysStringLen(*value.pbstrVal));
            break;
        case VT_I2:
            passed.number = value.iVal;
            break;
        case VT_I2 | VT_BYREF:
            passed.number = *value.piVal;
            break;
        case VT_I4 | VT_BYREF:
            passed.number = *value.plVal;
            break;
        default:
            passed.number = value.lVal;
            break;
        }
        return passed;
    }

    Conversation& conversation_;
    ComPtr<IDispatch> object_;
    std::size_t role_;
};

void Conversation::Release() {
    for (ComPtr<IDispatch>& object : held_) {
        object.Reset();
    }
}

IDispatch* Conversation::NewListener(IDispatch* object) {
    madeAt_.push_back(steps_.size());
    return new Listener(*this, ComPtr<IDispatch>::Adopt(object), roles_++);
}

IDispatch* Conversation::Listen(REFCLSID clsid, IDispatch* made) {
    Step step;
    step.kind = Step::Kind::Make;
    step.clsid = clsid;
    step.object = roles_;
    IDispatch* const listener = NewListener(made);
    steps_.push_back(step);
    return listener;
}

void Conversation::Hold(std::size_t role, ComPtr<IDispatch> object) {
    if (held_.size() <= role) {
        held_.resize(roles_);
    }
    held_[role] = std::move(object);
}

void Conversation::Call(const Step& step) {
    std::array<VARIANT, mostArguments> arguments{};
    std::array<BSTR, mostArguments> texts{};
    std::array<LONG, mostArguments> longs{};
    std::array<SHORT, mostArguments> shorts{};
    const std::size_t count = step.arguments.size();
    for (std::size_t i = 0; i < count; ++i) {
        const Passed& passed = step.arguments[i];
        VARIANT& argument = arguments[i];
        argument.vt = passed.type;
        switch (passed.type) {
        case VT_BSTR:
        case VT_BSTR | VT_BYREF:
            texts[i] = SysAllocStringLen(passed.text.data(), static_cast<UINT>(passed.text.size()));
            if (passed.type == VT_BSTR) {
                argument.bstrVal = texts[i];
            } else {
                argument.pbstrVal = &texts[i];
            }
            break;
        case VT_I2:
            argument.iVal = static_cast<SHORT>(passed.number);
            break;
        case VT_I2 | VT_BYREF:
            shorts[i] = static_cast<SHORT>(passed.number);
            argument.piVal = &shorts[i];
            break;
        case VT_I4 | VT_BYREF:
            longs[i] = passed.number;
            argument.plVal = &longs[i];
            break;
        default:
            argument.lVal = passed.number;
            break;
        }
    }
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{};
    parameters.rgvarg = count == 0 ? nullptr : arguments.data();
    parameters.cArgs = static_cast<UINT>(count);
    if ((step.flags & DISPATCH_PROPERTYPUT) != 0) {
        parameters.rgdispidNamedArgs = &put;
        parameters.cNamedArgs = 1;
    }
    VARIANT result{};
    EXCEPINFO exception{};
    const HRESULT outcome = held_.at(step.object)
                                ->Invoke(step.id, IID_NULL, LOCALE_USER_DEFAULT, step.flags, &parameters,
                                         step.wantsResult ? &result : nullptr, &exception, nullptr);
    for (std::size_t i = 0; i < count; ++i) {
        SysFreeString(texts[i]);
    }
    if (FAILED(outcome)) {
        throw std::runtime_error("a bare call failed: " + std::to_string(outcome));
    }
    if (step.resultObject != none) {
        Hold(step.resultObject, ComPtr<IDispatch>::Adopt(result.pdispVal));
    } else {
        VariantClear(&result);
    }
}

void Conversation::SayAgain(std::size_t begin, std::size_t end, bool askingIds) {
    for (std::size_t i = begin; i < end; ++i) {
        const Step& step = steps_[i];
        if (step.kind == Step::Kind::Call) {
            Call(step);
        } else if (step.kind == Step::Kind::Make) {
            Hold(step.object, maker_(step.clsid));
        } else if (step.kind == Step::Kind::LetGo) {
            if (madeAt_[step.object] >= begin) {
                held_.at(step.object).Reset();
            }
        } else if (askingIds) {
            DISPID id = DISPID_UNKNOWN;
            auto* name = const_cast<wchar_t*>(step.name.c_str());
            held_.at(step.object)->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
        }
    }
}

std::size_t Conversation::Calls(std::size_t begin, std::size_t end) const {
    std::size_t count = 0;
    for (std::size_t i = begin; i < end; ++i) {
        count += steps_[i].kind == Step::Kind::Call ? 1U : 0U;
    }
    return count;
}

std::size_t Conversation::Questions(std::size_t begin, std::size_t end) const {
    std::size_t count = 0;
    for (std::size_t i = begin; i < end; ++i) {
        count += steps_[i].kind == Step::Kind::Ask ? 1U : 0U;
    }
    return count;
}

}  // namespace kandora::benchmarks
