#include "simulators/common/JsonFile.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <vector>

#include "interfaces/CodePages.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Files.h"

namespace kandora::simulators {

namespace {

/// Walks over the text and counts how far the parser has read.
class CountingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* position, std::size_t* consumed)
        : position_(position), consumed_(consumed) {}
    reference operator*() const { return *position_; }
    CountingIterator& operator++() {
        ++position_;
        ++*consumed_;
        return *this;
    }
    CountingIterator operator++(int) {
        CountingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountingIterator& other) const { return position_ == other.position_; }
    bool operator!=(const CountingIterator& other) const { return position_ != other.position_; }

private:
    const char* position_;
    std::size_t* consumed_;
};

/// The steps from the root to a node: a member's name or an element's index.
struct Step {
    std::string key;
    std::size_t index = 0;
    bool isKey = false;

    bool operator==(const Step&) const = default;
};
using Route = std::vector<Step>;

bool FindRoute(const Json& from, const Json& wanted, Route& route) {
    if (&from == &wanted) {
        return true;
    }
    if (from.is_object()) {
        for (auto member = from.begin(); member != from.end(); ++member) {
            route.push_back(Step{member.key(), 0, true});
            if (FindRoute(member.value(), wanted, route)) {
                return true;
            }
            route.pop_back();
        }
    } else if (from.is_array()) {
        for (std::size_t index = 0; index < from.size(); ++index) {
            route.push_back(Step{{}, index, false});
            if (FindRoute(from[index], wanted, route)) {
                return true;
            }
            route.pop_back();
        }
    }
    return false;
}

/// Parses the text again and notes where the node at the end of a route, or its name, begins. The parser
/// itself keeps no positions; they are needed only when there is something to complain about.
class Locator : public nlohmann::json_sax<Json> {
public:
    Locator(const std::string& text, Route wanted, bool wantsKey)
        : text_(text), wanted_(std::move(wanted)), wantsKey_(wantsKey) {}

    std::size_t Run() {
        Json::sax_parse(CountingIterator(text_.data(), &consumed_),
                        CountingIterator(text_.data() + text_.size(), &consumed_), this);
        return found_.value_or(0);
    }

    bool null() override { return Scalar(); }
    bool boolean(bool) override { return Scalar(); }
    bool number_integer(number_integer_t) override { return Scalar(); }
    bool number_unsigned(number_unsigned_t) override { return Scalar(); }
    bool number_float(number_float_t, const string_t&) override { return Scalar(); }
    bool string(string_t&) override { return Scalar(); }
    bool binary(binary_t&) override { return Scalar(); }
    bool start_object(std::size_t) override {
        Begin();
        here_.push_back(Step{{}, 0, true});
        return true;
    }
    bool end_object() override { return End(); }
    bool start_array(std::size_t) override {
        Begin();
        here_.push_back(Step{{}, 0, false});
        return true;
    }
    bool end_array() override { return End(); }
    bool key(string_t& name) override {
        here_.back().key = name;
        const std::size_t start = TokenStart();
        if (wantsKey_ && here_ == wanted_) {
            found_ = start;
        }
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

private:
    /// The token that has just been read begins after the blanks and separators that follow the one before.
    std::size_t TokenStart() {
        std::size_t start = previousEnd_;
        while (start < text_.size() &&
               std::string_view(" \t\r\n,:]}").find(text_[start]) != std::string_view::npos) {
            ++start;
        }
        previousEnd_ = consumed_;
        return start;
    }
    void Begin() {
        const std::size_t start = TokenStart();
        if (!wantsKey_ && here_ == wanted_) {
            found_ = start;
        }
    }
    bool Scalar() {
        Begin();
        Next();
        return true;
    }
    bool End() {
        here_.pop_back();
        Next();
        return true;
    }
    void Next() {
        if (!here_.empty() && !here_.back().isKey) {
            ++here_.back().index;
        }
    }

    const std::string& text_;
    Route wanted_;
    bool wantsKey_;
    Route here_;
    std::size_t consumed_ = 0;
    std::size_t previousEnd_ = 0;
    std::optional<std::size_t> found_;
};

std::wstring Plain(std::string_view key) {
    return L"«" + TextFromUtf8(key) + L"»";
}

}  // namespace

JsonFile JsonFile::Read(const std::wstring& path) {
    return Parse(path, ReadWholeFile(path));
}

