#pragma once

#include <optional>
#include <vector>

#include "tools/kit/RegistryTree.h"
#include "tools/kit/Steps.h"

namespace kandora::kit {

/// The keys below Software\Classes that the stand-ins of archive and accounting write.
std::vector<Text> StandInKeys();

/// The name of a class that a program other than a stand-in serves on this machine; none when both are free.
std::optional<Text> ForeignServer();

/// A workplace with a new archive and the sample client, both of which COM finds. Everything lies in one
/// folder.
class SampleSite {
public:
    /// Makes and registers it. Throws StepFailure and Interrupted.
    SampleSite(const Kit& kit, Steps& steps, fs::path folder);

    [[nodiscard]] fs::path Store() const { return folder_ / L"Archiv"; }
    [[nodiscard]] fs::path Client() const { return folder_ / L"Muster AG.json"; }
    [[nodiscard]] fs::path Print() const { return folder_ / L"Druck.pdf"; }
    [[nodiscard]] const fs::path& Folder() const noexcept { return folder_; }

    /// Makes of the template, which lies beside it, the settings that suit the archive. Throws StepFailure.
    void WriteSettings(const fs::path& settings) const;
    /// Stops the archive and strikes both off.
    void Close();

private:
    const Kit& kit_;
    Steps& steps_;
    fs::path folder_;
};

}  // namespace kandora::kit
