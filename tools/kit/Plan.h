#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "automation/Text.h"

namespace kandora::kit {

/// Numbers of things by their names.
using Counts = std::map<std::string, std::int64_t>;

/// What a test changes outside of the kit's folder.
enum class Needs {
    Nothing,
    Registrations,  ///< registers classes for the machine, or for the user who may not do that
    Rights,         ///< registers for the machine
};

struct Variable {
    Text name;
    Text value;
};

/// One test program, and what it must come to.
struct PlannedTest {
    Text name;
    Text area;
    Text program;  ///< as seen from the kit's folder
    std::vector<Text> arguments;
    std::vector<Variable> environment;
    Needs needs = Needs::Nothing;
    std::int64_t cases = 0;
    Counts counts;                     ///< what its lines must count up to
    std::vector<std::string> excused;  ///< cases that it may leave out in a kit
    std::int64_t seconds = 0;          ///< what it takes, roughly
    std::int64_t limit = 0;            ///< seconds after which it counts as one that hangs
};

/// What the developers' machine runs and a kit does not.
struct OmittedTest {
    Text name;
    Text reason;
};

/// How many of something a line of a program's output tells: the first group of the pattern.
struct CountRule {
    std::string what;
    std::string pattern;
};

/// A setting of Kandora.ini and where its value comes from: the number of a mask of the archive, the line of
/// a field in it, or the value itself.
struct PlannedSetting {
    Text section;
    Text key;
    std::string mask;
    std::string field;
    Text value;
};

/// The installers: this version, and the same under a higher number.
struct PlannedPackage {
    Text first;
    Text firstProduct;
    Text next;
    Text nextProduct;
    Text upgradeCode;
    Text nextVersion;
};

/// What the kit holds and how it is judged; packaging/make_kit.py writes it.
struct Plan {
    Text version;
    Text architecture;
    std::vector<PlannedTest> tests;
    std::vector<OmittedTest> omitted;
    std::string fault;  ///< pattern of a line that tells of a fault
    std::vector<CountRule> counts;
    std::vector<Text> classKeys;  ///< the component's keys below Software\Classes
    std::vector<PlannedSetting> settings;
    PlannedPackage package;
    std::map<Text, std::int64_t> partSeconds;  ///< of the parts that are no test programs
};

/// What is wrong with a kit, in German.
class KitFailure : public std::runtime_error {
public:
    explicit KitFailure(Text message);

    [[nodiscard]] const Text& Message() const noexcept { return message_; }

private:
    Text message_;
};

/// Throws KitFailure for a text that is no plan.
Plan PlanFrom(const std::string& json);

}  // namespace kandora::kit
