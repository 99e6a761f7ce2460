#pragma once

#include <vector>

#include <CLI/CLI.hpp>

#include "automation/Text.h"

namespace kandora::check {

/// What is wrong with the arguments, in German.
using Complain = Text(const CLI::ParseError& error);

/// Gives the arguments of the command line to what the program declares. Answers the help if that was asked
/// for, otherwise an empty text. Throws UsageError.
Text ReadArguments(CLI::App& app, const std::vector<Text>& arguments, Complain& complaint);

}  // namespace kandora::check
