#pragma once

#include <vector>

#include "automation/Text.h"

namespace kandora::kit {

struct Fact {
    Text name;
    Text value;
};

/// What there is to know of this Windows: version, languages, processor, the user's rights, the libraries of
/// the system that the component works with.
std::vector<Fact> FactsOfMachine();

/// Whether this process has the administrators' rights. COM shows such a process the machine's registrations
/// alone.
bool IsElevated();
/// None on Windows itself.
Text WineVersion();
/// The computer's name.
Text ComputerName();

}  // namespace kandora::kit
