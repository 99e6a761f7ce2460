#include "tests/badinput/Troublemakers.h"

#include <algorithm>
#include <limits>

#include <objbase.h>
#include <oleauto.h>

#include "automation/Text.h"
#include "automation/Variant.h"
#include "interfaces/ComObject.h"
#include "interfaces/ComPtr.h"

namespace kandora::test {

namespace {

/// Codes up to here are tried; the defined ones end before.
constexpr VARTYPE lastCode = 80;
constexpr VARTYPE unknownCode = 0x0FFF;

/// An object without any interface of use.
class BareObject final : public ComObject<IUnknown> {};

/// An object that nearly always knows the member, and answers each call with a random value or failure.
class OddObject final : public Undescribed<ComObject<IDispatch>> {
public:
    explicit OddObject(std::uint32_t seed) : random_(seed) {}

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT count, LCID, DISPID* ids) override {
        for (UINT i = 0; i < count; ++i) {
            ids[i] = static_cast<DISPID>(i + 1);
        }
        return Below(random_, 8) == 0 ? DISP_E_UNKNOWNNAME : S_OK;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result,
                                     EXCEPINFO* exception, UINT*) override {
        Variant answer;
        switch (Below(random_, 9)) {
        case 0:
            answer = Variant(std::int32_t{2});
            break;
        case 1:
            answer = Variant(L"antwort");
            break;
        case 2:
            answer = Variant::ArrayOf(std::vector<Text>{L"a", L"b"});
            break;
        case 3:
            answer = Variant(static_cast<IDispatch*>(this));
            break;
        case 4:
            answer = Variant(true);
            break;
        case 5:
            answer = Variant::Null();
            break;
        case 6:
            return E_OUTOFMEMORY;
        case 7:
            if (exception != nullptr) {
                *exception = {};
                exception->scode = E_FAIL;
            }
            return DISP_E_EXCEPTION;
        default:
            break;
        }
        if (result != nullptr) {
            *result = answer.Detach();
        }
        return S_OK;
    }

private:
    Random random_;
};

/// The description of a record of 16 bytes that nobody can look into.
class OpaqueRecords final : public ComObject<IRecordInfo> {
public:
    static constexpr ULONG size = 16;

