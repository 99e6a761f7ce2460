#include "simulators/host/tests/HostFixture.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <sstream>

#include "simulators/common/Unicode.h"

namespace kandora::simulators::testing {
namespace {

struct Invocation {
    HRESULT code = S_OK;
    Value result;
    std::wstring description;
};

Invocation Invoke(IDispatch* object, const wchar_t* name, std::vector<VARIANT> arguments, WORD flags) {
    Invocation answer;
    std::wstring member(name);
    LPOLESTR names = member.data();
    DISPID id = DISPID_UNKNOWN;
    answer.code = object->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(answer.code)) {
        return answer;
    }
    std::ranges::reverse(arguments);
    DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    VARIANT result;
    VariantInit(&result);
    EXCEPINFO exception{};
    answer.code =
        object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, &result, &exception, nullptr);
    answer.result = Value::CopyOf(result);
    VariantClear(&result);
    answer.description = FromBstr(exception.bstrDescription);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrHelpFile);
    return answer;
}

std::vector<VARIANT> Raw(const std::vector<Value>& values) {
    std::vector<VARIANT> raw;
    for (const Value& value : values) {
        raw.push_back(value.Get());
    }
    return raw;
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
    static std::atomic<int> counter{0};
    path_ = std::filesystem::temp_directory_path() /
            (L"host_simulator_" + std::to_wstring(GetCurrentProcessId()) + L"_" + std::to_wstring(++counter));
    std::filesystem::create_directories(path_);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TemporaryFolder::Write(const std::wstring& name, const std::string& content) const {
    std::filesystem::path path = path_ / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::string ReadFile(const std::filesystem::path& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

std::filesystem::path SampleClientPath() {
    return FromUtf8(SAMPLE_CLIENT);
}

Value Call(IDispatch* object, const wchar_t* name, const std::vector<Value>& arguments, WORD flags) {
    const Invocation answer = Invoke(object, name, Raw(arguments), flags);
    if (FAILED(answer.code)) {
        throw answer.code;
    }
    return answer.result;
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
    const Invocation answer = Invoke(object, name, arguments, DISPATCH_METHOD | DISPATCH_PROPERTYGET);
    std::ranges::for_each(strings, SysFreeString);
    if (FAILED(answer.code)) {
        throw answer.code;
    }
    return answer.result;
}

std::wstring FailureOf(IDispatch* object, const wchar_t* name, const std::vector<Value>& arguments) {
    const Invocation answer = Invoke(object, name, Raw(arguments), DISPATCH_METHOD | DISPATCH_PROPERTYGET);
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

}  // namespace kandora::simulators::testing
