#include "tests/outside/Course.h"

#include "interfaces/CodePages.h"
#include "tests/component/ComponentSupport.h"

#include "DmsSolution.h"
#include "Kandora.h"

#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>

namespace kandora::outside_tests {

using namespace component_tests;
using namespace std::literals;

namespace {

/// A call through the vtable: the object, the arguments, and a place for the result.
struct Site {
    IDispatch* object;
    std::vector<Value>& arguments;
    Value& result;

    /// Calls the method of the interface with what the caller hands over.
    template <class Interface, class... Parameters, class... Given>
    HRESULT Call(HRESULT (STDMETHODCALLTYPE Interface::*method)(Parameters...), Given... given) const {
        ComPtr<Interface> typed;
        const HRESULT found = object->QueryInterface(__uuidof(Interface), typed.ReceiveVoid());
        return FAILED(found) ? found : (typed.Get()->*method)(given...);
    }

    [[nodiscard]] BSTR Text(std::size_t at) const { return arguments.at(at).Raw().bstrVal; }
    [[nodiscard]] BSTR* TextPlace(std::size_t at) const { return &arguments.at(at).Place()->bstrVal; }
    [[nodiscard]] long Number(std::size_t at) const { return arguments.at(at).Raw().lVal; }
    [[nodiscard]] long* NumberPlace(std::size_t at) const { return &arguments.at(at).Place()->lVal; }
    [[nodiscard]] VARIANT_BOOL Truth(std::size_t at) const { return arguments.at(at).Raw().boolVal; }
    [[nodiscard]] VARIANT Any(std::size_t at) const { return arguments.at(at).Raw(); }

