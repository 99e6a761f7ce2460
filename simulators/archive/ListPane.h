#pragma once

#include <windows.h>

#include "simulators/archive/Controls.h"
#include "simulators/archive/Resolution.h"

namespace kandora::simulators {

/// A pane that is a list of rows in columns.
class ListPane {
public:
    virtual ~ListPane() = default;
    ListPane(const ListPane&) = delete;
    ListPane& operator=(const ListPane&) = delete;

    [[nodiscard]] HWND Handle() const noexcept { return list_; }
    /// Gives rows and columns the sizes that they have in this resolution.
    void Fit(const Resolution& resolution);

protected:
    ListPane() = default;

    HWND list_ = nullptr;  ///< created by the pane
    Resolution resolution_;

private:
    virtual void ShowColumns() = 0;

    ImageList spacer_;
};

}  // namespace kandora::simulators
