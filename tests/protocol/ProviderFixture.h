#pragma once

#include <memory>
#include <utility>

#include "provider/ELOProvider.h"
#include "tests/protocol/World.h"

namespace kandora::test {

/// One key of a complete INI file.
struct IniKey {
    const char* section;
    const char* key;
    const char* value;
};

/// The 50 keys, in the order in which they are read; their values are those of SampleSettings.
const std::vector<IniKey>& IniKeys();

/// The whole component with everything around it.
class ProviderTest : public World {
protected:
    ProviderTest() {
        for (const IniKey& row : IniKeys()) {
            SetIni(row.section, row.key, row.value);
        }
        NewComponent();
    }
    void ReleaseComponent() override {
        provider_.reset();
        globals_.reset();
    }

    /// Replaces the component by a fresh one, as after a start of the host.
    void NewComponent() {
        ProviderTest::ReleaseComponent();
        talk.Take();
        archive->ForgetAsked();
        globals_ = std::make_unique<MGlobals>(machine, screen);
        provider_ = std::make_shared<ELOProvider>(*globals_);
    }
    MGlobals& Globals() { return *globals_; }
    ELOProvider& Provider() { return *provider_; }
    SharedState& State() { return globals_->state; }

    void SetIni(const std::string& section, const std::string& key, const std::string& value) {
        machine.profile.Set(iniFile, section, key, value);
    }
    void RemoveIni(const std::string& section, const std::string& key) {
        machine.profile.Remove(iniFile, section, key);
    }

    /// The login to the archive and its check at the start.
    [[nodiscard]] static Lines ArchiveChecked();
    /// How a request asks the host and the archive about the open client, with an open archive session.
    [[nodiscard]] static Lines ClientAsked();
    /// The debug line of a request.
    [[nodiscard]] static std::string Logged(const std::string& text) {
        return R"(log "15.11.2026 01.12.58 | )" + text + R"(\r\n")";
    }
    /// The error box.
    [[nodiscard]] static std::string Box(std::int32_t number, const std::string& description,
                                         const std::string& frames) {
        return "box \"" + Shown(number, description, frames) + R"(" 4112 "Kandora")";
    }

    static constexpr const char* iniFile = "C:\\Kandora\\Kandora.ini";

private:
    std::unique_ptr<MGlobals> globals_;
    std::shared_ptr<ELOProvider> provider_;
};

/// The same after a successful start.
class StartedProviderTest : public ProviderTest {
protected:
    StartedProviderTest() {
        Provider().InitProvider(Variant());
        talk.Take();
    }
};

}  // namespace kandora::test
