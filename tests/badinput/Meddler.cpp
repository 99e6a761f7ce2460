#include "tests/badinput/Meddler.h"

#include <oleauto.h>

#include "tests/support/ForwardingDispatch.h"

namespace kandora::test {

namespace {

class Meddler final : public ForwardingDispatch {
public:
    Meddler(IDispatch* object, Meddling& meddling) : ForwardingDispatch(object), meddling_(meddling) {}

    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* wrongArgument) override {
        const HRESULT outcome = ForwardingDispatch::Invoke(member, reserved, locale, flags, parameters,
                                                           result, exception, wrongArgument);
        const bool isVictim = meddling_.next++ == meddling_.victim;
        if (FAILED(outcome)) {
            return outcome;
        }
        if (isVictim) {
            meddling_.hadResult = result != nullptr;
            if (FAILED(meddling_.failure)) {
                if (result != nullptr) {
                    VariantClear(result);
                }
                return meddling_.failure;
            }
            if (result != nullptr) {
                VariantClear(result);
                *result = meddling_.answer();
            }
        } else if (result != nullptr && result->vt == VT_DISPATCH && result->pdispVal != nullptr) {
            IDispatch* const standIn = new Meddler(result->pdispVal, meddling_);
            VariantClear(result);
            result->vt = VT_DISPATCH;
            result->pdispVal = standIn;
        }
        return outcome;
    }

private:
    Meddling& meddling_;
};

}  // namespace

LateBound Meddled(const LateBound& object, Meddling& meddling) {
    return LateBound(MakeObject<Meddler>(object.Pointer(), meddling).Get());
}

}  // namespace kandora::test
