#include <algorithm>
#include <map>
#include <set>

#include "provider/SettingsTable.h"
#include "support/CIniFile.h"
#include "tools/check/Checks.h"
#include "tools/check/FileSystem.h"
#include "tools/check/Spelling.h"

namespace kandora::check {

namespace {

constexpr const wchar_t* passwordKey = L"ELOPW";

/// Without these the component refuses to work.
constexpr std::array requiredTexts{L"Archivname", L"ELOUSERNAME", L"ELOKUERZEL"};

struct TypeName {
    const wchar_t* operator()(const bool*) const { return L"True oder False"; }
    const wchar_t* operator()(const std::int32_t*) const { return L"eine ganze Zahl"; }
    const wchar_t* operator()(const std::int16_t*) const { return L"eine ganze Zahl von -32768 bis 32767"; }
    const wchar_t* operator()(const Text*) const { return L"ein Text"; }
};

bool IsText(const Setting& setting) {
    return std::holds_alternative<Text*>(setting.target);
}

bool IsRequiredText(const Setting& setting) {
    return std::ranges::any_of(requiredTexts,
                               [&](const wchar_t* key) { return TextView(key) == setting.key; });
}

Text PlaceOf(TextView section, TextView key) {
    return L"[" + Text(section) + L"] " + Text(key);
}

/// The candidate that is nearest in spelling, unless none is near.
std::optional<Text> Suggestion(const Text& word, const std::vector<Text>& candidates) {
    std::optional<Text> best;
    std::size_t distance = std::max<std::size_t>(2, word.size() / 3) + 1;
    for (const Text& candidate : candidates) {
        if (const std::size_t found = EditDistance(word, candidate);
            found < std::min(distance, std::max(word.size(), candidate.size()))) {
            best = candidate;
            distance = found;
        }
    }
    return best;
}

bool Contains(const std::vector<Text>& words, const Text& word) {
    return std::ranges::any_of(words, [&](const Text& each) { return EqualIgnoringCase(each, word); });
}

/// The INI file against the table that the component reads it by.
class SettingsCheck {
public:
    SettingsCheck(Report& report, Surroundings& surroundings)
        : report_(report), settings_(surroundings.globals.state.settings),
          file_(surroundings.globals.NewIniFile()), table_(SwitchSettings(settings_)) {
        const std::vector<Setting> further = ArchiveSettings(settings_);
        table_.insert(table_.end(), further.begin(), further.end());
        for (const Setting& setting : table_) {
            if (!Contains(sections_, setting.section)) {
                sections_.emplace_back(setting.section);
            }
        }
    }

    bool Run() {
        if (!FileExists(file_->sIniFile())) {
            report_.Fail(area::settings, L"Datei", file_->sIniFile() + L" fehlt",
                         L"Kandora.ini.template neben Kandora.dll als " + FileName(file_->sIniFile()) +
                             L" kopieren und ausfüllen");
            return false;
        }
        report_.Good(area::settings, L"Datei", file_->sIniFile());
        CheckEncoding();
        for (const Text& section : sections_) {
            CheckSection(section);
        }
        CheckUnknownSections();
        CheckSwitches();
        CheckPositions();
        return true;
    }

private:
    void CheckEncoding() {
        const std::string bytes = BytesOf(file_->sIniFile());
        const bool isAscii = std::ranges::all_of(bytes, [](char byte) { return byte >= 0; });
        const bool isUtf8 = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(),
                                                static_cast<int>(bytes.size()), nullptr, 0) > 0;
        if (!isAscii && isUtf8 && GetACP() != CP_UTF8) {
            report_.Fail(
                area::settings, L"Codierung", L"UTF-8",
                L"Umlaute und die erste Zeile werden falsch gelesen: im Editor mit der Codierung ANSI "
                L"speichern");
        }
    }

    void CheckSection(const Text& section) {
        const std::vector<Text> present = file_->vasKeys(section);
        std::vector<Text> known;
        for (const Setting& setting : table_) {
            if (section == setting.section) {
                known.emplace_back(setting.key);
            }
        }
        std::vector<Text> unknown;
        std::ranges::copy_if(present, std::back_inserter(unknown),
                             [&](const Text& key) { return !Contains(known, key); });
        std::vector<Text> missing;
        std::ranges::copy_if(known, std::back_inserter(missing),
                             [&](const Text& key) { return !Contains(present, key); });

        std::vector<Text> right;
        for (const Setting& setting : table_) {
            if (section == setting.section && CheckSetting(setting, present, unknown)) {
                right.push_back(Shown(setting));
            }
        }
        if (!right.empty()) {
            report_.Good(area::settings, L"[" + section + L"]", Joined(right, L", "));
        }
        for (const Text& key : unknown) {
            const auto meant = Suggestion(key, missing.empty() ? known : missing);
            report_.Warn(area::settings, PlaceOf(section, key), L"unbekannter Schlüssel",
                         meant ? L"Gemeint ist wohl «" + *meant + L"»" : L"wird nicht gelesen; entfernen");
        }
        CheckRepetitions(section, present);
    }

    /// Of several keys of the same name only the first one is read.
    void CheckRepetitions(const Text& section, const std::vector<Text>& present) {
        std::vector<Text> seen;
        for (const Text& key : present) {
            if (Contains(seen, key)) {
                report_.Warn(area::settings, PlaceOf(section, key), L"steht mehrmals in der Datei",
                             L"Nur der erste Eintrag gilt; die weiteren entfernen");
            }
            seen.push_back(key);
        }
    }

