#include "simulators/host/StoreReader.h"

#include "simulators/common/Files.h"
#include "simulators/common/JsonFile.h"

namespace kandora::simulators {

namespace {

/// Entries are named by their number alone; everything else in a folder is a document, the folder's own data
/// or a leftover of an interrupted write.
bool IsEntry(const std::wstring& name) {
    constexpr std::wstring_view ending = L".json";
    return name.ends_with(ending) && name.size() > ending.size() &&
           name.find_first_not_of(L"0123456789") == name.size() - ending.size();
}

int LineNumber(const JsonFile& file, const Json& fields, const std::string& key) {
    if (key.empty() || key.size() > 5 || key.find_first_not_of("0123456789") != std::string::npos) {
        file.FailAtKey(fields, key, L"Hier muss die Nummer einer Indexzeile stehen.");
    }
    return std::stoi(key);
}

}  // namespace

StoreReader StoreReader::Read(const std::filesystem::path& store) {
    StoreReader reader;
    reader.ReadMasks(store);
    const std::wstring root = (store / "Ordner").wstring();
    reader.ReadFolder(root, L"");
    for (std::size_t at = 0; at < reader.entries_.size(); ++at) {
        for (const auto& [line, value] : reader.entries_[at].fields) {
            const auto [found, isNew] = reader.youngestByValue_.emplace(value, at);
            if (!isNew && reader.entries_[found->second].id < reader.entries_[at].id) {
                found->second = at;
            }
        }
    }
    return reader;
}

void StoreReader::ReadMasks(const std::filesystem::path& store) {
    const JsonFile file = JsonFile::Read((store / "archiv.json").wstring());
    for (const Json& mask : file.Array(file.Required(file.Root(), "masken"))) {
        const int number = file.Integer(file.Required(mask, "nummer"));
        maskNames_[number] = file.Text(file.Required(mask, "name"));
        if (const Json* lines = file.Optional(mask, "felder")) {
            for (const Json& line : file.Array(*lines)) {
                fieldNames_[{number, file.Integer(file.Required(line, "zeile"))}] =
                    file.Text(file.Required(line, "name"));
            }
        }
    }
}

void StoreReader::ReadFolder(const std::wstring& directory, const std::wstring& folder) {
    const std::vector<DirectoryItem> items = ListDirectory(directory);
    for (const auto& [name, isDirectory, stamp] : items) {
        if (isDirectory || !IsEntry(name)) {
            continue;
        }
        const JsonFile file = JsonFile::Read(directory + L"\\" + name);
        StoredEntry entry;
        entry.id = file.Integer(file.Required(file.Root(), "id"));
        entry.mask = file.Integer(file.Required(file.Root(), "maske"));
        entry.folder = folder;
        entry.shortName = file.Text(file.Required(file.Root(), "kurzbezeichnung"));
        const Json& fields = file.Object(file.Required(file.Root(), "felder"));
        for (auto field = fields.begin(); field != fields.end(); ++field) {
            entry.fields[LineNumber(file, fields, field.key())] = file.Text(field.value());
        }
        const Json* document = file.Optional(file.Root(), "dokument");
        entry.hasDocument = document != nullptr && IsFile(directory + L"\\" + file.Text(*document));
        entries_.push_back(std::move(entry));
    }
    for (const auto& [name, isDirectory, stamp] : items) {
        const std::wstring path = directory + L"\\" + name;
        const std::wstring description = path + L"\\ordner.json";
        if (isDirectory && IsFile(description)) {
            const JsonFile file = JsonFile::Read(description);
            ReadFolder(path, folder + L"/" + file.Text(file.Required(file.Root(), "name")));
        }
    }
}

const StoredEntry* StoreReader::FindByFieldValue(const std::wstring& value) const {
    const auto found = youngestByValue_.find(value);
    return found == youngestByValue_.end() ? nullptr : &entries_[found->second];
}

std::wstring StoreReader::FieldName(int mask, int line) const {
    const auto found = fieldNames_.find({mask, line});
    return found == fieldNames_.end() ? L"Feld " + std::to_wstring(line) : found->second;
}

std::wstring StoreReader::MaskName(int mask) const {
    const auto found = maskNames_.find(mask);
    return found == maskNames_.end() ? L"Maske " + std::to_wstring(mask) : found->second;
}

}  // namespace kandora::simulators
