#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <initializer_list>
#include <limits>

/// JSON files written by people, read strictly: every complaint is German and names file, line and column.
namespace kandora::simulators {

using Json = nlohmann::json;

/// One parsed file. The accessors take nodes of Root() (by reference, never copies) and throw Failure with
/// the node's place in the file when the node is not what is asked for.
class JsonFile {
public:
    /// Reads and parses the file (UTF-8, a byte order mark is skipped). Throws Failure.
    static JsonFile Read(const std::wstring& path);

    /// Parses text as if it were the content of the file; `path` serves for messages only.
    static JsonFile Parse(const std::wstring& path, std::string text);

    const std::wstring& Path() const noexcept { return path_; }
    const Json& Root() const noexcept { return root_; }

    /// The member of an object, which must exist; `object` itself is checked to be one.
    const Json& Required(const Json& object, std::string_view key) const;
    /// Null when the object has no such member.
    const Json* Optional(const Json& object, std::string_view key) const;

    std::wstring Text(const Json& node) const;
    std::wstring NonEmptyText(const Json& node) const;
    bool Boolean(const Json& node) const;
    double Number(const Json& node) const;
    std::int32_t Integer(const Json& node, std::int32_t lowest = std::numeric_limits<std::int32_t>::min(),
                         std::int32_t highest = std::numeric_limits<std::int32_t>::max()) const;
    /// The node itself, checked to be an array or an object.
    const Json& Array(const Json& node) const;
    const Json& Object(const Json& node) const;

    /// Complains about the first member with a name not listed.
    void AllowOnly(const Json& object, std::initializer_list<std::string_view> keys) const;

    /// Throws Failure: "path, Zeile 3, Spalte 7: message", with the place where the node stands.
    [[noreturn]] void Fail(const Json& node, std::wstring_view message) const;
    /// The same with the place of a member's name.
    [[noreturn]] void FailAtKey(const Json& object, std::string_view key, std::wstring_view message) const;

private:
    JsonFile(std::wstring path, std::string text) : path_(std::move(path)), text_(std::move(text)) {}

    [[noreturn]] void FailAtOffset(std::size_t offset, std::wstring_view message) const;

    std::wstring path_;
    std::string text_;
    Json root_;
};

}  // namespace kandora::simulators
