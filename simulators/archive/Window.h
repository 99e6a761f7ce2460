#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "simulators/archive/ArchiveObject.h"
#include "simulators/archive/ArchiveView.h"
#include "simulators/archive/Controls.h"
#include "simulators/archive/DetailsPane.h"
#include "simulators/archive/EntryPane.h"
#include "simulators/archive/FolderPane.h"
#include "simulators/archive/PaneLayout.h"
#include "simulators/archive/Resolution.h"
#include "simulators/archive/StatusBar.h"
#include "simulators/archive/Store.h"

namespace kandora::simulators {

/// The archive's window: folders on the left, the chosen folder's entries on the right, below them the chosen
/// entry.
class ArchiveWindow : public ArchiveView {
public:
    /// How the window appears. A concealed one exists for messages only and is never shown.
    enum class Appearance { Normal, Minimized, Concealed };

    static constexpr const wchar_t* className = L"Kandora.ArchiveSimulator";

    /// Creates the window on the calling thread. Throws Failure.
    ArchiveWindow(ArchiveStore& store, Appearance appearance);
    ~ArchiveWindow() override;
    ArchiveWindow(const ArchiveWindow&) = delete;
    ArchiveWindow& operator=(const ArchiveWindow&) = delete;

    /// The number of clients logged on, for the status bar.
    void CountSessionsOf(const ArchiveProgram& program) { program_ = &program; }

    /// `action` runs right before a rehearsal ends the process.
    void BeforeDeath(std::function<void()> action) { beforeDeath_ = std::move(action); }

    [[nodiscard]] HWND Handle() const noexcept { return window_; }
    /// True while a user has it open, neither hidden nor minimised.
    [[nodiscard]] bool IsInUse() const noexcept;
    /// Handles the window's own keys (F5, F6, Tab); true when the message needs nothing more.
    bool HandleKeys(MSG& message);

    void BringToFront() override;
    void Minimize() override;
    void Restore() override;
    void Select(std::int32_t id) override;
    void Refresh() override;
    void Notice(std::wstring_view text) override;
    void SessionsChanged() override;
    void Close() override;
    [[noreturn]] void Die() override;

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT HandleNotification(NMHDR& notification);
    LRESULT HandleEntryNotification(NMHDR& notification);
    LRESULT HandleCommand(int command);

    void CreateWindowOf(const ArchiveSettings& settings);
    void CreatePanes();
    void Fit();
    void Layout();
    [[nodiscard]] bool ShowSplitterCursor(LPARAM lParam) const;

    void OnChange(ArchiveStore::Change change, std::int32_t id, std::int32_t folder);
    void ApplyChanges();
    void CloseWhenAnswered();

    void ShowFolder(std::int32_t folder);
    void ShowDetails();
    void ShowStatus();
    void ShowNewWarnings();
    void OpenDocument();
    void FocusNextPane(bool backwards);

    ArchiveStore& store_;
    const ArchiveProgram* program_ = nullptr;
    bool isConcealed_;
    HWND window_ = nullptr;
    FolderPane folders_;
    EntryPane entries_;
    DetailsPane details_;
    StatusBar status_;
    Font font_;
    Resolution resolution_;
    PaneLayout layout_;
    PaneLayout::Splitter drag_ = PaneLayout::Splitter::None;
    bool isRefreshPending_ = false;
    bool isEntryChangePending_ = false;
    ULONGLONG lastShowing_ = 0;  ///< milliseconds that the last showing of changes took
    std::wstring notice_;
    std::size_t shownWarnings_ = 0;
    std::function<void()> beforeDeath_;
    int turnsToClose_ = 0;
};

}  // namespace kandora::simulators
