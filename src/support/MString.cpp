#include "support/MString.h"

#include <optional>
#include <vector>

#include "automation/Errors.h"
#include "automation/StackSpace.h"
#include "interfaces/ComPtr.h"
#include "support/MDebug.h"
#include "support/MOpenAccessADO.h"

namespace kandora {

namespace {

constexpr TextView separator = L", ";

/// A value that contains itself, or is nested beyond all sense, is cut off here instead of exhausting the
/// host's stack; when little of that is left, already where it is nested deeper than any real value.
constexpr int deepestNesting = 64;
constexpr int usualNesting = 8;
constexpr TextView tooDeep = L"(...)";

/// In characters. The host's metadata are hardly ever longer, so that their text is allocated once.
constexpr std::size_t usualLength = 120;

/// Identifier of the scripting runtime's dictionary interface.
constexpr IID dictionaryInterface = {
    0x42C642C1, 0x97E1, 0x11CF, {0x97, 0x8F, 0x00, 0xA0, 0x24, 0x63, 0xE0, 0x6F}};
/// Identifier of the oldest record set interface, which every later one still answers to.
constexpr IID recordsetInterface = {
    0x0000050E, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x6D, 0x2E, 0xA4}};

/// How deep a value lies in others, and in which objects.
struct Nesting {
    const Nesting* outer = nullptr;
    IUnknown* object = nullptr;  ///< null for an array
    int depth = 0;

    [[nodiscard]] bool IsTooDeep() const {
        return depth > deepestNesting || (depth > usualNesting && !HasStackFor(nestingStack));
    }
    [[nodiscard]] Nesting Inside(IUnknown* next) const { return {this, next, depth + 1}; }
    /// True for an object that the value lies in. Rendering it again would have no end, and if each held two
    /// of the others, not even the limit of nesting would be reached in reasonable time.
    [[nodiscard]] bool Holds(IUnknown* asked) const {
        return asked != nullptr && (object == asked || (outer != nullptr && outer->Holds(asked)));
    }
};

Text Render(const Variant& value, const Nesting& nesting);

Text JoinedTexts(const std::vector<Variant>& values, const Nesting& nesting) {
    std::vector<Text> texts;
    texts.reserve(values.size());
    for (const Variant& value : values) {
        texts.push_back(Render(value, nesting));
    }
    return Joined(texts, separator);
}

bool Answers(const LateBound& object, const IID& iid) {
    ComPtr<IUnknown> answered;
    return SUCCEEDED(object.Pointer()->QueryInterface(iid, answered.ReceiveVoid()));
}

bool IsDictionary(const LateBound& object) {
    return Answers(object, dictionaryInterface) ||
           object.Knows({L"Keys", L"Items", L"Exists", L"CompareMode"});
}

bool IsRecordset(const LateBound& object) {
    return Answers(object, recordsetInterface) || object.Knows({L"Fields", L"EOF", L"MoveNext"});
}

Text RenderDictionary(const LateBound& dictionary, const Nesting& nesting) {
    std::vector<Text> pairs;
    for (const Variant& key : dictionary.Get(L"Keys").Elements()) {
        pairs.push_back(Render(key, nesting) + L"=" + Render(dictionary.Get(L"Item", key), nesting));
    }
    return L"{" + Joined(pairs, separator) + L"}";
}

Text RenderRecordset(const LateBound& recordset, const Nesting& nesting) {
    if (recordset.Get(L"EOF").ToBoolean()) {
        const Variant names = FieldNames(recordset);
        const Text list = names.IsEmpty() ? Text() : JoinedTexts(names.Elements(), nesting);
        return L"{Recordset: (empty) " + list + L"}";
    }
    std::vector<Text> pairs;
    const LateBound fields(recordset.Get(L"Fields"));
    const std::int32_t count = fields.Get(L"Count").ToLong();
    for (std::int32_t i = 0; i < count; ++i) {
        const LateBound field(fields.Get(L"Item", i));
        pairs.push_back(field.Get(L"Name").ToText() + L"=" + Render(field.Get(L"Value"), nesting));
    }
    return L"{Recordset: " + Joined(pairs, separator) + L"}";
}

/// An object's text by its kind; none when it is of no known kind or fails on the way.
std::optional<Text> RenderByKind(const LateBound& object, const Nesting& nesting) {
    try {
        if (IsDictionary(object)) {
            return RenderDictionary(object, nesting);
        }
        if (IsRecordset(object)) {
            return RenderRecordset(object, nesting);
        }
        if (const auto items = object.Items(); items && !items->empty()) {
            return L"[" + JoinedTexts(*items, nesting) + L"]";
        }
        if (const Variant value = object.DefaultValue(); CanConvertToText(value)) {
            return L"(Object=" + value.ToText() + L")";
        }
    } catch (const RuntimeError&) {
        return std::nullopt;
    }
    return std::nullopt;
}

Text RenderObject(const Variant& value, const Nesting& nesting) {
    if (value.ObjectPointer() == nullptr) {
        return L"(Object=Nothing)";
    }
    const auto address = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(value.ObjectPointer()));
    Text byAddress = L"(Object@" + Decimal(address) + L")";
    try {
        return RenderByKind(LateBound(value), nesting.Inside(value.ObjectPointer())).value_or(byAddress);
    } catch (const RuntimeError&) {
        return byAddress;
    }
}

