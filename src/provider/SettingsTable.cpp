#include "provider/SettingsTable.h"

#include <span>

#include "automation/Variant.h"

namespace kandora {

namespace {

void AppendIndexSettings(std::vector<Setting>& table, const wchar_t* section,
                         std::span<const IndexField> fields, IndexPositions& positions) {
    for (const IndexField& field : fields) {
        table.push_back({section, field.key, &(positions.*field.position)});
    }
}

/// How each type reads its text.
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
        {L"Maske", L"Struktur", &settings.glMaskeStruktur},
        {L"Maske", L"Belege", &settings.glMaskeBelege},
        {L"Maske", L"Auswertung", &settings.glMaskeAuswertung},
        {L"Maske", L"Debi", &settings.glMaskeDebi},
        {L"Maske", L"Kredi", &settings.glMaskeKredi},
    };
    AppendIndexSettings(table, L"IndexBelege", voucherIndexFields, settings.giIdxBeleg);
    table.insert(table.end(), {
                                  {L"IndexAuswertungen", L"Listenbeschreibung",
                                   &settings.giIdxAuswertung.Listenbeschreibung},
                                  {L"IndexAuswertungen", L"DatumVon", &settings.giIdxAuswertung.DatumVon},
                                  {L"IndexAuswertungen", L"DatumBis", &settings.giIdxAuswertung.DatumBis},
                              });
    AppendIndexSettings(table, L"IndexDebi", partnerIndexFields, settings.giIdxDebi);
    AppendIndexSettings(table, L"IndexKredi", partnerIndexFields, settings.giIdxKredi);
    table.insert(table.end(), {
                                  {L"Login", L"ELOUSERNAME", &settings.gsEloUserName},
                                  {L"Login", L"ELOPW", &settings.gsEloPasswort},
                                  {L"Login", L"ELOKUERZEL", &settings.gsEloKuerzel},
                              });
    return table;
}

void Store(const Setting& setting, const Text& text) {
    const Variant value(text);
    std::visit(Converter{value}, setting.target);
}

}  // namespace kandora