    [[nodiscard]] BSTR* TextResult() const { return &Result(VT_BSTR)->bstrVal; }
    [[nodiscard]] long* NumberResult() const { return &Result(VT_I4)->lVal; }
    [[nodiscard]] VARIANT_BOOL* TruthResult() const { return &Result(VT_BOOL)->boolVal; }
    [[nodiscard]] DATE* DateResult() const { return &Result(VT_DATE)->date; }
    [[nodiscard]] IDispatch** ObjectResult() const { return &Result(VT_DISPATCH)->pdispVal; }
    [[nodiscard]] VARIANT* AnyResult() const { return result.Receive(); }

private:
    [[nodiscard]] VARIANT* Result(VARTYPE type) const {
        result.Receive()->vt = type;
        return result.Place();
    }
};

using Slot = HRESULT (*)(const Site& site);

const std::map<std::wstring, Slot>& Slots() {
    using S = const Site&;
    using P = DMSProvider;
    using A = _ELODMS;
    using O = _OrigELODMS;
    using H = _SOKInterface;
    static const std::map<std::wstring, Slot> slots{
        {L"ELOProvider.bRunning", [](S s) { return s.Call(&_ELOProvider::get_bRunning, s.TruthResult()); }},
        {L"ELOProvider.bRunning=", [](S s) { return s.Call(&_ELOProvider::put_bRunning, s.Truth(0)); }},
        {L"ELOProvider.ShowDocument", [](S s) { return s.Call(&P::ShowDocument, s.Text(0), s.Any(1)); }},
        {L"ELOProvider.PrintDocument", [](S s) { return s.Call(&P::PrintDocument, s.Text(0), s.Any(1)); }},
        {L"ELOProvider.SaveDocument", [](S s) { return s.Call(&P::SaveDocument, s.Text(0), s.Any(1)); }},
        {L"ELOProvider.StartProvider", [](S s) { return s.Call(&P::StartProvider, s.Any(0)); }},
        {L"ELOProvider.FibuVersion", [](S s) { return s.Call(&P::FibuVersion, s.Any(0)); }},
        {L"ELOProvider.CreateDocID", [](S s) { return s.Call(&P::CreateDocID, s.Any(0), s.TextResult()); }},
        {L"ELOProvider.GetOpenDocInfo", [](S s) { return s.Call(&P::GetOpenDocInfo, s.AnyResult()); }},
        {L"ELOProvider.SavePendingDocument",
         [](S s) { return s.Call(&P::SavePendingDocument, s.Any(0), s.Text(1), s.Any(2)); }},
        {L"ELOProvider.GetVirtualPrinterName",
         [](S s) { return s.Call(&P::GetVirtualPrinterName, s.TextResult()); }},
        {L"ELOProvider.InitProvider", [](S s) { return s.Call(&P::InitProvider, s.Any(0), s.AnyResult()); }},
        {L"ELOProvider.DeleteDocument", [](S s) { return s.Call(&P::DeleteDocument, s.Text(0), s.Any(1)); }},
        {L"ELOProvider.SetDocumentStatus",
         [](S s) { return s.Call(&P::SetDocumentStatus, s.Text(0), s.Any(1)); }},
        {L"ELOProvider.DocumentChanged",
         [](S s) { return s.Call(&P::DocumentChanged, s.Text(0), s.Any(1)); }},

        {L"ELODMS.oElo", [](S s) { return s.Call(&A::get_oElo, s.ObjectResult()); }},
        {L"ELODMS.ELOSichtbar", [](S s) { return s.Call(&A::ELOSichtbar); }},
        {L"ELODMS.CheckLogin", [](S s) { return s.Call(&A::CheckLogin, s.TextResult()); }},
        {L"ELODMS.FindSageDocumentByID",
         [](S s) { return s.Call(&A::FindSageDocumentByID, s.TextPlace(0), s.NumberResult()); }},
        {L"ELODMS.FindSageDocumentByBelegNr",
         [](S s) {
             return s.Call(&A::FindSageDocumentByBelegNr, s.TextPlace(0), s.TextPlace(1), s.NumberResult());
         }},
        {L"ELODMS.IsDokumentVorhanden",
         [](S s) { return s.Call(&A::IsDokumentVorhanden, s.Number(0), s.TruthResult()); }},
        {L"ELODMS.CheckPFadVorhanden",
         [](S s) { return s.Call(&A::CheckPFadVorhanden, s.TextPlace(0), s.TextResult()); }},
        {L"ELODMS.PFadErstellen",
         [](S s) { return s.Call(&A::PFadErstellen, s.TextPlace(0), s.TextResult()); }},
        {L"ELODMS.CheckMaskeVorhanden",
         [](S s) { return s.Call(&A::CheckMaskeVorhanden, s.NumberPlace(0), s.TextResult()); }},
        {L"ELODMS.ChangeDocument",
         [](S s) {
             return s.Call(&A::ChangeDocument, s.Text(0), s.TextPlace(1), s.TextPlace(2), s.TextPlace(3));
         }},
        {L"ELODMS.MarkAsDeleted",
         [](S s) { return s.Call(&A::MarkAsDeleted, s.Text(0), s.TextPlace(1), s.TextPlace(2)); }},
        {L"ELODMS.ShowDokument", [](S s) { return s.Call(&A::ShowDokument, s.Text(0)); }},
        {L"ELODMS.LoescheDokument", [](S s) { return s.Call(&A::LoescheDokument, s.Number(0)); }},
        {L"ELODMS.AddDokument",
         [](S s) {
             return s.Call(&A::AddDokument, s.Text(0), s.TextPlace(1), s.TextPlace(2), s.TextPlace(3),
                           s.TextPlace(4), s.TextPlace(5), s.NumberResult());
         }},
        {L"ELODMS.SaveAuswertung", [](S s) { return s.Call(&A::SaveAuswertung, s.TextPlace(0)); }},

        {L"OrigELODMS.oElo", [](S s) { return s.Call(&O::get_oElo, s.ObjectResult()); }},
        {L"OrigELODMS.ShowDokument", [](S s) { return s.Call(&O::ShowDokument, s.Number(0)); }},
        {L"OrigELODMS.IsDokumentVorhanden",
         [](S s) { return s.Call(&O::IsDokumentVorhanden, s.Number(0), s.TruthResult()); }},
        {L"OrigELODMS.GetUnverknuepfte", [](S s) { return s.Call(&O::GetUnverknuepfte, s.AnyResult()); }},
        {L"OrigELODMS.GetParentFolderId",
         [](S s) { return s.Call(&O::GetParentFolderId, s.Number(0), s.NumberResult()); }},
        {L"OrigELODMS.CurrentRegisterDate",
         [](S s) { return s.Call(&O::CurrentRegisterDate, s.Number(0), s.DateResult()); }},
        {L"OrigELODMS.LoescheDokument", [](S s) { return s.Call(&O::LoescheDokument, s.Number(0)); }},
        {L"OrigELODMS.AddDokumentToMassenversaendeZA",
         [](S s) { return s.Call(&O::AddDokumentToMassenversaendeZA, s.Text(0), s.NumberResult()); }},
        {L"OrigELODMS.AddDokument", [](S s) { return s.Call(&O::AddDokument, s.Text(0), s.NumberResult()); }},
        {L"OrigELODMS.PrintDokument", [](S s) { return s.Call(&O::PrintDokument, s.Number(0)); }},
        {L"OrigELODMS.LoescheVerknuepfung", [](S s) { return s.Call(&O::LoescheVerknuepfung, s.Number(0)); }},

        {L"SOKInterface.EinstellungenLesen",
         [](S s) { return s.Call(&H::EinstellungenLesen, s.TruthResult()); }},
        {L"SOKInterface.EinstellungenSchreiben",
         [](S s) { return s.Call(&H::EinstellungenSchreiben, s.TruthResult()); }},
        {L"SOKInterface.GetKrediDaten",
         [](S s) { return s.Call(&H::GetKrediDaten, s.TextPlace(0), s.TextPlace(1)); }},
        {L"SOKInterface.GetDebiDaten",
         [](S s) { return s.Call(&H::GetDebiDaten, s.TextPlace(0), s.TextPlace(1)); }},
        {L"SOKInterface.GetBelegDaten",
         [](S s) { return s.Call(&H::GetBelegDaten, s.TextPlace(0), s.TextPlace(1)); }},
        {L"SOKInterface.oSesamFibu", [](S s) { return s.Call(&H::get_oSesamFibu, s.ObjectResult()); }},
        {L"SOKInterface.oSesamDebi", [](S s) { return s.Call(&H::get_oSesamDebi, s.ObjectResult()); }},
        {L"SOKInterface.oSesamKredi", [](S s) { return s.Call(&H::get_oSesamKredi, s.ObjectResult()); }},
        {L"SOKInterface.GetBuchungsType",
         [](S s) { return s.Call(&H::GetBuchungsType, s.TextPlace(0), s.TextPlace(1), s.TextResult()); }},
    };
    return slots;
}

std::wstring Digits(const std::wstring& text) {
    std::wstring shown;
    for (const wchar_t unit : text) {
        shown += unit >= L'0' && unit <= L'9' ? L'#' : unit;
    }
    return shown;
}

std::wstring ShownArray(const VARIANT& value) {
    LONG first = 0;
    LONG last = -1;
    SafeArrayGetLBound(value.parray, 1, &first);
    SafeArrayGetUBound(value.parray, 1, &last);
    return L"ARRAY " + std::to_wstring(first) + L" to " + std::to_wstring(last);
}

std::wstring Shown(const VARIANT& value) {
    switch (value.vt) {
    case VT_EMPTY:
        return L"EMPTY";
    case VT_BSTR:
        return L"BSTR " +
               (value.bstrVal == nullptr ? L""s : std::wstring(value.bstrVal, SysStringLen(value.bstrVal)));
    case VT_I4:
        return L"I4 " + std::to_wstring(value.lVal);
    case VT_BOOL:
        return value.boolVal == VARIANT_TRUE ? L"BOOL True" : L"BOOL False";
    case VT_DATE: {
        SYSTEMTIME time{};
        VariantTimeToSystemTime(value.date, &time);
        return L"DATE " + std::to_wstring(time.wYear) + L"-" + std::to_wstring(time.wMonth) + L"-" +
               std::to_wstring(time.wDay);
    }
    case VT_DISPATCH:
        return value.pdispVal == nullptr ? L"NOTHING" : L"DISPATCH";
    case VT_ARRAY | VT_VARIANT:
        return ShownArray(value);
    case VT_ARRAY | VT_BSTR:
        return L"TEXTS";
    default:
        return L"type " + std::to_wstring(value.vt);
    }
}

/// A script knows 0x800Axxxx by its last 16 bits.
std::wstring ErrorNumber(HRESULT code) {
    return HRESULT_FACILITY(code) == FACILITY_CONTROL ? std::to_wstring(HRESULT_CODE(code))
                                                      : std::to_wstring(code);
}

void Say(const std::wstring& line) {
    std::cout << Escaped(line) << std::endl;
}

/// An outside caller with one object of each class.
class Caller {
public:
    explicit Caller(const std::wstring& way) : way_(way) {}

