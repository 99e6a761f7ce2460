#pragma once

#include <functional>
#include <string>

#include "tests/foreign/Boxes.h"
#include "tests/stress/StressPlace.h"
#include "tests/support/Unique.h"

namespace kandora::foreign_tests {

namespace fs = std::filesystem;
using component_tests::Component;

/// What is done on the thread immediately before and after each call of the component.
struct Around {
    std::function<void()> before = [] {};
    std::function<void()> after = [] {};
    /// What the other programs' objects do at the end of each call.
    std::function<void()> inside = nullptr;
};

/// An installed component with tracing on, and an archive and an accounting in this process.
class Installation {
public:
    Installation();

    /// A copy of the component in a folder of its own, with the same settings.
    [[nodiscard]] fs::path Copy(const wchar_t* folder) const;
    [[nodiscard]] fs::path Library() const { return place.Library(); }

    stress_tests::Place place;
};

/// What a host and outside callers ask of the component on this thread, which is in an apartment: each
/// request as it should be, each with an error of the other programs, each with a log file that cannot be
/// written; then the clients for outside callers. Returns what was answered, shown, logged and filed, one
/// line each, in which nothing depends on the surroundings.
std::string Play(Installation& installation, const Component& component, Boxes& boxes,
                 const Around& around = {});

/// The 13 requests by name.
const std::vector<std::string>& RequestNames();

/// A host that is ready for requests, for whoever sends single ones.
class Ready : test::Unique {
public:
    Ready(Installation& installation, const Component& component);
    ~Ready();

    /// Sends a request by its number in RequestNames; returns its outcome.
    HRESULT Send(std::size_t request);
    /// Sends FibuVersion with arrays in arrays, deeper than anything is followed.
    HRESULT SendNested();
    /// Asks the archive client for outside callers for the login; returns its outcome.
    HRESULT CheckLogin();

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace kandora::foreign_tests
