#pragma once

#include <vector>

#include "automation/Text.h"

namespace kandora::kit {

/// What the user asked for.
struct KitCommandLine {
    bool list = false;
    bool yes = false;
    bool withoutPackage = false;
    bool withoutMeasurements = false;
    std::vector<Text> only;  ///< tests and parts; empty for all
    Text report;             ///< empty: beside the program, named after the computer and the time
    Text answer;             ///< help or version, which is all that was asked for
};

/// Throws check::UsageError.
KitCommandLine ParseKitCommandLine(const std::vector<Text>& arguments);

}  // namespace kandora::kit