    void Make(const std::wstring& name) {
        CLSID clsid{};
        ComPtr<IDispatch> object;
        HRESULT made = CLSIDFromProgID((L"Kandora." + name).c_str(), &clsid);
        if (SUCCEEDED(made)) {
            made =
                CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.ReceiveVoid());
        }
        if (FAILED(made)) {
            throw std::runtime_error("cannot make " + Utf8FromText(name));
        }
        objects_[name] = std::move(object);
        Say(L"new " + name);
    }

    void Release(const std::wstring& name) {
        objects_.erase(name);
        Say(L"release " + name);
    }

    /// Calls the member and tells what came back.
    Value Do(const std::wstring& member, std::vector<Value> arguments = {}) {
        const std::size_t dot = member.find(L'.');
        IDispatch* const object = objects_.at(member.substr(0, dot)).Get();
        Value result;
        if (way_ == throughVtable) {
            DoThroughVtable(object, member, arguments, result);
        } else if (way_ == byValue) {
            result = Told(member, Call(object, member.substr(dot + 1).c_str(), std::move(arguments)));
        } else {
            DoByReference(object, member, arguments, result);
        }
        return result;
    }

    void Put(const std::wstring& member, bool value) {
        IDispatch* const object = objects_.at(member.substr(0, member.find(L'.'))).Get();
        HRESULT outcome = S_OK;
        if (way_ == throughVtable) {
            std::vector<Value> arguments = List(Value::Boolean(value));
            Value none;
            outcome = Slots().at(member + L"=")({object, arguments, none});
        } else {
            outcome = component_tests::Put(object, member.substr(member.find(L'.') + 1).c_str(),
                                           Value::Boolean(value))
                          .outcome;
        }
        Say(member + (outcome == S_OK ? L" := BOOL " + std::wstring(value ? L"True" : L"False") : L" fails"));
    }

private:
    static void DoThroughVtable(IDispatch* object, const std::wstring& member, std::vector<Value>& arguments,
                                Value& result) {
        std::vector<std::wstring> before;
        for (const Value& argument : arguments) {
            before.push_back(Shown(argument.Raw()));
        }
        const HRESULT outcome = Slots().at(member)({object, arguments, result});
        if (FAILED(outcome)) {
            ComPtr<IErrorInfo> info;
            Bstr description;
            Bstr source;
            if (GetErrorInfo(0, info.Receive()) == S_OK) {
                info->GetDescription(description.Receive());
                info->GetSource(source.Receive());
            }
            SayFailure(member, outcome, description.Text(), source.Text());
        } else {
            SayAnswer(member, result);
        }
        SayChanges(before, arguments);
    }