    HRESULT STDMETHODCALLTYPE RecordInit(PVOID record) override {
        std::fill_n(static_cast<std::byte*>(record), size, std::byte());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE RecordClear(PVOID record) override { return RecordInit(record); }
    HRESULT STDMETHODCALLTYPE RecordCopy(PVOID from, PVOID to) override {
        std::copy_n(static_cast<std::byte*>(from), size, static_cast<std::byte*>(to));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetGuid(GUID* guid) override {
        *guid = {0x11112222, 0x3333, 0x4444, {1, 2, 3, 4, 5, 6, 7, 8}};
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetName(BSTR* name) override {
        *name = NewBstr(L"Datensatz");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetSize(ULONG* bytes) override {
        *bytes = size;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(ITypeInfo** info) override {
        *info = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetField(PVOID, LPCOLESTR, VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetFieldNoCopy(PVOID, LPCOLESTR, VARIANT*, PVOID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE PutField(ULONG, PVOID, LPCOLESTR, VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE PutFieldNoCopy(ULONG, PVOID, LPCOLESTR, VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetFieldNames(ULONG* count, BSTR*) override {
        *count = 0;
        return S_OK;
    }
    WINBOOL STDMETHODCALLTYPE IsMatchingType(IRecordInfo* other) override {
        return other == this ? TRUE : FALSE;
    }
    PVOID STDMETHODCALLTYPE RecordCreate() override {
        void* const record = CoTaskMemAlloc(size);
        RecordInit(record);
        return record;
    }
    HRESULT STDMETHODCALLTYPE RecordCreateCopy(PVOID from, PVOID* to) override {
        *to = RecordCreate();
        return RecordCopy(from, *to);
    }
    HRESULT STDMETHODCALLTYPE RecordDestroy(PVOID record) override {
        CoTaskMemFree(record);
        return S_OK;
    }

private:
};

/// Types whose value is a pointer that its holder owns.
bool IsOwner(VARTYPE type) {
    return type == VT_BSTR || type == VT_DISPATCH || type == VT_UNKNOWN || type == VT_RECORD ||
           (type & VT_ARRAY) != 0;
}

/// Sets type and content of a value that owns nothing. A decimal takes the whole VARIANT, so its type is set
/// last.
void SetBits(VARIANT& value, VARTYPE type, std::uint64_t bits, std::uint64_t further) {
    value = {};
    if (type == VT_DECIMAL) {
        value.decVal.Lo64 = bits;
        value.decVal.Hi32 = static_cast<ULONG>(further);
        value.decVal.scale = static_cast<BYTE>(further >> 32);
        value.decVal.sign = static_cast<BYTE>(further >> 40);
    } else {
        value.ullVal = bits;
    }
    value.vt = type;
}

/// An array of any number of dimensions, all alike, whose elements are zero.
SAFEARRAY* NewArray(VARTYPE type, UINT dimensions, LONG lower, ULONG count) {
    std::vector<SAFEARRAYBOUND> bounds(dimensions, SAFEARRAYBOUND{count, lower});
    return SafeArrayCreate(type, dimensions, bounds.data());
}

void SetArray(VARIANT& value, VARTYPE type, SAFEARRAY* array) {
    value = {};
    value.vt = static_cast<VARTYPE>(VT_ARRAY | type);
    value.parray = array;
}

void SetText(VARIANT& value, const Text& text) {
    value = {};
    value.vt = VT_BSTR;
    value.bstrVal = NewBstr(text);
}

/// Elements of arrays.
constexpr auto elementTypes =
    std::to_array<VARTYPE>({VT_I1,   VT_UI1,      VT_I2,    VT_UI2,  VT_I4,      VT_UI4,     VT_INT,
                            VT_UINT, VT_I8,       VT_UI8,   VT_R4,   VT_R8,      VT_CY,      VT_DATE,
                            VT_BSTR, VT_DISPATCH, VT_ERROR, VT_BOOL, VT_VARIANT, VT_UNKNOWN, VT_DECIMAL});

std::string Code(VARTYPE type) {
    return "type " + std::to_string(type);
}

void AddScalars(std::vector<Troublemaker>& all) {
    std::vector<VARTYPE> codes;
    for (VARTYPE code = 0; code <= lastCode; ++code) {
        codes.push_back(code);
    }
    codes.push_back(unknownCode);
    for (const VARTYPE code : codes) {
        const auto add = [&](const char* how, std::function<void(Given&)> make) {
            all.push_back({Code(code) + how, std::move(make)});
        };
        if (IsOwner(code)) {
            add(", null", [=](Given& given) { SetBits(given.value, code, 0, 0); });
        } else {
            for (const std::uint64_t bits :
                 {0ULL, 1ULL, ~0ULL, 0x8000000000000000ULL, 0x7FF0000000000000ULL, 0x41DFFFFFFFC00000ULL}) {
                add((", bits " + std::to_string(bits)).c_str(),
                    [=](Given& given) { SetBits(given.value, code, bits, bits); });
            }
        }
        const auto flagged = [&](VARTYPE flags, const char* how, bool hasPlace) {
            add(how, [=](Given& given) {
                SetBits(given.value, static_cast<VARTYPE>(code | flags), 0, 0);
                given.value.byref = hasPlace ? given.Place() : nullptr;
            });
        };
        flagged(VT_BYREF, " by reference", true);
        flagged(VT_BYREF, " by reference to nowhere", false);
        flagged(VT_ARRAY, ", array without memory", false);
        flagged(VT_ARRAY | VT_BYREF, ", reference to an array without memory", true);
        flagged(VT_ARRAY | VT_BYREF, ", array by reference to nowhere", false);
        flagged(VT_VECTOR, ", vector", false);
        flagged(VT_RESERVED, ", reserved", false);
    }
}

void AddNumbers(std::vector<Troublemaker>& all) {
    const auto real = [&](const char* name, VARTYPE type, double number) {
        all.push_back({name, [=](Given& given) {
                           given.value.vt = type;
                           given.value.dblVal = number;
                       }});
    };
    for (const VARTYPE type : {VT_R8, VT_DATE}) {
        real("a number that is none", type, std::numeric_limits<double>::quiet_NaN());
        real("infinity", type, -std::numeric_limits<double>::infinity());
        real("the largest number", type, std::numeric_limits<double>::max());
        real("the day after the last one", type, 2958466.0);
        real("the day before the first one", type, -657435.0);
        real("nearly the next day", type, 1.9999999999);
    }
    all.push_back({"a decimal with an impossible scale",
                   [](Given& given) { SetBits(given.value, VT_DECIMAL, ~0ULL, ~0ULL); }});
}

void AddTexts(std::vector<Troublemaker>& all) {
    const auto text = [&](const char* name, const Text& characters) {
        all.push_back({name, [=](Given& given) { SetText(given.value, characters); }});
    };
    text("an empty text", {});
    text("a text with NULs", Text(L"a\0b\0", 4));
    text("a long text", Text(100'000, L'x'));
    text("half of a character", Text(L"\xD800") + L"x" + Text(L"\xDFFF"));
    text("controls", L"\r\n\t\x001B\xFFFF\xFEFF");
    all.push_back({"a text by reference", [](Given& given) {
                       VARIANT* const other = given.Another();
                       SetText(*other, L"bezogen");
                       given.value.vt = VT_BYREF | VT_BSTR;
                       given.value.pbstrVal = &other->bstrVal;
                   }});
}

void AddReferences(std::vector<Troublemaker>& all) {
    all.push_back({"a value that refers to itself",
                   [](Given& given) {
                       given.value.vt = VT_BYREF | VT_VARIANT;
                       given.value.pvarVal = &given.value;
                   },
                   false});
    all.push_back({"two values that refer to each other",
                   [](Given& given) {
                       VARIANT* const other = given.Another();
                       other->vt = VT_BYREF | VT_VARIANT;
                       other->pvarVal = &given.value;
                       given.value.vt = VT_BYREF | VT_VARIANT;
                       given.value.pvarVal = other;
                   },
                   false});
    const auto chain = [&](const char* name, int length, const std::function<void(Given&, VARIANT&)>& end) {
        all.push_back({name, [=](Given& given) {
                           VARIANT* last = &given.value;
                           for (int i = 0; i < length; ++i) {
                               VARIANT* const next = given.Another();
                               last->vt = VT_BYREF | VT_VARIANT;
                               last->pvarVal = next;
                               last = next;
                           }
                           end(given, *last);
                       }});
    };
    const auto text = [](Given&, VARIANT& value) { SetText(value, L"bezogen"); };
    chain("a reference to a text", 1, text);
    chain("a reference to a reference to a text", 2, text);
    chain("a hundred references to a text", 100, text);
    chain("a reference to a reference to nowhere", 2, [](Given&, VARIANT& value) {
        value.vt = VT_BYREF | VT_I4;
        value.byref = nullptr;
    });
    chain("a reference to a number by reference", 1, [](Given& given, VARIANT& value) {
        value.vt = VT_BYREF | VT_I4;
        value.byref = given.Place();
    });
    chain("a reference to an array", 1,
          [](Given&, VARIANT& value) { SetArray(value, VT_VARIANT, NewArray(VT_VARIANT, 1, 0, 5)); });
}

void AddArrays(std::vector<Troublemaker>& all) {
    const auto array = [&](const std::string& name, VARTYPE type, UINT dimensions, LONG lower, ULONG count) {
        all.push_back({"array, " + name + " of " + Code(type), [=](Given& given) {
                           SetArray(given.value, type, NewArray(type, dimensions, lower, count));
                       }});
    };
    for (const VARTYPE type : elementTypes) {
        array("plain", type, 1, 0, 5);
        array("empty", type, 1, 0, 0);
        array("two dimensions", type, 2, 1, 3);
        array("60 dimensions", type, 60, -1, 1);
        array("60 empty dimensions", type, 60, 0, 0);
        array("lowest bound", type, 1, std::numeric_limits<LONG>::min(), 5);
        array("highest bound", type, 1, std::numeric_limits<LONG>::max(), 1);
        array("bounds about zero", type, 1, -3, 5);
        all.push_back({"array by reference of " + Code(type), [=](Given& given) {
                           VARIANT* const other = given.Another();
                           SetArray(*other, type, NewArray(type, 1, 0, 5));
                           given.value.vt = static_cast<VARTYPE>(VT_BYREF | other->vt);
                           given.value.pparray = &other->parray;
                       }});
        all.push_back({"locked array of " + Code(type),
                       [=](Given& given) {
                           SAFEARRAY* const locked = NewArray(type, 1, 0, 5);
                           SetArray(given.value, type, locked);
                           SafeArrayLock(locked);
                           given.Before([=] { SafeArrayUnlock(locked); });
                       },
                       false});
        all.push_back({"array without dimensions of " + Code(type),
                       [=](Given& given) {
                           SAFEARRAY* const flat = NewArray(type, 1, 0, 5);
                           SetArray(given.value, type, flat);
                           flat->cDims = 0;
                           given.Before([=] { flat->cDims = 1; });
                       },
                       false});
        all.push_back({"array of bytes that claims to be of " + Code(type), [=](Given& given) {
                           SAFEARRAY* const bytes = NewArray(VT_UI1, 1, 0, 5);
                           bytes->fFeatures = static_cast<USHORT>(bytes->fFeatures & ~FADF_HAVEVARTYPE);
                           SetArray(given.value, type, bytes);
                       }});
    }
    all.push_back({"array nested a thousand times", [](Given& given) {
                       SetText(given.value, L"innerst");
                       for (int i = 0; i < 1000; ++i) {
                           SAFEARRAY* const outer = NewArray(VT_VARIANT, 1, 0, 1);
                           static_cast<VARIANT*>(outer->pvData)[0] = given.value;
                           SetArray(given.value, VT_VARIANT, outer);
                       }
                   }});
    all.push_back({"array of a hundred thousand values",
                   [](Given& given) { SetArray(given.value, VT_I4, NewArray(VT_I4, 1, 0, 100'000)); }});
    all.push_back({"array with a value that refers to itself",
                   [](Given& given) {
                       SAFEARRAY* const outer = NewArray(VT_VARIANT, 1, 0, 5);
                       SetArray(given.value, VT_VARIANT, outer);
                       auto* const elements = static_cast<VARIANT*>(outer->pvData);
                       for (int i = 0; i < 5; ++i) {
                           elements[i].vt = VT_BYREF | VT_VARIANT;
                           elements[i].pvarVal = &given.value;
                       }
                   },
                   false});
}

void AddObjects(std::vector<Troublemaker>& all) {
    all.push_back({"an object without interfaces", [](Given& given) {
                       given.value.vt = VT_UNKNOWN;
                       given.value.punkVal = new BareObject;
                   }});
    all.push_back(
        {"an object without interfaces that claims to be a dispatch one by reference", [](Given& given) {
             VARIANT* const other = given.Another();
             other->vt = VT_UNKNOWN;
             other->punkVal = new BareObject;
             given.value.vt = VT_BYREF | VT_UNKNOWN;
             given.value.ppunkVal = &other->punkVal;
         }});
    all.push_back({"a record", [](Given& given) {
                       auto* const records = new OpaqueRecords;
                       given.value.vt = VT_RECORD;
                       given.value.pvRecord = records->RecordCreate();
                       given.value.pRecInfo = records;
                   }});
    all.push_back({"a record by reference", [](Given& given) {
                       VARIANT* const other = given.Another();
                       auto* const records = new OpaqueRecords;
                       other->vt = VT_RECORD;
                       other->pvRecord = records->RecordCreate();
                       other->pRecInfo = records;
                       given.value = *other;
                       given.value.vt = VT_BYREF | VT_RECORD;
                   }});
    all.push_back({"an array of records", [](Given& given) {
                       const auto records = MakeObject<OpaqueRecords>();
                       SAFEARRAYBOUND bound{3, 0};
                       SetArray(given.value, VT_RECORD,
                                SafeArrayCreateEx(VT_RECORD, 1, &bound, records.Get()));
                   }});
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        all.push_back({"odd object " + std::to_string(seed), [=](Given& given) {
                           given.value.vt = VT_DISPATCH;
                           given.value.pdispVal = new OddObject(seed);
                       }});
    }
}

Text RandomText(Random& random) {
    Text text(Below(random, Below(random, 20) == 0 ? 2000 : 12), L'\0');
    for (wchar_t& unit : text) {
        unit = static_cast<wchar_t>(Below(random, 3) == 0 ? random() : L' ' + Below(random, 95));
    }
    return text;
}

void FillRandom(Given& given, VARIANT& value, Random& random, int depth);

void FillRandomArray(Given& given, VARIANT& value, Random& random, int depth) {
    const VARTYPE type = elementTypes.at(Below(random, elementTypes.size()));
    const UINT dimensions = Below(random, 4) == 0 ? 1 + Below(random, 60) : 1;
    std::vector<SAFEARRAYBOUND> bounds(dimensions);
    std::size_t count = 1;
    for (SAFEARRAYBOUND& bound : bounds) {
        bound.cElements = dimensions > 4 ? 1 : Below(random, 5);
        bound.lLbound = Below(random, 3) == 0 ? static_cast<LONG>(random()) : 0;
        count *= bound.cElements;
    }
    SAFEARRAY* const array = SafeArrayCreate(type, dimensions, bounds.data());
    SetArray(value, type, array);
    auto* const bytes = static_cast<std::byte*>(array->pvData);
    for (std::size_t i = 0; i < count; ++i) {
        std::byte* const element = bytes + i * array->cbElements;
        if (type == VT_VARIANT) {
            FillRandom(given, *reinterpret_cast<VARIANT*>(element), random, depth + 1);
        } else if (type == VT_BSTR) {
            *reinterpret_cast<BSTR*>(element) = NewBstr(RandomText(random));
        } else if (!IsOwner(type)) {
            for (ULONG at = 0; at < array->cbElements; ++at) {
                element[at] = static_cast<std::byte>(random());
            }
        }
    }
}

void FillRandom(Given& given, VARIANT& value, Random& random, int depth) {
    constexpr int deepest = 4;
    value = {};
    const std::uint32_t kind = Below(random, 10);
    if (kind < 3) {
        SetText(value, RandomText(random));
    } else if (kind < 5 && depth < deepest) {
        FillRandomArray(given, value, random, depth);
    } else if (kind < 6) {
        VARIANT* const other = given.Another();
        FillRandom(given, *other, random, depth + 1);
        const bool isReferable =
            (other->vt & VT_BYREF) == 0 && other->vt != VT_DECIMAL && other->vt != VT_VARIANT;
        if (isReferable && Below(random, 2) == 0) {
            value.vt = static_cast<VARTYPE>(VT_BYREF | other->vt);
            value.byref = &other->byref;
        } else {
            value.vt = VT_BYREF | VT_VARIANT;
            value.pvarVal = other;
        }
    } else if (kind < 7 && Below(random, 4) == 0) {
        value.vt = VT_DISPATCH;
        value.pdispVal = new OddObject(static_cast<std::uint32_t>(random()));
    } else {
        const auto type = static_cast<VARTYPE>(Below(random, lastCode));
        const std::uint64_t bits = random() | static_cast<std::uint64_t>(random()) << 32;
        SetBits(value, type, IsOwner(type) ? 0 : bits, random() | static_cast<std::uint64_t>(random()) << 32);
    }
}

}  // namespace

Given::~Given() {
    for (const auto& action : before_) {
        action();
    }
    VariantClear(&value);
    for (VARIANT& other : others_) {
        VariantClear(&other);
    }
}

void* Given::Place() {
    return places_.emplace_back().data();
}

VARIANT* Given::Another() {
    return &others_.emplace_back();
}

VARIANT Given::Release() noexcept {
    const VARIANT released = value;
    VariantInit(&value);
    return released;
}

const std::vector<Troublemaker>& Troublemakers() {
    static const std::vector<Troublemaker> all = [] {
        std::vector<Troublemaker> made;
        AddScalars(made);
        AddNumbers(made);
        AddTexts(made);
        AddReferences(made);
        AddArrays(made);
        AddObjects(made);
        return made;
    }();
    return all;
}

void MakeRandom(Given& given, Random& random) {
    FillRandom(given, given.value, random, 0);
}

void MakeVoucher(Given& given, std::size_t replaced, const VARIANT& element) {
    SAFEARRAY* const array = NewArray(VT_VARIANT, 1, 0, 5);
    SetArray(given.value, VT_VARIANT, array);
    auto* const elements = static_cast<VARIANT*>(array->pvData);
    constexpr auto texts = std::to_array<const wchar_t*>({L"1001/1", L"", L"1001", L"1", L"MU26000001"});
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (i == replaced) {
            elements[i] = element;
            // It belongs to whoever gave it.
            given.Before([=] { VariantInit(&elements[i]); });
        } else {
            SetText(elements[i], texts.at(i));
        }
    }
}

}  // namespace kandora::test
