#include "simulators/host/tests/HostFixture.h"

#include <windows.h>

#include <algorithm>

#include "interfaces/CodePages.h"
#include "simulators/common/Unicode.h"
#include "simulators/common/tests/LateBoundClient.h"
#include "tests/support/BuiltFile.h"

namespace kandora::simulators {
namespace {

CallResult Invoke(IDispatch* object, const wchar_t* name, const std::vector<VARIANT>& arguments,
                  WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET) {
    return LateBoundClient(object).Invoke(name, flags, arguments);
}

std::vector<VARIANT> Raw(const std::vector<Value>& values) {
    std::vector<VARIANT> raw;
    for (const Value& value : values) {
        raw.push_back(value.Get());
    }
    return raw;
}

}  // namespace

std::filesystem::path SampleClientPath() {
    return test::BuiltFile(L"simulators/clients/Muster AG.json");
}

Value CallMember(IDispatch* object, const wchar_t* name, const std::vector<Value>& arguments, WORD flags) {
    const CallResult answer = Invoke(object, name, Raw(arguments), flags);
    if (FAILED(answer.code)) {
        throw answer.code;
    }
    return answer.value;
}

Value CallByReference(IDispatch* object, const wchar_t* name, const std::vector<std::wstring>& texts) {
    std::vector<BSTR> strings;
    for (const std::wstring& text : texts) {
        strings.push_back(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
    }
    std::vector<VARIANT> arguments(strings.size());
    for (std::size_t at = 0; at < strings.size(); ++at) {
        arguments[at].vt = VT_BYREF | VT_BSTR;
        arguments[at].pbstrVal = &strings[at];
    }
    const CallResult answer = Invoke(object, name, arguments);
    std::ranges::for_each(strings, SysFreeString);
    if (FAILED(answer.code)) {
        throw answer.code;
    }
    return answer.value;
}

std::wstring ErrorTextOf(IDispatch* object, const wchar_t* name, const std::vector<Value>& arguments) {
    const CallResult answer = Invoke(object, name, Raw(arguments));
    return answer.code == DISP_E_EXCEPTION ? answer.description : L"kein Automationsfehler";
}

ComPtr<IDispatch> ObjectOf(const Value& value) {
    return value.Type() == VT_DISPATCH ? ComPtr<IDispatch>(value.Get().pdispVal) : ComPtr<IDispatch>();
}

std::vector<Outcome> AllSaved(const ClientFile& client) {
    std::vector<Outcome> outcomes;
    for (const Booking& booking : client.Bookings()) {
        Outcome& outcome = outcomes.emplace_back();
        outcome.kind = RequestKind::SaveDocument;
        outcome.docId = booking.docId;
        outcome.belegNr = booking.belegNr;
        outcome.belegIndex = booking.belegIndex;
        outcome.barcode = booking.barcode;
    }
    return outcomes;
}

std::wstring TextOf(const Value& value) {
    return FromBstr(value.ConvertedTo(VT_BSTR).Get().bstrVal);
}

const char* const smallClient = R"({
  "mandant": "C:\\Daten\\Mandanten\\Klein",
  "optionen": {"600": {"100": "TRUE", "105": "C:\\Ablage\\Ä.pdf"}},
  "buchungen": [
    {"belegNr": "10", "belegIndex": "1", "ursprung": 1, "text": "RG Müller", "datum": "2026-03-04", "betrag": 123.45,
     "opNr": "77", "barcode": "B1", "docId": "20260304080000"},
    {"belegNr": "10", "belegIndex": "2", "ursprung": 2, "text": "ER D'Amico", "datum": "2026-03-05", "betrag": -0.05,
     "opNr": "77", "barcode": "B2", "docId": "20260305080000"},
    {"belegNr": "11", "belegIndex": "1", "ursprung": 3, "text": "Spesen", "datum": "2026-12-31", "betrag": 1000,
     "docId": "20261231080000"}
  ],
  "offenePosten": {
    "debitoren": [{"opNr": "77", "datum": "2026-03-01", "betragFaktura": 200.5, "pkNr": 1}],
    "kreditoren": [{"opNr": "77", "datum": "2026-03-02", "betragFaktura": 99.95, "pkNr": 1}]
  },
  "konten": {
    "debitoren": [{"pkNr": 1, "adressId": 501}],
    "kreditoren": [{"pkNr": 1, "adressId": 502}]
  },
  "adressen": [
    {"adressId": 501, "firma": "Müller & Söhne", "plz": "8000", "ort": "Zürich"},
    {"adressId": 502, "firma": "D'Amico", "plz": "3000", "ort": ""}
  ]
}
)";

}  // namespace kandora::simulators
