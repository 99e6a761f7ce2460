#include "tools/check/dry_run.h"

#include <algorithm>
#include <array>

#include "automation/Errors.h"
#include "tools/check/com_ptr.h"
#include "tools/check/system.h"

namespace kandora::check {

namespace {

/// The archive by its members' names, as filing calls them.
class DryRunArchive final : public IDispatch {
public:
    DryRunArchive(const LateBound& archive, NotedEntry& entry) : archive_(archive), entry_(entry) {}
    virtual ~DryRunArchive() = default;
    DryRunArchive(const DryRunArchive&) = delete;
    DryRunArchive& operator=(const DryRunArchive&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (iid != IID_IUnknown && iid != IID_IDispatch) {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        *object = static_cast<IDispatch*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        const auto* const found = std::ranges::find_if(
            members, [&](const Member& member) { return EqualIgnoringCase(member.name, names[0]); });
        std::fill_n(ids, count, DISPID_UNKNOWN);
        if (found == members.end()) {
            return DISP_E_UNKNOWNNAME;
        }
        ids[0] = static_cast<DISPID>(found - members.begin());
        return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT* result,
                                     EXCEPINFO*, UINT*) override {
        try {
            const Member& member = members.at(static_cast<std::size_t>(id));
            std::vector<Variant> arguments;
            for (UINT place = parameters->cArgs; place > 0; --place) {
                arguments.emplace_back(parameters->rgvarg[place - 1]);
            }
            if (arguments.size() < member.arguments) {
                return DISP_E_BADPARAMCOUNT;
            }
            Variant answer = (this->*member.perform)(arguments);
            if (result != nullptr) {
                *result = answer.Detach();
            }
            return S_OK;
        } catch (...) {
            return HresultOf(CurrentError().Number());
        }
    }

private:
    using Arguments = std::vector<Variant>;

    struct Member {
        const wchar_t* name;
        std::size_t arguments;
        Variant (DryRunArchive::*perform)(const Arguments& arguments);
    };

    static Variant Success() { return Variant(std::int32_t{1}); }

    Variant Ignore(const Arguments& /*arguments*/) { return Success(); }
    Variant LookupDelimiter(const Arguments& /*arguments*/) { return archive_.Get(L"LookupDelimiter"); }
    Variant LookupIndex(const Arguments& arguments) {
        Text path = arguments[0].ToText();
        return archive_.Get(L"LookupIndex", ByRef(path));
    }
    Variant Prepare(const Arguments& arguments) {
        entry_ = {};
        entry_.mask = arguments[2].ToLong();
        return Success();
    }
    Variant PutMask(const Arguments& arguments) {
        entry_.mask = arguments[0].ToLong();
        return {};
    }
    Variant PutTitle(const Arguments& arguments) {
        entry_.title = arguments[0].ToText();
        return {};
    }
    Variant PutField(const Arguments& arguments) {
        entry_.fields.emplace_back(arguments[0].ToInteger(), arguments[1].ToText());
        return Success();
    }
    Variant AddDocument(const Arguments& arguments) {
        entry_.document = arguments[0].ToText();
        return Success();
    }
    Variant Move(const Arguments& arguments) {
        entry_.target = arguments[0].ToText();
        return Success();
    }

    static constexpr std::array<Member, 11> members{{
        {L"Login", 3, &DryRunArchive::Ignore},
        {L"EloWindow", 1, &DryRunArchive::Ignore},
        {L"GetEntryId", 1, &DryRunArchive::Ignore},
        {L"LookupDelimiter", 0, &DryRunArchive::LookupDelimiter},
        {L"LookupIndex", 1, &DryRunArchive::LookupIndex},
        {L"PrepareObjectEx", 3, &DryRunArchive::Prepare},
        {L"ObjMaskNo", 1, &DryRunArchive::PutMask},
        {L"ObjShort", 1, &DryRunArchive::PutTitle},
        {L"setobjAttrib", 2, &DryRunArchive::PutField},
        {L"AddPostboxFile", 1, &DryRunArchive::AddDocument},
        {L"MoveToArchive", 1, &DryRunArchive::Move},
    }};

    LateBound archive_;
    NotedEntry& entry_;
    ULONG references_ = 1;
};

}  // namespace

LateBound NewDryRunArchive(const LateBound& archive, NotedEntry& entry) {
    const ComPtr<IDispatch> object(new DryRunArchive(archive, entry));
    return LateBound(object.Get());
}

}  // namespace kandora::check