JsonFile JsonFile::Parse(const std::wstring& path, std::string text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    if (text.starts_with(mark)) {
        text.erase(0, mark.size());
    }
    JsonFile file(path, std::move(text));
    try {
        file.root_ = Json::parse(file.text_);
    } catch (const Json::parse_error& error) {
        file.FailAtOffset(error.byte == 0 ? 0 : error.byte - 1, error.byte > file.text_.size()
                                                                    ? L"Das JSON endet zu früh."
                                                                    : L"Das ist kein gültiges JSON.");
    } catch (const Json::exception&) {
        file.FailAtOffset(0, L"Das JSON enthält eine Zahl ausserhalb des zulässigen Bereichs.");
    }
    return file;
}

void JsonFile::FailAtOffset(std::size_t offset, std::wstring_view message) const {
    const std::string_view before = std::string_view(text_).substr(0, std::min(offset, text_.size()));
    const auto line = std::ranges::count(before, '\n') + 1;
    const std::size_t lineStart = before.rfind('\n') == std::string_view::npos ? 0 : before.rfind('\n') + 1;
    const std::size_t column = TextFromUtf8(before.substr(lineStart)).size() + 1;
    throw Failure(path_ + L", Zeile " + std::to_wstring(line) + L", Spalte " + std::to_wstring(column) +
                  L": " + std::wstring(message));
}

void JsonFile::Fail(const Json& node, std::wstring_view message) const {
    Route route;
    FindRoute(root_, node, route);
    FailAtOffset(Locator(text_, std::move(route), false).Run(), message);
}

void JsonFile::FailAtKey(const Json& object, std::string_view key, std::wstring_view message) const {
    Route route;
    FindRoute(root_, object, route);
    route.push_back(Step{std::string(key), 0, true});
    FailAtOffset(Locator(text_, std::move(route), true).Run(), message);
}

const Json& JsonFile::Required(const Json& object, std::string_view key) const {
    const Json* member = Optional(object, key);
    if (member == nullptr) {
        Fail(object, L"Die Angabe " + Plain(key) + L" fehlt.");
    }
    return *member;
}

const Json* JsonFile::Optional(const Json& object, std::string_view key) const {
    Object(object);
    const auto found = object.find(std::string(key));
    return found == object.end() ? nullptr : &*found;
}

std::wstring JsonFile::Text(const Json& node) const {
    if (!node.is_string()) {
        Fail(node, L"Hier muss ein Text in Anführungszeichen stehen.");
    }
    return TextFromUtf8(node.get_ref<const std::string&>());
}

std::wstring JsonFile::NonEmptyText(const Json& node) const {
    std::wstring text = Text(node);
    if (text.empty()) {
        Fail(node, L"Der Text darf nicht leer sein.");
    }
    return text;
}

bool JsonFile::Boolean(const Json& node) const {
    if (!node.is_boolean()) {
        Fail(node, L"Hier muss true oder false stehen.");
    }
    return node.get<bool>();
}

double JsonFile::Number(const Json& node) const {
    if (!node.is_number()) {
        Fail(node, L"Hier muss eine Zahl stehen.");
    }
    return node.get<double>();
}

std::int32_t JsonFile::Integer(const Json& node, std::int32_t lowest, std::int32_t highest) const {
    if (!node.is_number_integer()) {
        Fail(node, L"Hier muss eine ganze Zahl stehen.");
    }
    // As a floating-point number: it holds every value of the range, and larger ones do not overflow.
    const double value = node.get<double>();
    if (value < lowest || value > highest) {
        Fail(node, L"Die Zahl muss zwischen " + std::to_wstring(lowest) + L" und " +
                       std::to_wstring(highest) + L" liegen.");
    }
    return node.get<std::int32_t>();
}

const Json& JsonFile::Array(const Json& node) const {
    if (!node.is_array()) {
        Fail(node, L"Hier muss eine Liste in eckigen Klammern stehen.");
    }
    return node;  // NOLINT(bugprone-return-const-ref-from-parameter): a part of the file
}

const Json& JsonFile::Object(const Json& node) const {
    if (!node.is_object()) {
        Fail(node, L"Hier muss ein Objekt in geschweiften Klammern stehen.");
    }
    return node;  // NOLINT(bugprone-return-const-ref-from-parameter): a part of the file
}

void JsonFile::AllowOnly(const Json& object, std::initializer_list<std::string_view> keys) const {
    Object(object);
    for (auto member = object.begin(); member != object.end(); ++member) {
        if (std::ranges::find(keys, member.key()) == keys.end()) {
            FailAtKey(object, member.key(), L"Unbekannte Angabe " + Plain(member.key()) + L".");
        }
    }
}

}  // namespace kandora::simulators
