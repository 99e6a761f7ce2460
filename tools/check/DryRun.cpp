#include "tools/check/DryRun.h"

#include <algorithm>
#include <array>
#include <span>

#include "automation/Errors.h"
#include "interfaces/ComObject.h"
#include "interfaces/ComPtr.h"
#include "tools/check/Spelling.h"

namespace kandora::check {

namespace {

/// The archive by its members' names, as filing calls them.
class DryRunArchive final : public Undescribed<ComObject<IDispatch>> {
public:
    DryRunArchive(const LateBound& archive, NotedEntry& entry) : archive_(archive), entry_(entry) {}

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        const std::span<const Member> members = Members();
        const auto found = std::ranges::find_if(
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
            const std::span<const Member> members = Members();
            if (id < 0 || static_cast<std::size_t>(id) >= members.size()) {
                return DISP_E_MEMBERNOTFOUND;
            }
            const Member& member = members[static_cast<std::size_t>(id)];
            std::vector<Variant> arguments;
            for (UINT place = parameters->cArgs; place > 0; --place) {
                arguments.emplace_back(parameters->rgvarg[place - 1]);
            }
            if (arguments.size() < member.arguments) {
                return DISP_E_BADPARAMCOUNT;
            }
            Variant answer = member.perform(*this, arguments);
            if (result != nullptr) {
                *result = answer.Detach();
            }
            return S_OK;
        } catch (...) {
            return HresultOf(CurrentNumber());
        }
    }

private:
    using Arguments = std::vector<Variant>;

    struct Member {
        const wchar_t* name;
        std::size_t arguments;
        Variant (*perform)(DryRunArchive& self, const Arguments& arguments);
    };

    static Variant Success() { return Variant(std::int32_t{1}); }
    static Variant Ignore(DryRunArchive& /*self*/, const Arguments& /*arguments*/) { return Success(); }
    static Variant LookupDelimiter(DryRunArchive& self, const Arguments& /*arguments*/) {
        return self.archive_.IsNothing() ? Variant(L"/") : self.archive_.Get(L"LookupDelimiter");
    }
    static Variant LookupIndex(DryRunArchive& self, const Arguments& arguments) {
        Text path = arguments[0].ToText();
        return self.archive_.IsNothing() ? Success() : self.archive_.Get(L"LookupIndex", ByRef(path));
    }
    static Variant Prepare(DryRunArchive& self, const Arguments& arguments) {
        self.entry_ = {};
        self.entry_.mask = arguments[2].ToLong();
        return Success();
    }
    static Variant PutField(DryRunArchive& self, const Arguments& arguments) {
        self.entry_.fields.emplace_back(arguments[0].ToInteger(), arguments[1].ToText());
        return Success();
    }
    /// For members that take one text.
    template <Text NotedEntry::* noted>
    static Variant Note(DryRunArchive& self, const Arguments& arguments) {
        self.entry_.*noted = arguments[0].ToText();
        return Success();
    }

    static std::span<const Member> Members() {
        static constexpr auto members = std::to_array<Member>({
            {L"Login", 3, &Ignore},
            {L"EloWindow", 1, &Ignore},
            {L"GetEntryId", 1, &Ignore},
            {L"LookupDelimiter", 0, &LookupDelimiter},
            {L"LookupIndex", 1, &LookupIndex},
            {L"PrepareObjectEx", 3, &Prepare},
            {L"ObjMaskNo", 1,
             [](DryRunArchive& self, const Arguments& arguments) {
                 self.entry_.mask = arguments[0].ToLong();
                 return Success();
             }},
            {L"ObjShort", 1, &Note<&NotedEntry::title>},
            {L"setobjAttrib", 2, &PutField},
            {L"AddPostboxFile", 1, &Note<&NotedEntry::document>},
            {L"MoveToArchive", 1, &Note<&NotedEntry::target>},
        });
        return members;
    }

    LateBound archive_;
    NotedEntry& entry_;
};

/// The component's error for a booking that the host does not give.
constexpr std::int32_t bookingUnreadable = 5010;

}  // namespace

LateBound NewDryRunArchive(const LateBound& archive, NotedEntry& entry) {
    return LateBound(MakeObject<DryRunArchive>(archive, entry).Get());
}

LateBound Rehearsal::RehearsalPlatform::CreateObject(const Text& progId) {
    return progId == archiveClass ? archive_ : ForwardingPlatform::CreateObject(progId);
}

Text Rehearsal::WatchedVouchers::GetBuchungsType(const Text& strBelegNr, const Text& strBelegIndex) {
    kind.clear();
    isMissing = false;
    try {
        kind = vouchers_.GetBuchungsType(strBelegNr, strBelegIndex);
        return kind;
    } catch (const RuntimeError& error) {
        isMissing = error.Number() == bookingUnreadable;
        throw;
    }
}

Rehearsal::Rehearsal(MGlobals& globals, const LateBound& archive)
    : globals_(globals), platform_(globals.Machine(), NewDryRunArchive(archive, entry_)),
      vouchers_(globals.ArchiveSide().vouchers), archive_(Context(globals.ArchiveSide())) {}

Text Rehearsal::File(const Text& number, const Text& index, const Text& barcode, const Text& docId) {
    entry_ = {};
    vouchers_.isMissing = false;
    try {
        archive_.AddDokument(Text(globals_.state.folders.strPlatzhalterDatei), barcode, number, index,
                             L"Pendent", docId);
    } catch (...) {
        globals_.goErrHandler().Clear();
        throw;
    }
    return vouchers_.kind;
}

}  // namespace kandora::check
