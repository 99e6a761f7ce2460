#pragma once

#include <windows.h>

#include <string>

#include "simulators/archive/ArchiveProgram.h"
#include "simulators/archive/Resolution.h"
#include "simulators/archive/Store.h"

namespace kandora::simulators {

/// What the archive holds, who is logged on, and the latest notice.
class StatusBar {
public:
    void Create(HWND parent, int id);
    [[nodiscard]] HWND Handle() const noexcept { return bar_; }
    /// Takes its place at the lower edge of the window.
    void Fit(const Resolution& resolution);
    [[nodiscard]] int TakenHeight() const;

    /// `program` is null as long as there is none.
    void Show(const ArchiveStore& store, const ArchiveProgram* program, const std::wstring& notice);

private:
    HWND bar_ = nullptr;
};

}  // namespace kandora::simulators