    [[nodiscard]] Text Shown(const Setting& setting) const {
        const Text text = file_->sString(setting.section, setting.key);
        const bool isSecret = EqualIgnoringCase(setting.key, passwordKey) && !text.empty();
        return setting.key + (L"=" + (isSecret ? Text(L"(gesetzt)") : text));
    }

    /// Reads the setting and reports what is wrong with it. True when nothing is.
    bool CheckSetting(const Setting& setting, const std::vector<Text>& present,
                      const std::vector<Text>& unknown) {
        const Text place = PlaceOf(setting.section, setting.key);
        const Text type = std::visit(TypeName(), setting.target);
        if (!Contains(present, setting.key)) {
            const auto misspelt = Suggestion(setting.key, unknown);
            const Text hint = misspelt
                                  ? L"In der Datei steht «" + *misspelt + L"»: Schreibweise berichtigen"
                                  : L"Zeile «" + Text(setting.key) + L"=» ergänzen; erwartet wird " + type;
            if (IsText(setting) && !IsRequiredText(setting)) {
                report_.Warn(area::settings, place, L"fehlt, gilt als leer", hint);
            } else {
                report_.Fail(area::settings, place, L"fehlt", hint);
            }
            return false;
        }
        const Text text = file_->sString(setting.section, setting.key);
        try {
            Store(setting, text);
        } catch (...) {
            report_.Fail(area::settings, place, L"«" + text + L"»",
                         L"Erwartet wird " + type + L" (Fehler " + Decimal(CurrentNumber()) + L")");
            return false;
        }
        if (text.empty() && IsRequiredText(setting)) {
            report_.Fail(area::settings, place, L"leer", L"Wert eintragen (Fehler 5000)");
            return false;
        }
        if (text.empty() && EqualIgnoringCase(setting.key, passwordKey)) {
            report_.Warn(area::settings, place, L"leer",
                         L"Ein Konto ohne Passwort steht jedem offen: im Archiv ein Passwort setzen und hier "
                         L"eintragen");
            return false;
        }
        return true;
    }

    void CheckUnknownSections() {
        const std::vector<Text> present = file_->vasSections();
        std::vector<Text> missing;
        std::ranges::copy_if(sections_, std::back_inserter(missing),
                             [&](const Text& section) { return !Contains(present, section); });
        for (const Text& section : present) {
            if (!Contains(sections_, section)) {
                const auto meant = Suggestion(section, missing.empty() ? sections_ : missing);
                report_.Warn(area::settings, L"[" + section + L"]", L"unbekannter Abschnitt",
                             meant ? L"Gemeint ist wohl «[" + *meant + L"]»"
                                   : L"wird nicht gelesen; entfernen");
            }
        }
    }

    void CheckSwitches() {
        if (!settings_.gbArchivAktiv) {
            report_.Warn(area::settings, L"Hauptschalter", L"ArchivAktiv=False",
                         L"Es wird nichts abgelegt; zum Einschalten ArchivAktiv=True");
        }
    }

    struct UsedLine {
        Text section;
        Text key;
    };

    /// Kinds may share a mask: then the same key may stand on the same line, and only different ones clash.
    void CheckPositions() {
        std::map<std::pair<std::int32_t, std::int16_t>, std::vector<UsedLine>> lines;
        const std::map<Text, std::int32_t> masks{
            {L"IndexBelege", settings_.glMaskeBelege},
            {L"IndexAuswertungen", settings_.glMaskeAuswertung},
            {L"IndexDebi", settings_.glMaskeDebi},
            {L"IndexKredi", settings_.glMaskeKredi},
        };
        for (const Setting& setting : table_) {
            const auto* const position = std::get_if<std::int16_t*>(&setting.target);
            // What could not be read is 0 and has been reported.
            if (position != nullptr && Contains(file_->vasKeys(setting.section), setting.key) &&
                **position != 0) {
                lines[{masks.at(setting.section), **position}].push_back({setting.section, setting.key});
            }
        }
        bool isUnique = true;
        for (const auto& [place, users] : lines) {
            isUnique = CheckLine(place.first, place.second, users) && isUnique;
        }
        if (isUnique) {
            report_.Good(area::settings, L"Indexzeilen", L"keine Zeile einer Maske ist doppelt belegt");
        }
    }

    bool CheckLine(std::int32_t mask, std::int16_t line, const std::vector<UsedLine>& users) {
        std::set<Text> keys;
        std::set<Text> sections;
        std::vector<Text> places;
        for (const UsedLine& user : users) {
            keys.insert(user.key);
            sections.insert(user.section);
            places.push_back(PlaceOf(user.section, user.key));
        }
        if (keys.size() == 1) {
            return true;
        }
        const Text name = L"Zeile " + Decimal(line) + L" der Maske " + Decimal(mask);
        const Text value = L"doppelt belegt: " + Joined(places, L", ");
        if (sections.size() < users.size()) {
            report_.Fail(area::settings, name, value,
                         L"Ein Wert überschreibt den anderen: jedem Schlüssel seine eigene Zeile geben");
        } else {
            report_.Warn(area::settings, name, value,
                         L"Diese Belegarten teilen sich die Maske: gleiche Angaben auf gleiche Zeilen legen");
        }
        return false;
    }

    Report& report_;
    Settings& settings_;
    std::unique_ptr<CIniFile> file_;
    std::vector<Setting> table_;
    std::vector<Text> sections_;
};

}  // namespace

bool CheckSettings(Report& report, Surroundings& surroundings) {
    return SettingsCheck(report, surroundings).Run();
}

}  // namespace kandora::check
