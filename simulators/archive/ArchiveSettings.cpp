#include "simulators/archive/ArchiveSettings.h"

#include <algorithm>
#include <set>

#include "interfaces/CodePages.h"
#include "simulators/common/Files.h"
#include "simulators/common/JsonFile.h"
#include "simulators/common/Unicode.h"

namespace kandora::simulators {

namespace {

std::vector<IndexField> ReadFields(const JsonFile& file, const Json& list) {
    std::vector<IndexField> fields;
    std::set<std::int16_t> lines;
    for (const Json& item : file.Array(list)) {
        file.AllowOnly(item, {"zeile", "name"});
        IndexField field;
        const Json& line = file.Required(item, "zeile");
        field.line = static_cast<std::int16_t>(file.Integer(line, 1, 32767));
        field.name = file.NonEmptyText(file.Required(item, "name"));
        if (!lines.insert(field.line).second) {
            file.Fail(line, L"Diese Zeile gibt es in der Maske schon.");
        }
        fields.push_back(std::move(field));
    }
    std::ranges::sort(fields,
                      [](const IndexField& left, const IndexField& right) { return left.line < right.line; });
    return fields;
}

Json Text(std::wstring_view text) {
    return Utf8FromText(text);
}

nlohmann::ordered_json SampleMask(std::int32_t number, std::wstring_view name,
                                  const std::vector<std::wstring>& fields) {
    nlohmann::ordered_json mask;
    mask["nummer"] = number;
    mask["name"] = Text(name);
    mask["felder"] = nlohmann::ordered_json::array();
    for (std::size_t index = 0; index < fields.size(); ++index) {
        nlohmann::ordered_json field;
        field["zeile"] = index + 1;
        field["name"] = Text(fields[index]);
        mask["felder"].push_back(field);
    }
    return mask;
}

}  // namespace

bool Mask::HasLine(std::int16_t line) const noexcept {
    return std::ranges::any_of(fields, [line](const IndexField& field) { return field.line == line; });
}

const Mask* ArchiveSettings::FindMask(std::int32_t number) const noexcept {
    const auto found =
        std::ranges::find_if(masks, [number](const Mask& mask) { return mask.number == number; });
    return found == masks.end() ? nullptr : &*found;
}

const User* ArchiveSettings::FindUser(std::wstring_view name) const {
    const auto found =
        std::ranges::find_if(users, [name](const User& user) { return EqualIgnoringCase(user.name, name); });
    return found == users.end() ? nullptr : &*found;
}

bool ArchiveSettings::HasArchive(std::wstring_view name) const {
    return std::ranges::any_of(
        archives, [name](const std::wstring& archive) { return EqualIgnoringCase(archive, name); });
}

ArchiveSettings ReadArchiveSettings(const std::wstring& path) {
    const JsonFile file = JsonFile::Read(path);
    const Json& root = file.Root();
    file.AllowOnly(root, {"archive", "trennzeichen", "benutzer", "masken"});

    ArchiveSettings settings;
    const Json& archives = file.Array(file.Required(root, "archive"));
    for (const Json& name : archives) {
        settings.archives.push_back(file.NonEmptyText(name));
    }
    if (settings.archives.empty()) {
        file.Fail(archives, L"Mindestens ein Archiv muss einen Namen haben.");
    }
    settings.separator = file.NonEmptyText(file.Required(root, "trennzeichen"));
    for (const Json& item : file.Array(file.Required(root, "benutzer"))) {
        file.AllowOnly(item, {"name", "passwort", "kuerzel"});
        User user;
        const Json& name = file.Required(item, "name");
        user.name = file.Text(name);
        user.password = file.Text(file.Required(item, "passwort"));
        if (const Json* sign = file.Optional(item, "kuerzel")) {
            user.shortSign = file.Text(*sign);
        }
        if (settings.FindUser(user.name) != nullptr) {
            file.Fail(name, L"Diesen Benutzer gibt es schon.");
        }
        settings.users.push_back(std::move(user));
    }
    for (const Json& item : file.Array(file.Required(root, "masken"))) {
        file.AllowOnly(item, {"nummer", "name", "felder"});
        Mask mask;
        const Json& number = file.Required(item, "nummer");
        mask.number = file.Integer(number, 0);
        mask.name = file.NonEmptyText(file.Required(item, "name"));
        mask.fields = ReadFields(file, file.Required(item, "felder"));
        if (settings.FindMask(mask.number) != nullptr) {
            file.Fail(number, L"Diese Maskennummer gibt es schon.");
        }
        settings.masks.push_back(std::move(mask));
    }
    return settings;
}

bool CreateSampleStore(const std::wstring& directory) {
    const std::wstring path = directory + L"\\archiv.json";
    if (IsFile(path)) {
        return false;
    }
    const std::vector<std::wstring> voucher{L"Barcode",     L"Belegnummer",       L"Belegindex",
                                            L"Belegstatus", L"Sesam-Dokument-ID", L"Valutadatum",
                                            L"Betrag"};
    std::vector<std::wstring> partner = voucher;
    partner.insert(partner.end(),
                   {L"Rechnungsdatum", L"OP-Nummer", L"PK-Nummer", L"Adressnummer", L"Name", L"Ort"});

    nlohmann::ordered_json user;
    user["name"] = "Kandora";
    user["passwort"] = "geheim";
    user["kuerzel"] = "KAN";

    nlohmann::ordered_json root;
    root["archive"] = {"Muster-Archiv"};
    root["trennzeichen"] = Text(L"¶");
    root["benutzer"] = nlohmann::ordered_json::array({user});
    root["masken"] = nlohmann::ordered_json::array({
        SampleMask(1, L"Ordner", {}),
        SampleMask(2, L"Belege", voucher),
        SampleMask(3, L"Auswertungen", {L"Listenbeschreibung", L"Datum von", L"Datum bis"}),
        SampleMask(4, L"Debitoren", partner),
        SampleMask(5, L"Kreditoren", partner),
    });

    CreateDirectories(directory);
    WriteFileAtomically(path, root.dump(2) + "\n");
    return true;
}

}  // namespace kandora::simulators
