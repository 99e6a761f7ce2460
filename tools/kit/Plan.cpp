#include "tools/kit/Plan.h"

#include <array>
#include <utility>

#include <nlohmann/json.hpp>

#include "interfaces/CodePages.h"

namespace kandora::kit {

namespace {

using Json = nlohmann::json;

Text TextAt(const Json& object, const char* key) {
    return TextFromUtf8(object.at(key).get<std::string>());
}

std::vector<Text> TextsAt(const Json& object, const char* key) {
    std::vector<Text> texts;
    for (const Json& each : object.at(key)) {
        texts.push_back(TextFromUtf8(each.get<std::string>()));
    }
    return texts;
}

Needs NeedsFrom(const std::string& word) {
    constexpr std::array<std::pair<const char*, Needs>, 3> words{
        {{"nothing", Needs::Nothing}, {"registrations", Needs::Registrations}, {"rights", Needs::Rights}}};
    for (const auto& [known, needs] : words) {
        if (word == known) {
            return needs;
        }
    }
    throw KitFailure(L"Unbekanntes Wort «" + TextFromUtf8(word) + L"» im Prüfplan.");
}

PlannedTest TestFrom(const Json& json) {
    PlannedTest test;
    test.name = TextAt(json, "name");
    test.area = TextAt(json, "area");
    test.program = TextAt(json, "program");
    test.arguments = TextsAt(json, "arguments");
    for (const auto& [name, value] : json.at("environment").items()) {
        test.environment.push_back({TextFromUtf8(name), TextFromUtf8(value.get<std::string>())});
    }
    test.needs = NeedsFrom(json.at("needs"));
    test.cases = json.at("cases");
    test.counts = json.at("counts").get<Counts>();
    test.excused = json.at("excused").get<std::vector<std::string>>();
    test.seconds = json.at("seconds");
    test.limit = json.at("limit");
    return test;
}

PlannedSetting SettingFrom(const Json& json) {
    return {TextAt(json, "section"), TextAt(json, "key"), json.value("mask", ""), json.value("field", ""),
            TextFromUtf8(json.value("value", ""))};
}

Plan PlanFromJson(const Json& json) {
    Plan plan;
    plan.version = TextAt(json, "version");
    plan.architecture = TextAt(json, "architecture");
    for (const Json& each : json.at("tests")) {
        plan.tests.push_back(TestFrom(each));
    }
    for (const Json& each : json.at("omitted")) {
        plan.omitted.push_back({TextAt(each, "name"), TextAt(each, "reason")});
    }
    plan.fault = json.at("fault");
    for (const Json& each : json.at("counts")) {
        plan.counts.push_back({each.at("what"), each.at("pattern")});
    }
    plan.classKeys = TextsAt(json, "classKeys");
    for (const Json& each : json.at("settings")) {
        plan.settings.push_back(SettingFrom(each));
    }
    const Json& package = json.at("package");
    plan.package = {TextAt(package, "first"),       TextAt(package, "firstProduct"),
                    TextAt(package, "next"),        TextAt(package, "nextProduct"),
                    TextAt(package, "upgradeCode"), TextAt(package, "nextVersion")};
    for (const auto& [name, seconds] : json.at("partSeconds").items()) {
        plan.partSeconds[TextFromUtf8(name)] = seconds;
    }
    return plan;
}

}  // namespace

KitFailure::KitFailure(Text message)
    : std::runtime_error(Utf8FromText(message)), message_(std::move(message)) {}

Plan PlanFrom(const std::string& json) {
    try {
        return PlanFromJson(Json::parse(json));
    } catch (const Json::exception& error) {
        throw KitFailure(L"Der Prüfplan ist beschädigt: " + TextFromUtf8(error.what()));
    }
}

}  // namespace kandora::kit
