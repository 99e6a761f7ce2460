#include "provider/SettingsTable.h"

#include "archive/DocumentKinds.h"
#include "automation/Variant.h"

namespace kandora {

namespace {

constexpr const wchar_t* maskSection = L"Maske";
constexpr const wchar_t* reportSection = L"IndexAuswertungen";

Setting MaskSetting(Settings& settings, const DocumentKind& kind) {
    return {maskSection, kind.maskKey, &(settings.*kind.mask)};
}

void AppendIndexSettings(std::vector<Setting>& table, Settings& settings, const DocumentKind& kind) {
    for (const IndexField& field : kind.fields) {
        table.push_back({kind.indexSection, field.key, &(settings.*kind.positions.*field.position)});
    }
}

/// Stores the text as what the type of its target makes of it.
struct Converter {
    const Variant& value;

    void operator()(bool* target) const { *target = value.ToBoolean(); }
    void operator()(std::int32_t* target) const { *target = value.ToLong(); }
    void operator()(std::int16_t* target) const { *target = value.ToInteger(); }
    void operator()(Text* target) const { *target = value.ToText(); }
};

}  // namespace

std::vector<Setting> SwitchSettings(Settings& settings) {
    return {
        {L"Debug", L"Test", &settings.gbDebug},
        {L"Archiv", L"ArchivAktiv", &settings.gbArchivAktiv},
    };
}

std::vector<Setting> ArchiveSettings(Settings& settings) {
    std::vector<Setting> table{
        {L"Archiv", L"EloPrinterFile", &settings.gsEloPrinterFile},
        {L"Archiv", L"Archivname", &settings.gsArchivname},
        {L"Archiv", L"Treuhand", &settings.gbTreuhand},
        {L"Archiv", L"SagePFad", &settings.gsSagePfad},
        {maskSection, L"Struktur", &settings.glMaskeStruktur},
        MaskSetting(settings, voucherKind),
        {maskSection, L"Auswertung", &settings.glMaskeAuswertung},
        MaskSetting(settings, debtorKind),
        MaskSetting(settings, creditorKind),
    };
    AppendIndexSettings(table, settings, voucherKind);
    ReportIndexPositions& report = settings.giIdxAuswertung;
    table.push_back({reportSection, L"Listenbeschreibung", &report.Listenbeschreibung});
    table.push_back({reportSection, L"DatumVon", &report.DatumVon});
    table.push_back({reportSection, L"DatumBis", &report.DatumBis});
    AppendIndexSettings(table, settings, debtorKind);
    AppendIndexSettings(table, settings, creditorKind);
    table.push_back({L"Login", L"ELOUSERNAME", &settings.gsEloUserName});
    table.push_back({L"Login", L"ELOPW", &settings.gsEloPasswort});
    table.push_back({L"Login", L"ELOKUERZEL", &settings.gsEloKuerzel});
    return table;
}

void Store(const Setting& setting, const Text& text) {
    const Variant value(text);
    std::visit(Converter{value}, setting.target);
}

}  // namespace kandora
