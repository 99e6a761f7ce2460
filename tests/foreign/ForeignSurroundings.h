#pragma once

#include <functional>
#include <ostream>
#include <span>
#include <string>

#include "tests/foreign/ForeignCourse.h"

namespace kandora::foreign_tests {

/// A process in which nothing has been loaded yet.
struct Stage {
    Installation installation;
    Boxes boxes;

    /// Plays the course with the component, in an apartment of this thread.
    std::string Play(const Component& component, const Around& around = {});
    /// Plays the course on this thread, which has entered COM in its own way.
    std::string PlayHere(const Around& around = {});
    /// The same with the component of the installation.
    std::string Play(const Around& around = {}) { return Play(Component(installation.Library()), around); }
};

/// What a host or its libraries do to the component's process.
struct Surroundings {
    const char* name;
    /// Plays the course in these surroundings and returns what it tells; other expectations are checked on
    /// the spot.
    std::function<std::string(Stage&)> play;
};

inline void PrintTo(const Surroundings& surroundings, std::ostream* stream) {
    *stream << surroundings.name;
}

/// Those in which the course must tell what it tells without them. The first one is no disturbance at all.
std::span<const Surroundings> AllSurroundings();

/// Sends each request, and asks for a login as an outside caller does, with no more than so many bytes of
/// stack. Tells the outcomes and the boxes.
std::string SendOnLittleStack(Stage& stage);
inline constexpr const char* littleStack = "LittleStack";

}  // namespace kandora::foreign_tests
