#include "tools/check/StandIns.h"

#include <algorithm>
#include <array>
#include <map>

#include "archive/ArchiveNumbers.h"
#include "automation/Errors.h"
#include "interfaces/ComObject.h"
#include "interfaces/ComPtr.h"
#include "tools/check/Spelling.h"

namespace kandora::check {

namespace {

/// Passes every call on and knows the names of those that a derived object looks at.
class Forwarding : public Undescribed<ComObject<IDispatch>> {
public:
    explicit Forwarding(const LateBound& real) : real_(real) {}

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override {
        const HRESULT outcome = real_.Pointer()->GetIDsOfNames(iid, names, count, locale, ids);
        if (SUCCEEDED(outcome) && count == 1) {
            names_[ids[0]] = names[0];
        }
        return outcome;
    }

protected:
    [[nodiscard]] bool Is(DISPID id, const wchar_t* member) const {
        const auto found = names_.find(id);
        return found != names_.end() && EqualIgnoringCase(found->second, member);
    }
    HRESULT PassOn(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                   EXCEPINFO* exception, UINT* argument) const {
        return real_.Pointer()->Invoke(id, iid, locale, flags, parameters, result, exception, argument);
    }

private:
    LateBound real_;
    std::map<DISPID, Text> names_;
};

HRESULT Answer(VARIANT* result, Variant value) {
    if (result != nullptr) {
        *result = value.Detach();
    }
    return S_OK;
}

class ClientObject final : public Forwarding {
public:
    ClientObject(const LateBound& host, const Text& client) : Forwarding(host), client_(client) {}

    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT* argument) override {
        try {
            if (Is(id, L"letztermandant")) {
                return Answer(result, Variant(client_));
            }
            // What the object has open by itself is its user's client.
            if (Is(id, L"istoffen") && !hasLoggedIn_) {
                return Answer(result, Variant(false));
            }
        } catch (...) {
            return E_OUTOFMEMORY;
        }
        hasLoggedIn_ = hasLoggedIn_ || Is(id, L"Login");
        return PassOn(id, iid, locale, flags, parameters, result, exception, argument);
    }

private:
    Text client_;
    bool hasLoggedIn_ = false;
};

class GuardedArchive final : public Forwarding {
public:
    GuardedArchive(const LateBound& archive, WriteGuard& guard) : Forwarding(archive), guard_(guard) {}

    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT* argument) override {
        constexpr std::array forbidden{L"DeleteObj",       L"AddPostboxFile", L"MoveToArchive",
                                       L"CreateStructure", L"InsertRef",      L"clickon"};
        if (std::ranges::any_of(forbidden, [&](const wchar_t* member) { return Is(id, member); }) ||
            (Is(id, L"PrepareObjectEx") && !IsAllowed(*parameters))) {
            return E_ACCESSDENIED;
        }
        return PassOn(id, iid, locale, flags, parameters, result, exception, argument);
    }

private:
    /// Loading an entry only to look at it is always allowed.
    bool IsAllowed(const DISPPARAMS& parameters) {
        try {
            constexpr UINT count = 3;
            if (parameters.cArgs != count ||
                Variant(parameters.rgvarg[1]).ToLong() != archive::documentEntry) {
                return parameters.cArgs == count;
            }
            const std::int32_t entry = Variant(parameters.rgvarg[2]).ToLong();
            const bool isAllowed = entry != 0 && entry == guard_.allowed;
            guard_.isLoaded = guard_.isLoaded || isAllowed;
            guard_.refused = isAllowed ? 0 : entry;
            return isAllowed;
        } catch (...) {
            return false;
        }
    }

    WriteGuard& guard_;
};

}  // namespace

LateBound NewClientObject(const LateBound& host, const Text& client) {
    return host.IsNothing() ? host : LateBound(MakeObject<ClientObject>(host, client).Get());
}

LateBound NewGuardedArchive(const LateBound& archive, WriteGuard& guard) {
    return archive.IsNothing() ? archive : LateBound(MakeObject<GuardedArchive>(archive, guard).Get());
}

}  // namespace kandora::check
