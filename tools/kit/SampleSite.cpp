#include "tools/kit/SampleSite.h"

#include <algorithm>
#include <array>
#include <utility>

#include <objbase.h>

#include <nlohmann/json.hpp>

#include "interfaces/CodePages.h"

namespace kandora::kit {

namespace {

using Json = nlohmann::json;

struct StandIn {
    const wchar_t* progId;
    const wchar_t* clsid;
};
constexpr std::array<StandIn, 2> standIns{{
    {L"ELO.professional", L"{6D1C7B52-0A94-4E3B-9C5E-3F27B8D1604A}"},
    {L"FibuNT.Mandant", L"{257F05EA-2E35-4279-A961-6F4284B6DA29}"},
}};

/// The archive's mask of that name.
const Json& MaskNamed(const Json& archive, const std::string& name) {
    for (const Json& mask : archive.at("masken")) {
        if (mask.at("name") == name) {
            return mask;
        }
    }
    throw StepFailure(L"Dem Muster-Archiv fehlt die Maske " + TextFromUtf8(name));
}

Text ValueOf(const PlannedSetting& setting, const Json& archive, const fs::path& print) {
    if (setting.mask.empty()) {
        return Replaced(setting.value, L"@DRUCKDATEI@", print.wstring());
    }
    const Json& mask = MaskNamed(archive, setting.mask);
    if (setting.field.empty()) {
        return Decimal(mask.at("nummer").get<std::int64_t>());
    }
    for (const Json& field : mask.at("felder")) {
        if (field.at("name") == setting.field) {
            return Decimal(field.at("zeile").get<std::int64_t>());
        }
    }
    throw StepFailure(L"Der Maske " + TextFromUtf8(setting.mask) + L" fehlt das Feld " +
                      TextFromUtf8(setting.field));
}

}  // namespace

std::vector<Text> StandInKeys() {
    std::vector<Text> keys;
    for (const StandIn& each : standIns) {
        keys.emplace_back(each.progId);
        keys.push_back(Text(L"CLSID\\") + each.clsid);
    }
    return keys;
}

std::optional<Text> ForeignServer() {
    for (const StandIn& each : standIns) {
        CLSID registered{};
        CLSID own{};
        CLSIDFromString(each.clsid, &own);
        if (SUCCEEDED(CLSIDFromProgID(each.progId, &registered)) && registered != own) {
            return each.progId;
        }
    }
    return std::nullopt;
}

SampleSite::SampleSite(const Kit& kit, Steps& steps, fs::path folder)
    : kit_(kit), steps_(steps), folder_(std::move(folder)) {
    fs::create_directories(folder_);
    const fs::path archive = kit_.Bin(L"ArchiveSimulator.exe");
    CopyOver(kit_.folder / L"simulators" / L"clients" / L"Muster AG.json", Client());
    steps_.Run(L"Muster-Archiv erstellen", archive, {L"--create-sample-store", Store().wstring()});
    steps_.Run(L"Archiv eintragen", archive, {L"--register", L"--hidden", L"--store", Store().wstring()});
    steps_.Run(L"Finanzbuchhaltung eintragen", kit_.Bin(L"HostSimulator.exe"),
               {L"--register", L"--client", Client().wstring()});
}

void SampleSite::WriteSettings(const fs::path& settings) const {
    CopyOver(fs::path(settings).concat(L".template"), settings);
    const Json archive = Json::parse(ContentOf(Store() / L"archiv.json"));
    for (const PlannedSetting& setting : kit_.plan.settings) {
        if (WritePrivateProfileStringW(setting.section.c_str(), setting.key.c_str(),
                                       ValueOf(setting, archive, Print()).c_str(),
                                       settings.c_str()) == FALSE) {
            throw StepFailure(L"Die Einstellungen lassen sich nicht schreiben: " + settings.wstring());
        }
    }
    // The system keeps INI files in memory for a while; this makes it write them.
    WritePrivateProfileStringW(nullptr, nullptr, nullptr, settings.c_str());
}

void SampleSite::Close() {
    const fs::path archive = kit_.Bin(L"ArchiveSimulator.exe");
    steps_.Run(L"Archiv beenden", archive, {L"--stop", L"--store", Store().wstring()});
    steps_.Run(L"Archiv austragen", archive, {L"--unregister"});
    steps_.Run(L"Finanzbuchhaltung austragen", kit_.Bin(L"HostSimulator.exe"), {L"--unregister"});
}

}  // namespace kandora::kit
