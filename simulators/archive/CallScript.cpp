#include "simulators/archive/CallScript.h"

#include <algorithm>
#include <array>
#include <cwchar>

#include "simulators/common/Files.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

Value ReadValue(const JsonFile& file, const Json& node) {
    if (node.is_null()) {
        return Value::Null();
    }
    if (node.is_boolean()) {
        return Value::Boolean(node.get<bool>());
    }
    if (node.is_number_integer()) {
        return Value::Long(file.Integer(node));
    }
    if (node.is_number()) {
        return Value::Double(node.get<double>());
    }
    return Value::Text(file.Text(node));
}

HRESULT ReadCode(const JsonFile& file, const Json& node) {
    const std::wstring text = file.Text(node);
    wchar_t* end = nullptr;
    const unsigned long code = std::wcstoul(text.c_str(), &end, 16);
    const bool isHex = text.starts_with(L"0x") || text.starts_with(L"0X");
    if (!isHex || text.size() < 3 || text.size() > 10 || *end != L'\0' || (code & 0x80000000UL) == 0) {
        file.Fail(node, L"Hier muss ein Fehlercode wie \"0x800706BA\" stehen.");
    }
    return static_cast<HRESULT>(code);
}

AutomationError ReadError(const JsonFile& file, const Json& node) {
    file.AllowOnly(node, {"number", "description", "source"});
    const Json* description = file.Optional(node, "description");
    const Json* source = file.Optional(node, "source");
    return AutomationError(file.Integer(file.Required(node, "number")),
                           description != nullptr ? file.Text(*description) : std::wstring(),
                           source != nullptr ? file.Text(*source) : std::wstring());
}

CallScript::Death ReadDeath(const JsonFile& file, const Json& node) {
    const std::wstring when = file.Text(node);
    if (when == L"before") {
        return CallScript::Death::Before;
    }
    if (when != L"after") {
        file.Fail(node, L"Hier muss \"before\" oder \"after\" stehen.");
    }
    return CallScript::Death::After;
}

/// Texts are equal letter by letter, everything else as numbers.
bool AreEqual(const Value& wanted, const Value& given) {
    try {
        if (wanted.Type() == VT_NULL || given.Type() == VT_NULL) {
            return wanted.Type() == given.Type();
        }
        if (wanted.Type() == VT_BSTR || given.Type() == VT_BSTR) {
            return FromBstr(wanted.ConvertedTo(VT_BSTR).Get().bstrVal) ==
                   FromBstr(given.ConvertedTo(VT_BSTR).Get().bstrVal);
        }
        return VarCmp(const_cast<VARIANT*>(&wanted.Get()), const_cast<VARIANT*>(&given.Get()),
                      LOCALE_INVARIANT, 0) == static_cast<HRESULT>(VARCMP_EQ);
    } catch (const HresultError&) {
        return false;
    }
}

}  // namespace

CallScript CallScript::Read(const std::wstring& path, const MemberTable& members) {
    return Parse(JsonFile::Read(path), members);
}

CallScript CallScript::Parse(const JsonFile& file, const MemberTable& members) {
    CallScript script;
    for (const Json& item : file.Array(file.Root())) {
        script.rules_.push_back(ReadRule(file, item, members));
    }
    return script;
}

CallScript::Rule CallScript::ReadRule(const JsonFile& file, const Json& item, const MemberTable& members) {
    file.AllowOnly(item, {"call", "nth", "from", "args", "answer", "fail", "hresult", "delayMs", "until",
                          "die", "begun"});
    Rule rule;
    const Json& name = file.Required(item, "call");
    const MemberTable::Member* member = members.Find(members.IdOf(file.NonEmptyText(name)));
    if (member == nullptr) {
        file.Fail(name, L"Das Archiv hat kein Mitglied «" + file.Text(name) + L"».");
    }
    rule.member = member->name;
    if (const Json* nth = file.Optional(item, "nth")) {
        rule.nth = file.Integer(*nth, 1);
    }
    if (const Json* from = file.Optional(item, "from")) {
        rule.from = file.Integer(*from, 1);
        if (rule.nth) {
            file.FailAtKey(item, "from", L"«nth» und «from» schliessen sich aus.");
        }
    }
    if (const Json* arguments = file.Optional(item, "args")) {
        for (const Json& argument : file.Array(*arguments)) {
            rule.arguments.push_back(ReadValue(file, argument));
        }
    }
    if (const Json* begun = file.Optional(item, "begun")) {
        rule.begun = file.NonEmptyText(*begun);
    }
    int actions = 0;
    if (const Json* answer = file.Optional(item, "answer")) {
        rule.action = Answer{ReadValue(file, *answer)};
        ++actions;
    }
    if (const Json* fail = file.Optional(item, "fail")) {
        rule.action = ReadError(file, *fail);
        ++actions;
    }
    if (const Json* code = file.Optional(item, "hresult")) {
        rule.action = HresultError(ReadCode(file, *code));
        ++actions;
    }
    if (const Json* delay = file.Optional(item, "delayMs")) {
        rule.delay = std::chrono::milliseconds(file.Integer(*delay, 0));
        ++actions;
    }
    if (const Json* until = file.Optional(item, "until")) {
        rule.until = file.NonEmptyText(*until);
        ++actions;
    }
    if (const Json* die = file.Optional(item, "die")) {
        rule.action = ReadDeath(file, *die);
        ++actions;
    }
    if (actions != 1) {
        file.Fail(item, L"Eine Regel braucht genau eine der Angaben «answer», «fail», «hresult», «delayMs», "
                        L"«until», «die».");
    }
    return rule;
}

bool CallScript::Rule::Concerns(const Call& call) const {
    if (member != call.member || arguments.size() > call.arguments.Count()) {
        return false;
    }
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        if (call.arguments.IsMissing(index) || !AreEqual(arguments[index], call.arguments.Any(index))) {
            return false;
        }
    }
    return true;
}

CallScript::Decision CallScript::Decide(const Call& call) {
    Decision decision;
    for (Rule& rule : rules_) {
        if (!rule.Concerns(call)) {
            continue;
        }
        ++rule.calls;
        const bool applies = rule.nth ? rule.calls == *rule.nth : !rule.from || rule.calls >= *rule.from;
        if (!applies) {
            continue;
        }
        if (!rule.begun.empty()) {
            WriteFileAtomically(rule.begun, "");
        }
        decision.delay += rule.delay;
        if (!rule.until.empty()) {
            decision.until.push_back(rule.until);
        }
        if (std::holds_alternative<std::monostate>(decision.action)) {
            decision.action = rule.action;
        }
    }
    return decision;
}

}  // namespace kandora::simulators
