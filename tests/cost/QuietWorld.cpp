#include "tests/cost/QuietWorld.h"

namespace kandora::cost_tests {

namespace {

constexpr std::int32_t firstHit = 0x10000000;
constexpr std::int32_t firstHitId = 1000;

void Give(VARIANT& result, std::int32_t number) {
    result.vt = VT_I4;
    result.lVal = number;
}

void Give(VARIANT& result, std::wstring_view text) {
    result.vt = VT_BSTR;
    result.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

void Give(VARIANT& result, bool value) {
    result.vt = VT_BOOL;
    result.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
}

}  // namespace

std::int32_t NumberIn(const VARIANT& argument) {
    switch (argument.vt) {
    case VT_I2:
        return argument.iVal;
    case VT_I2 | VT_BYREF:
        return *argument.piVal;
    case VT_I4 | VT_BYREF:
        return *argument.plVal;
    default:
        return argument.lVal;
    }
}

void QuietObject::Answers(std::wstring_view member, Answer answer) {
    answers_.push_back(std::move(answer));
    ids_[std::wstring(member)] = static_cast<DISPID>(answers_.size());
}

void QuietObject::Answers(std::wstring_view member, std::int32_t number) {
    Answers(member, [number](const DISPPARAMS&, VARIANT& result) { Give(result, number); });
}

void QuietObject::Answers(std::wstring_view member, const wchar_t* text) {
    Answers(member, [text = std::wstring(text)](const DISPPARAMS&, VARIANT& result) { Give(result, text); });
}

void QuietObject::Answers(std::wstring_view member, QuietObject& object) {
    Answers(member, [&object](const DISPPARAMS&, VARIANT& result) {
        result.vt = VT_DISPATCH;
        result.pdispVal = &object;
        object.AddRef();
    });
}

HRESULT QuietObject::GetIDsOfNames(REFIID /*reserved*/, LPOLESTR* names, UINT /*count*/, LCID /*locale*/,
                                   DISPID* ids) {
    ++asked;
    const auto found = ids_.find(std::wstring_view(names[0]));
    ids[0] = found == ids_.end() ? DISPID_UNKNOWN : found->second;
    return found == ids_.end() ? DISP_E_UNKNOWNNAME : S_OK;
}

HRESULT QuietObject::Invoke(DISPID id, REFIID /*reserved*/, LCID /*locale*/, WORD /*flags*/,
                            DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* /*exception*/,
                            UINT* /*argument*/) {
    ++invoked;
    if (id < 1 || static_cast<std::size_t>(id) > answers_.size()) {
        return DISP_E_MEMBERNOTFOUND;
    }
    VARIANT answer;
    VariantInit(&answer);
    answers_[static_cast<std::size_t>(id) - 1](*parameters, answer);
    if (result != nullptr) {
        *result = answer;
    } else {
        VariantClear(&answer);
    }
    return S_OK;
}

QuietWorld::QuietWorld() {
    for (const wchar_t* const member : {L"EloWindow", L"BringToFront", L"Login", L"ReadObjMask", L"ObjMaskNo",
                                        L"ObjShort", L"DoInvisibleSearch", L"setobjAttrib"}) {
        archive.Answers(member, 0);
    }
    for (const wchar_t* const member :
         {L"SelectView", L"AddPostboxFile", L"MoveToArchive", L"GotoId", L"DeleteObj", L"UpdateObject"}) {
        archive.Answers(member, 1);
    }
    archive.Answers(L"LookupDelimiter", L"/");
    archive.Answers(L"LookupIndex", 800);
    archive.Answers(L"PrepareObjectEx", [this](const DISPPARAMS& parameters, VARIANT& result) {
        prepared_ = NumberIn(parameters.rgvarg[2]);
        Give(result, std::int32_t{1});
    });
    archive.Answers(L"getobjAttrib", [this](const DISPPARAMS&, VARIANT& result) {
        Give(result, prepared_ - firstHitId == match ? std::wstring_view(wanted) : std::wstring_view(L"?"));
    });
    archive.Answers(L"GetEntryId", [this](const DISPPARAMS& parameters, VARIANT& result) {
        const std::int32_t which = NumberIn(parameters.rgvarg[0]);
        if (which == -2) {
            Give(result, std::int32_t{4711});
        } else {
            const std::int32_t hit = which - firstHit;
            Give(result, hit >= 0 && hit < hits ? firstHitId + hit : std::int32_t{0});
        }
    });

    host.Answers(L"letztermandant", L"C:\\Daten\\Muster");
    host.Answers(L"istoffen", [this](const DISPPARAMS&, VARIANT& result) { Give(result, isClientOpen_); });
    host.Answers(L"Login", [this](const DISPPARAMS&, VARIANT& result) {
        isClientOpen_ = true;
        Give(result, std::int32_t{0});
    });
    host.Answers(L"Logout", [this](const DISPPARAMS&, VARIANT& result) {
        isClientOpen_ = false;
        Give(result, std::int32_t{0});
    });
    host.Answers(L"IniLesen", [this](const DISPPARAMS& parameters, VARIANT& result) {
        Give(result, std::wstring_view(options[NumberIn(parameters.rgvarg[0])]));
    });
    host.Answers(L"neubuchung", booking);
    host.Answers(L"neuOP", openItem);
    host.Answers(L"neuPK", account);
    host.Answers(L"neuAdresse", address);

    booking.Answers(L"lesen", 0);
    booking.Answers(L"ursprung", [this](const DISPPARAMS&, VARIANT& result) { Give(result, origin); });
    booking.Answers(L"Text", L"Miete Büro");
    booking.Answers(L"Datum", L"15.11.2026");
    booking.Answers(L"Betrag", L"1200.50");
    booking.Answers(L"OPNr", L"77");
    openItem.Answers(L"lesen", 0);
    openItem.Answers(L"Datum", L"01.11.2026");
    openItem.Answers(L"BetragFaktura", L"1234.55");
    openItem.Answers(L"PKNr", L"1100");
    account.Answers(L"lesen", 0);
    account.Answers(L"AdressID", L"42");
    address.Answers(L"lesen", 0);
    address.Answers(L"Firma", L"Muster & Co");
    address.Answers(L"PLZ", L"8000");
    address.Answers(L"Ort", L"Zürich");
}

}  // namespace kandora::cost_tests
