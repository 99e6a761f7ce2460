#pragma once

#include "automation/WindowsPlatform.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/check/ForwardingPlatform.h"

namespace kandora::test {

/// A machine whose component is installed in a real folder; derived classes say which files are real.
class MachineInFolder : public check::ForwardingPlatform {
public:
    MachineInFolder(Platform& machine, const TemporaryFolder& folder)
        : ForwardingPlatform(machine), component_(folder / L"Kandora.dll") {}

    Text ComponentFile() override { return component_; }

protected:
    WindowsPlatform windows_;

private:
    Text component_;
};

}  // namespace kandora::test
