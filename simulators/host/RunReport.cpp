#include "simulators/host/RunReport.h"

#include <windows.h>

#include <oleauto.h>

#include <nlohmann/json.hpp>

#include <sstream>

#include "interfaces/CodePages.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Unicode.h"
#include "simulators/host/ScreenText.h"

namespace kandora::simulators {

namespace {

nlohmann::ordered_json ToJson(const Value& value);

nlohmann::ordered_json ArrayToJson(SAFEARRAY* array) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    LONG lowest = 0;
    LONG highest = -1;
    VARTYPE type = VT_EMPTY;
    if (SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetVartype(array, &type)) ||
        FAILED(SafeArrayGetLBound(array, 1, &lowest)) || FAILED(SafeArrayGetUBound(array, 1, &highest))) {
        return list;
    }
    for (LONG at = lowest; at <= highest; ++at) {
        VARIANT element;
        VariantInit(&element);
        // A plain element is written into the value's content, a Variant replaces the value.
        void* target = type == VT_VARIANT ? static_cast<void*>(&element) : &element.bstrVal;
        if (FAILED(SafeArrayGetElement(array, &at, target))) {
            list.push_back(nullptr);
            continue;
        }
        if (type != VT_VARIANT) {
            element.vt = type;
        }
        list.push_back(ToJson(Value::CopyOf(element)));
        VariantClear(&element);
    }
    return list;
}

nlohmann::ordered_json ToJson(const Value& value) {
    if (value.Type() == VT_EMPTY || value.Type() == VT_NULL) {
        return nullptr;
    }
    if ((value.Type() & VT_ARRAY) != 0) {
        return ArrayToJson(value.Get().parray);
    }
    switch (value.Type()) {
    case VT_BOOL:
        return value.Get().boolVal != VARIANT_FALSE;
    case VT_I2:
    case VT_I4:
        return value.ConvertedTo(VT_I4).Get().lVal;
    case VT_BSTR:
        return Utf8FromText(FromBstr(value.Get().bstrVal));
    default:
        return Utf8FromText(Describe(value.Get()));
    }
}

}  // namespace

std::string RenderReport(const std::vector<Outcome>& outcomes, double seconds) {
    nlohmann::ordered_json report;
    report["requests"] = nlohmann::ordered_json::array();
    for (const Outcome& outcome : outcomes) {
        nlohmann::ordered_json boxes = nlohmann::ordered_json::array();
        for (const AnsweredBox& box : outcome.boxes) {
            boxes.push_back({{"caption", Utf8FromText(box.caption)}, {"text", Utf8FromText(box.text)}});
        }
        nlohmann::ordered_json entry;
        entry["request"] = Utf8FromText(NameOf(outcome.kind));
        entry["docId"] = Utf8FromText(outcome.docId);
        if (!outcome.belegNr.empty()) {
            entry["belegNr"] = Utf8FromText(outcome.belegNr);
            entry["belegIndex"] = Utf8FromText(outcome.belegIndex);
            entry["barcode"] = Utf8FromText(outcome.barcode);
        }
        entry["hresult"] = static_cast<std::int32_t>(outcome.code);
        entry["result"] = ToJson(outcome.result);
        entry["boxes"] = std::move(boxes);
        report["requests"].push_back(std::move(entry));
    }
    report["seconds"] = seconds;
    return report.dump(2) + "\n";
}

std::wstring DescribeOutcome(const Outcome& outcome) {
    if (!IsSentToComponent(outcome.kind)) {
        return outcome.source;
    }
    std::wstring line(NameOf(outcome.kind));
    for (const std::wstring* part :
         {&outcome.docId, &outcome.belegNr, &outcome.belegIndex, &outcome.barcode}) {
        if (!part->empty()) {
            line += L" " + *part;
        }
    }
    line += L" -> " + DescribeCode(outcome.code);
    const nlohmann::ordered_json result = ToJson(outcome.result);
    if (!result.is_null()) {
        line += L", Ergebnis " + TextFromUtf8(result.dump());
    }
    return line;
}

void AppendBox(std::vector<std::wstring>& lines, const AnsweredBox& box, const std::wstring& indent,
               std::size_t width) {
    const std::wstring deeper = indent + L"  ";
    const bool isOneLine = box.text.find(L'\n') == std::wstring::npos;
    AppendWrapped(lines, L"Fenster " + Guillemets(box.caption) + L":" + (isOneLine ? L" " + box.text : L""),
                  indent, deeper, width);
    std::wistringstream text(isOneLine ? std::wstring() : box.text);
    for (std::wstring line; std::getline(text, line);) {
        if (line.find_first_not_of(L" \r") != std::wstring::npos) {
            AppendWrapped(lines, line, deeper, deeper + L"  ", width);
        }
    }
}

std::wstring DescribeCode(HRESULT code) {
    return code == S_OK ? L"S_OK" : SystemMessage(static_cast<unsigned long>(code));
}

}  // namespace kandora::simulators
