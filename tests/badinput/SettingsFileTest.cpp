// INI files as editors, disks and people leave them, read with the platform's own profile functions.

#include <algorithm>
#include <array>
#include <iostream>

#include <gtest/gtest.h>

#include "tests/badinput/MachineInFolder.h"
#include "tests/badinput/Troublemakers.h"
#include "tests/protocol/ProviderFixture.h"

namespace kandora::test {
namespace {

/// A machine whose INI file is a real one.
class MachineWithProfile final : public MachineInFolder {
public:
    using MachineInFolder::MachineInFolder;

    void GetPrivateProfileString(const char* section, const char* key, std::span<char> buffer,
                                 const std::string& file) override {
        windows_.GetPrivateProfileString(section, key, buffer, file);
    }
};

/// A file with all keys.
std::string GoodFile() {
    std::string text = "; Einstellungen der Archivanbindung\r\n";
    std::string section;
    for (const IniKey& row : IniKeys()) {
        if (row.section != section) {
            section = row.section;
            text += "\r\n[" + section + "]\r\n";
        }
        text += std::string(row.key) + "=" + row.value + "\r\n";
    }
    return text;
}

/// The value as another function of the platform reads it.
Text Expected(const Text& file, const wchar_t* section, const wchar_t* key) {
    Text buffer(200'000, L'\0');
    buffer.resize(GetPrivateProfileStringW(section, key, L"", buffer.data(),
                                           static_cast<DWORD>(buffer.size()), file.c_str()));
    return buffer.substr(0, buffer.find(L'\0'));
}

class SettingsFile : public ProviderTest {
protected:
    void ReleaseComponent() override {
        provider_.reset();
        globals_.reset();
        talk.Take();
        archive->ForgetAsked();
        host_->ForgetAsked();
    }

    SettingsFile() {
        machine.Makes(hostProgId, [this] { return host_; });
    }

    void Write(const std::string& bytes) {
        folder_.Write(L"Kandora.ini", bytes);
        // The system reads a file that was written a moment ago anew for each value, and keeps an older one
        // in memory, as in daily use. So each file gets an old time, and one of its own to be told apart.
        const HANDLE file = CreateFileW(Path().c_str(), FILE_WRITE_ATTRIBUTES,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                        OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE);
        ULARGE_INTEGER time{};
        time.QuadPart = 132'000'000'000'000'000ULL + 100'000'000ULL * ++written_;
        const FILETIME changed{time.LowPart, time.HighPart};
        SetFileTime(file, nullptr, nullptr, &changed);
        CloseHandle(file);
    }
    [[nodiscard]] Text Path() const { return folder_ / L"Kandora.ini"; }
    [[nodiscard]] const TemporaryFolder& Folder() const { return folder_; }

    /// Starts the component with the file; returns the boxes that it showed.
    Lines Start() {
        ReleaseComponent();
        static_cast<void>(host_.AsLateBound().Get(L"Logout"));
        globals_ = std::make_unique<MGlobals>(platform_, screen);
        provider_ = std::make_shared<ELOProvider>(*globals_);
        talk.Take();
        provider_->InitProvider(Variant());
        Lines boxes = talk.Take();
        std::erase_if(boxes, [](const std::string& line) { return !line.starts_with("box "); });
        return boxes;
    }
    SharedState& Read() { return globals_->state; }

    /// Either everything is read as another reader reads it, or the user is told why not, or the archive is
    /// switched off.
    void ExpectSenseOf(const Lines& boxes) {
        const Settings& settings = Read().settings;
        if (!Read().gbIniOK) {
            if (boxes.empty()) {
                EXPECT_FALSE(settings.gbArchivAktiv) << "off, and nobody was told";
            } else {
                EXPECT_EQ(boxes.size(), 1U) << boxes.at(1);
                EXPECT_NE(boxes[0].find("MGlobals.IniLesen <- Kandora.InitProvider"), std::string::npos)
                    << boxes[0];
            }
            return;
        }
        EXPECT_EQ(boxes, Lines());
        EXPECT_TRUE(settings.gsArchivname == Expected(Path(), L"Archiv", L"Archivname"));
        EXPECT_TRUE(settings.gsEloUserName == Expected(Path(), L"Login", L"ELOUSERNAME"));
        EXPECT_TRUE(settings.gsEloKuerzel == Expected(Path(), L"Login", L"ELOKUERZEL"));
        EXPECT_TRUE(settings.gsEloPasswort == Expected(Path(), L"Login", L"ELOPW"));
        EXPECT_TRUE(settings.gsEloPrinterFile == Expected(Path(), L"Archiv", L"EloPrinterFile"));
        EXPECT_TRUE(settings.gsSagePfad == Expected(Path(), L"Archiv", L"SagePFad"));
        EXPECT_FALSE(settings.gsArchivname.empty());
    }

    static std::string With(const std::string& place, const std::string& text) {
        std::string file = GoodFile();
        const std::size_t at = file.find(place);
        EXPECT_NE(at, std::string::npos) << place;
        return file.replace(at, place.size(), text);
    }

private:
    TemporaryFolder folder_;
    MachineWithProfile platform_{machine, folder_};
    Fake host_ = NewHost("fibu");
    std::unique_ptr<MGlobals> globals_;
    std::shared_ptr<ELOProvider> provider_;
    ULONGLONG written_ = 0;
};

TEST_F(SettingsFile, InGoodOrderIsRead) {
    Write(GoodFile());
    EXPECT_EQ(Start(), Lines());
    EXPECT_TRUE(Read().gbIniOK);
    ExpectSenseOf({});
}

TEST_F(SettingsFile, WithLongValuesIsReadWhole) {
    for (const std::size_t length : {998U, 999U, 1000U, 1001U, 1999U, 5000U, 100'000U}) {
        const std::string value(length, 'x');
        Write(With("ELOPW=geheim", "ELOPW=" + value));
        EXPECT_EQ(Start(), Lines()) << length;
        EXPECT_EQ(Read().settings.gsEloPasswort.size(), length);
        ExpectSenseOf({});
    }
}

TEST_F(SettingsFile, WithKnownTroublesIsReadOrRefused) {
    const std::string good = GoodFile();
    std::string utf16 = "\xFF\xFE";
    std::string utf16Backwards = "\xFE\xFF";
    for (const char unit : good) {
        utf16 += {unit, '\0'};
        utf16Backwards += {'\0', unit};
    }
    const std::vector<std::pair<const char*, std::string>> files{
        {"nothing", ""},
        {"a NUL alone", std::string(1, '\0')},
        {"a NUL in a value", With("Hauptarchiv", std::string("Haupt\0archiv", 12))},
        {"a NUL in a key", With("Archivname", std::string("Archiv\0name", 11))},
        {"a NUL at the start", std::string(1, '\0') + good},
        {"NULs at the end", good + std::string(5000, '\0')},
        {"a missing bracket", With("[Archiv]", "[Archiv")},
        {"a missing opening bracket", With("[Archiv]", "Archiv]")},
        {"a bracket too many", With("[Archiv]", "[[Archiv]]")},
        {"text behind the bracket", With("[Archiv]", "[Archiv] ; das Archiv")},
        {"a section twice", good + "[Archiv]\r\nArchivname=Anderes\r\n"},
        {"a key twice", With("Archivname=", "Archivname=Erstes\r\nArchivname=")},
        {"a key without a value", With("Archivname=Hauptarchiv", "Archivname")},
        {"a question mark", "?t=" + good},
        {"a question mark alone", "?t="},
        {"a comment sign first", ";" + good},
        {"a comment sign before a key", With("Archivname", ";Archivname")},
        {"line feeds alone",
         [&] {
             std::string text = good;
             std::erase(text, '\r');
             return text;
         }()},
        {"carriage returns alone",
         [&] {
             std::string text = good;
             std::erase(text, '\n');
             return text;
         }()},
        {"UTF-16", utf16},
        {"UTF-16, cut off within a character", utf16.substr(0, utf16.size() - 1)},
        {"UTF-16, the other way round", utf16Backwards},
        {"UTF-8 with its mark", "\xEF\xBB\xBF" + good},
        {"the mark of UTF-8 alone", "\xEF\xBB\xBF"},
        {"the mark of UTF-16 alone", "\xFF\xFE"},
        {"umlauts of UTF-8", With("Hauptarchiv", "Z\xC3\xBCrich")},
        {"control characters", With("Hauptarchiv", "\x01\x02\x1A\x7F")},
        {"the old end of a file", With("[Maske]", "\x1A[Maske]")},
        {"quotation marks", With("Hauptarchiv", "\"Hauptarchiv\"")},
        {"one quotation mark", With("Hauptarchiv", "\"Hauptarchiv")},
        {"blanks around everything", With("Archivname=Hauptarchiv", "  Archivname  =  Hauptarchiv  ")},
        {"a megabyte of blanks", std::string(1'000'000, ' ') + good},
        {"a megabyte of sections",
         [&] {
             std::string text;
             for (int i = 0; i < 100'000; ++i) {
                 text += "[S" + std::to_string(i) + "]\r\n";
             }
             return text + good;
         }()},
    };
    for (const auto& [name, bytes] : files) {
        SCOPED_TRACE(name);
        Write(bytes);
        ExpectSenseOf(Start());
    }
}

TEST_F(SettingsFile, WithNumbersThatAreNoneIsRefused) {
    for (const char* const number :
         {"", " ", "zwei", "2,5,6", "99999999999999999999", "1e400", "-1e400", "0x", "&H", "&HZZ", "--2",
          "2-", "NaN", "Infinity", "\xB2", "2 2", "1e", "3000000000", "-3000000000"}) {
        Write(With("Belege=2", std::string("Belege=") + number));
        const Lines boxes = Start();
        SCOPED_TRACE(number);
        ExpectSenseOf(boxes);
    }
}

TEST_F(SettingsFile, ThatNobodyCanReadIsToldOnce) {
    // Missing; a folder in its place; locked by another program.
    EXPECT_EQ(Start().size(), 1U);
    EXPECT_FALSE(Read().gbIniOK);
    ASSERT_TRUE(CreateDirectoryW(Path().c_str(), nullptr));
    EXPECT_EQ(Start().size(), 1U);
    EXPECT_FALSE(Read().gbIniOK);
    ASSERT_TRUE(RemoveDirectoryW(Path().c_str()));
    Write(GoodFile());
    const HANDLE locked =
        CreateFileW(Path().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(locked, INVALID_HANDLE_VALUE);
    const Lines boxes = Start();
    CloseHandle(locked);
    EXPECT_EQ(boxes.size(), 1U);
    EXPECT_FALSE(Read().gbIniOK);
    EXPECT_EQ(Start(), Lines()) << "once it is free again";
    EXPECT_TRUE(Read().gbIniOK);
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t to = std::min(text.find('\n', from), text.size() - 1) + 1;
        lines.push_back(text.substr(from, to - from));
        from = to;
    }
    return lines;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line;
    }
    return text;
}

/// The file after one to four accidents.
std::string Mutated(std::string text, Random& random) {
    for (std::uint32_t left = 1 + Below(random, 4); left > 0 && !text.empty(); --left) {
        const std::uint32_t at = Below(random, static_cast<std::uint32_t>(text.size()));
        std::vector<std::string> lines = LinesOf(text);
        const auto anyLine = [&] {
            return lines.begin() +
                   static_cast<std::ptrdiff_t>(Below(random, static_cast<std::uint32_t>(lines.size())));
        };
        switch (Below(random, 9)) {
        case 0:
            text[at] = static_cast<char>(text[at] ^ static_cast<char>(1U << Below(random, 8)));
            break;
        case 1:
            text[at] = static_cast<char>(random());
            break;
        case 2:
            text.erase(at, 1 + Below(random, 5));
            break;
        case 3:
            text.insert(at, std::string(1 + Below(random, 3), static_cast<char>(random())));
            break;
        case 4:
            if (Below(random, 4) == 0) {
                text.resize(at);
            }
            break;
        case 5:
            lines.erase(anyLine());
            text = Joined(lines);
            break;
        case 6: {
            const std::string line = *anyLine();
            lines.insert(anyLine(), line);
            text = Joined(lines);
            break;
        }
        case 7:
            std::swap(*anyLine(), *anyLine());
            text = Joined(lines);
            break;
        default:
            text.insert(at,
                        std::string(Below(random, 50) == 0 ? 3000 : 2, "[]=;\"\r\n\0?"[Below(random, 9)]));
            break;
        }
    }
    return text;
}

TEST_F(SettingsFile, MutatedIsReadOrRefused) {
    constexpr int files = 10'000;
    // Each architecture tries other files.
    constexpr std::uint32_t seed = 50'000 + sizeof(void*);
    Random random(seed);
    const std::string good = GoodFile();
    int read = 0;
    int refused = 0;
    for (int i = 0; i < files; ++i) {
        const std::string bytes = Mutated(good, random);
        Write(bytes);
        const Lines boxes = Start();
        ExpectSenseOf(boxes);
        read += Read().gbIniOK ? 1 : 0;
        refused += boxes.empty() ? 0 : 1;
        ASSERT_FALSE(HasFailure()) << "file " << i << " of seed " << seed << ":\n" << bytes;
        machine.appended.clear();
    }
    std::cout << files << " mutated settings files, seed " << seed << ": " << read << " read, " << refused
              << " refused, the others switch the archive off\n";
    EXPECT_GT(read, files / 10);
    EXPECT_GT(refused, files / 10);
}

}  // namespace
}  // namespace kandora::test