    /// Every argument is a variable that holds a Variant; small numbers are 16-bit ones, as scripts have
    /// them.
    static void DoByReference(IDispatch* object, const std::wstring& member, std::vector<Value>& arguments,
                              Value& result) {
        std::vector<std::wstring> before;
        std::vector<Value> references;
        for (Value& argument : arguments) {
            if (argument.Type() == VT_I4 && argument.Raw().lVal == static_cast<short>(argument.Raw().lVal)) {
                argument = Value::Short(static_cast<short>(argument.Raw().lVal));
            }
            before.push_back(Shown(argument.Raw()));
            references.push_back(Value::To(argument.Place()));
        }
        result =
            Told(member, Call(object, member.substr(member.find(L'.') + 1).c_str(), std::move(references)));
        SayChanges(before, arguments);
    }

    static Value Told(const std::wstring& member, Called called) {
        if (called.outcome == DISP_E_EXCEPTION) {
            SayFailure(member, called.code, called.description, called.source);
        } else if (FAILED(called.outcome)) {
            SayFailure(member, called.outcome, L"", L"");
        } else {
            SayAnswer(member, called.result);
        }
        return std::move(called.result);
    }

    static void SayAnswer(const std::wstring& member, const Value& result) {
        const std::wstring answer = Shown(result.Raw());
        Say(member + L" = " + (member == L"ELOProvider.CreateDocID" ? Digits(answer) : answer));
    }

    static void SayFailure(const std::wstring& member, HRESULT code, const std::wstring& description,
                           const std::wstring& source) {
        Say(member + L" fails: " + ErrorNumber(code) + L" [" + description + L"] from [" + source + L"]");
    }

    static void SayChanges(const std::vector<std::wstring>& before, const std::vector<Value>& arguments) {
        for (std::size_t at = 0; at < arguments.size(); ++at) {
            if (const std::wstring after = Shown(arguments[at].Raw()); after != before[at]) {
                Say(L"  argument " + std::to_wstring(at + 1) + L" -> " + after);
            }
        }
    }

