#pragma once

#include "tests/component/ComponentSupport.h"

#include <nlohmann/json.hpp>

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

/// A host of the component in a process of its own. State and log file last as long as a process does, so
/// each course of events gets a fresh one.
namespace kandora::component_tests {

/// A message box that was shown during a request and confirmed.
struct ShownBox {
    std::wstring caption;
    std::wstring text;

    bool operator==(const ShownBox&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const ShownBox& box);

/// How a request went.
struct Answer {  // NOLINT(bugprone-exception-escape): the JSON value's move checks itself by assertions alone
    std::string request;
    HRESULT code = E_UNEXPECTED;
    nlohmann::json result;  ///< null for Empty and for no result
    std::vector<ShownBox> boxes;
};

/// A folder with a copy of the component, as installed on a workstation.
class Installation {
public:
    explicit Installation(const std::wstring& name = L"Kandora");

    /// Writes the INI file beside the component.
    void WriteSettings(const std::string& text) const;
    /// Makes the component the plug-in of a new host, which sends the requests and ends. Besides the requests
    /// of DMSProvider there are "bRunning", which reads the property; "settings <name>", which makes the file
    /// of that name beside the component its INI file from then on; and "outside <class> <member> ...", a
    /// call of an outside caller on an object made for it, whose result is the error's source if it fails.
    [[nodiscard]] std::vector<Answer> Play(const std::vector<std::wstring>& requests) const;

    [[nodiscard]] fs::path Component() const { return folder_.Path() / (name_ + L".dll"); }
    [[nodiscard]] const fs::path& Folder() const { return folder_.Path(); }
    /// The names of all log files.
    [[nodiscard]] std::vector<std::wstring> LogFiles() const;
    /// The lines of the only log file, without the time; each must be complete and well-formed. None without
    /// a file.
    [[nodiscard]] std::vector<std::wstring> LogLines() const;

private:
    std::wstring name_;
    TemporaryFolder folder_;
};

/// The other side: plays the host when this process was started for that, and returns the exit code; nothing
/// in any other process.
std::optional<int> PlayedHost();

}  // namespace kandora::component_tests