/// Stands for a value without a text: the number of its type.
Text RenderType(const Variant& value) {
    return L"(Typ " + Decimal(value.Type()) + L")";
}

/// An array whose elements are not of the type that it claims cannot be read; its type stands for it.
Text RenderArray(const Variant& value, const Nesting& nesting) {
    if (value.Raw().parray == nullptr) {
        return L"[]";
    }
    try {
        const Nesting inside = nesting.Inside(nullptr);
        if (inside.IsTooDeep()) {
            return L"[" + JoinedTexts(value.Elements(), inside) + L"]";
        }
        Text text;
        text.reserve(usualLength);
        text += L'[';
        value.AppendElements(text, separator,
                             [&](const Variant& element) { return Render(element, inside); });
        text += L']';
        return text;
    } catch (const RuntimeError&) {
        return RenderType(value);
    }
}

/// The text of an error value, by its run-time number.
Text RenderError(std::int32_t scode) {
    return L"Fehler " + Decimal(NumberOf(scode));
}

Text Render(const Variant& value, const Nesting& nesting) {
    if (nesting.IsTooDeep() || (value.IsObject() && nesting.Holds(value.ObjectPointer()))) {
        return Text(tooDeep);
    }
    if (value.IsArray()) {
        return RenderArray(value, nesting);
    }
    if (value.IsObject()) {
        return RenderObject(value, nesting);
    }
    switch (value.Type()) {
    case VT_EMPTY:
        return L"(Empty)";
    case VT_NULL:
        return L"(Null)";
    case VT_ERROR:
        return RenderError(value.Raw().scode);
    default:
        return CanConvertToText(value) ? value.ToText() : RenderType(value);
    }
}

}  // namespace

Text ToText(const Variant& vtValue) {
    return Render(vtValue, {});
}

Text ArrayToText(const Variant& vtValue) {
    Assert(vtValue.IsArray(), L"Argument not an array.", errors::invalidArgument);
    return Render(vtValue, {});
}

Text ListToText(const LateBound& oList) {
    Assert(IsList(oList), L"Argument not a List.", errors::invalidArgument);
    return L"[" + JoinedTexts(oList.Items().value_or(std::vector<Variant>()), {}) + L"]";
}

Text DictionaryToText(const LateBound& oDictionary) {
    return RenderDictionary(oDictionary, {});
}

Text RecordsetToText(const LateBound& oRecordset) {
    return RenderRecordset(oRecordset, {});
}

bool IsList(const LateBound& oObject) {
    const auto items = oObject.Items();
    return items && !items->empty();
}

bool CanConvertToText(const Variant& vtValue) {
    try {
        static_cast<void>(vtValue.ToText());
        return true;
    } catch (const RuntimeError&) {
        return false;
    }
}

}  // namespace kandora