    std::wstring way_;
    std::map<std::wstring, ComPtr<IDispatch>> objects_;
};

Value T(std::wstring_view text) {
    return Value::Text(text);
}
Value N(long number) {
    return Value::Long(number);
}

/// What the host hands over with a voucher.
Value Voucher(const wchar_t* number, const wchar_t* index, const wchar_t* barcode) {
    return Value::Texts({number + L"/"s + index, L"", number, index, barcode});
}

/// Tells the elements of an array of texts; the digits of the last one, a time, are masked.
void Unfold(const Value& array) {
    for (LONG at = 0; array.Type() == (VT_ARRAY | VT_BSTR) && at < 4; ++at) {
        Bstr text;
        const HRESULT got = SafeArrayGetElement(array.Raw().parray, &at, text.Receive());
        Say(L"  element " + (FAILED(got) ? L"fails"s : at == 3 ? Digits(text.Text()) : text.Text()));
    }
}

/// Calls an object of the archive or the accounting, which is always done by name.
void Ask(const Value& object, const wchar_t* name, std::vector<Value> arguments) {
    if (object.Type() == VT_DISPATCH && object.Raw().pdispVal != nullptr) {
        const Called called = Call(object.Raw().pdispVal, name, std::move(arguments));
        Say(L"  "s + name + L" = " + Shown(called.result.Raw()));
    }
}

void Play(Caller& caller, const std::wstring& document) {
    const auto filed = [&](const Value& id) { return id.Type() == VT_I4 ? id.Raw().lVal : 0; };

    // A client whose archive is switched off.
    caller.Make(L"ELOProvider");
    caller.Do(L"ELOProvider.bRunning");
    caller.Do(L"ELOProvider.FibuVersion", List(T(L"7.2")));
    caller.Do(L"ELOProvider.CreateDocID", List(T(L"")));
    caller.Do(L"ELOProvider.GetOpenDocInfo");
    caller.Do(L"ELOProvider.InitProvider", List(Value()));
    caller.Do(L"ELOProvider.bRunning");
    caller.Put(L"ELOProvider.bRunning", false);
    caller.Do(L"ELOProvider.bRunning");
    caller.Put(L"ELOProvider.bRunning", true);
    caller.Do(L"ELOProvider.GetVirtualPrinterName");
    caller.Do(L"ELOProvider.StartProvider", List(Value()));

    // It is set up.
    caller.Make(L"SOKInterface");
    caller.Do(L"SOKInterface.EinstellungenLesen");
    Ask(caller.Do(L"SOKInterface.oSesamFibu"), L"IniLesen", List(Value::Short(600), Value::Short(100)));
    caller.Do(L"SOKInterface.EinstellungenSchreiben");
    Ask(caller.Do(L"SOKInterface.oSesamFibu"), L"IniLesen", List(Value::Short(600), Value::Short(109)));
    caller.Do(L"SOKInterface.EinstellungenLesen");
    caller.Do(L"SOKInterface.oSesamDebi");
    caller.Do(L"SOKInterface.oSesamKredi");
    caller.Do(L"SOKInterface.GetBuchungsType", List(T(L"1001"), T(L"1")));
    caller.Do(L"SOKInterface.GetBelegDaten", List(T(L"1001"), T(L"1")));
    caller.Do(L"SOKInterface.GetBuchungsType", List(T(L"2001"), T(L"1")));
    caller.Do(L"SOKInterface.GetDebiDaten", List(T(L"2001"), T(L"1")));
    caller.Do(L"SOKInterface.GetBelegDaten", List(T(L"2001"), T(L"1")));
    caller.Do(L"SOKInterface.GetBuchungsType", List(T(L"4711"), T(L"1")));

    // The archive: session, folders, masks.
    caller.Make(L"ELODMS");
    caller.Do(L"ELODMS.CheckLogin");
    Ask(caller.Do(L"ELODMS.oElo"), L"LookupDelimiter", {});
    caller.Do(L"ELODMS.ELOSichtbar");
    caller.Do(L"ELODMS.CheckMaskeVorhanden", List(N(2)));
    caller.Do(L"ELODMS.CheckMaskeVorhanden", List(N(77)));
    caller.Do(L"ELODMS.CheckPFadVorhanden", List(T(L"/Buchhaltung/Muster AG/Kredi")));
    caller.Do(L"ELODMS.CheckPFadVorhanden", List(T(L"/Ablage/2004")));
    caller.Do(L"ELODMS.PFadErstellen", List(T(L"  Ablage/2004/5/17/Fall 1 ")));
    caller.Do(L"ELODMS.PFadErstellen", List(T(L"/Wiederanschlusskontrolle/Unverknüpfte Dokumente")));
    caller.Do(L"ELODMS.PFadErstellen", List(T(L"Wiederanschlusskontrolle/MassenversaendeZA")));
    caller.Do(L"ELODMS.CheckPFadVorhanden", List(T(L"/Ablage/2004")));

    // Vouchers.
    const Value general = caller.Do(L"ELODMS.AddDokument", List(T(document), T(L"MU1"), T(L"1001"), T(L"1"),
                                                                T(L"Erfasst"), T(L"20260105080001")));
    const Value debtors = caller.Do(L"ELODMS.AddDokument", List(T(document), T(L"MU2"), T(L"2001"), T(L"1"),
                                                                T(L"Erfasst"), T(L"20260106080002")));
    caller.Do(L"ELODMS.FindSageDocumentByID", List(T(L"20260105080001")));
    caller.Do(L"ELODMS.FindSageDocumentByID", List(T(L"unbekannt")));
    caller.Do(L"ELODMS.FindSageDocumentByBelegNr", List(T(L"2001"), T(L"1")));
    caller.Do(L"ELODMS.FindSageDocumentByBelegNr", List(T(L"2001"), T(L"2")));
    caller.Do(L"ELODMS.IsDokumentVorhanden", List(N(filed(general))));
    caller.Do(L"ELODMS.IsDokumentVorhanden", List(N(9999)));
    caller.Do(L"ELODMS.ChangeDocument", List(T(L""), T(L"2001"), T(L"1"), T(L"20260106080009")));
    caller.Do(L"ELODMS.ChangeDocument", List(T(L"MU4"), T(L"3002"), T(L"1"), T(L"20260108080004")));
    // The records are the thread's: what one object leaves in them reaches the entry that another one writes.
    caller.Do(L"SOKInterface.GetBuchungsType", List(T(L"3001"), T(L"1")));
    caller.Do(L"SOKInterface.GetKrediDaten", List(T(L"3001"), T(L"1")));
    caller.Do(L"ELODMS.ChangeDocument", List(T(L""), T(L"3002"), T(L"1"), T(L"20260108080004")));
    caller.Do(L"ELODMS.ShowDokument", List(T(L"20260106080009")));
    caller.Do(L"ELODMS.ShowDokument", List(T(L"unbekannt")));
    caller.Do(L"ELODMS.SaveAuswertung", List(T(L"20260131080000")));
    caller.Do(L"ELODMS.LoescheDokument", List(N(filed(general))));
    caller.Do(L"ELODMS.IsDokumentVorhanden", List(N(filed(general))));
    caller.Do(L"ELODMS.LoescheDokument", List(N(9999)));
    caller.Do(L"ELODMS.AddDokument",
              List(T(L"C:\\fehlt.pdf"), T(L"MU9"), T(L"1001"), T(L"1"), T(L"Erfasst"), T(L"20260105080001")));
    caller.Do(L"ELODMS.AddDokument",
              List(T(document), T(L"MU9"), T(L"4711"), T(L"1"), T(L"Erfasst"), T(L"20260105080001")));
    caller.Do(L"ELODMS.MarkAsDeleted", List(T(L"unbekannt"), T(L"2001"), T(L"1")));
    caller.Do(L"ELODMS.MarkAsDeleted", List(T(L"20260106080009"), T(L"2001"), T(L"1")));
    caller.Do(L"ELODMS.IsDokumentVorhanden", List(N(filed(debtors))));

    // The same archive through the provider, as the host uses it.
    caller.Do(L"ELOProvider.StartProvider", List(Value()));
    caller.Do(L"ELOProvider.CreateDocID", List(T(L"")));
    Unfold(caller.Do(L"ELOProvider.GetOpenDocInfo"));
    caller.Do(L"ELOProvider.GetVirtualPrinterName");
    caller.Do(L"ELOProvider.SaveDocument", List(T(L"20260107080003"), Voucher(L"3001", L"1", L"MU3")));
    caller.Do(L"ELODMS.FindSageDocumentByID", List(T(L"20260107080003")));
    caller.Do(L"ELOProvider.DocumentChanged", List(T(L"20260107080033"), Voucher(L"3001", L"1", L"MU33")));
    caller.Do(L"ELODMS.FindSageDocumentByID", List(T(L"20260107080033")));
    caller.Do(L"ELOProvider.ShowDocument", List(T(L"20260107080033"), Voucher(L"3001", L"1", L"MU33")));
    caller.Do(L"ELOProvider.PrintDocument", List(T(L"20260131080001"), Value()));
    caller.Do(L"ELOProvider.SavePendingDocument", List(T(L""), T(L"20260107080033"), Value()));
    caller.Do(L"ELOProvider.SetDocumentStatus", List(T(L"20260107080033"), Value()));
    caller.Do(L"ELOProvider.DeleteDocument", List(T(L"20260107080033"), Voucher(L"3001", L"1", L"MU33")));
    caller.Do(L"ELODMS.FindSageDocumentByID", List(T(L"20260107080033")));

    // The older archive client.
    caller.Make(L"OrigELODMS");
    const Value archive = caller.Do(L"OrigELODMS.oElo");
    Called caseId;
    if (archive.Type() == VT_DISPATCH && archive.Raw().pdispVal != nullptr) {
        caseId = Call(archive.Raw().pdispVal, L"LookupIndex", List(T(L"¶Ablage¶2004¶5¶17¶Fall 1")));
    }
    caller.Do(L"OrigELODMS.GetParentFolderId", List(N(filed(caseId.result))));
    caller.Do(L"OrigELODMS.GetParentFolderId", List(N(9999)));
    caller.Do(L"OrigELODMS.CurrentRegisterDate", List(N(filed(caseId.result))));
    caller.Do(L"OrigELODMS.CurrentRegisterDate", List(N(9999)));
    const Value unlinked = caller.Do(L"OrigELODMS.AddDokument", List(T(document)));
    caller.Do(L"OrigELODMS.AddDokument", List(T(L"C:\\fehlt.pdf")));
    const Value mailing = caller.Do(L"OrigELODMS.AddDokumentToMassenversaendeZA", List(T(document)));
    caller.Do(L"OrigELODMS.AddDokumentToMassenversaendeZA", List(T(L"C:\\fehlt.pdf")));
    caller.Do(L"OrigELODMS.IsDokumentVorhanden", List(N(filed(unlinked))));
    caller.Do(L"OrigELODMS.IsDokumentVorhanden", List(N(9999)));
    caller.Do(L"OrigELODMS.GetUnverknuepfte");
    caller.Do(L"OrigELODMS.ShowDokument", List(N(filed(unlinked))));
    caller.Do(L"OrigELODMS.ShowDokument", List(N(9999)));
    caller.Do(L"OrigELODMS.PrintDokument", List(N(filed(unlinked))));
    caller.Do(L"OrigELODMS.PrintDokument", List(N(9999)));
    caller.Do(L"OrigELODMS.LoescheVerknuepfung", List(N(filed(mailing))));
    caller.Do(L"OrigELODMS.LoescheVerknuepfung", List(N(9999)));
    caller.Do(L"OrigELODMS.LoescheDokument", List(N(filed(unlinked))));
    caller.Do(L"OrigELODMS.LoescheDokument", List(N(9999)));
    caller.Do(L"OrigELODMS.IsDokumentVorhanden", List(N(filed(unlinked))));

    caller.Release(L"ELODMS");
    caller.Release(L"OrigELODMS");
    caller.Release(L"SOKInterface");
    caller.Release(L"ELOProvider");
}

}  // namespace

std::string Escaped(const std::wstring& text) {
    std::wstring escaped;
    for (const wchar_t unit : text) {
        if (unit >= 0x20 && unit < 0x7F) {
            escaped += unit;
        } else {
            constexpr const wchar_t* hex = L"0123456789ABCDEF";
            const auto code = static_cast<unsigned>(unit);
            escaped +=
                {L'<', hex[code >> 12 & 15], hex[code >> 8 & 15], hex[code >> 4 & 15], hex[code & 15], L'>'};
        }
    }
    return Utf8FromText(escaped);
}

int PlayCourse(const std::wstring& way, const std::wstring& document) {
    const Apartment apartment;
    Caller caller(way);
    Play(caller, document);
    std::cout << "Ende\n" << std::flush;
    return 0;
}

}  // namespace kandora::outside_tests
