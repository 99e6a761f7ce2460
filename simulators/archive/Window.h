#pragma once

#include <windows.h>

#include <commctrl.h>

#include <array>
#include <set>

#include "simulators/archive/ArchiveObject.h"
#include "simulators/archive/EntryTable.h"

/// The archive's window: folders on the left, the chosen folder's entries on the right, below them the chosen
/// entry.
namespace kandora::simulators {

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

    /// What is still done when a rehearsal lets the process die.
    void BeforeDeath(std::function<void()> action) { beforeDeath_ = std::move(action); }

    [[nodiscard]] HWND Handle() const noexcept { return window_; }
    /// True while a user has it open before him.
    [[nodiscard]] bool IsInUse() const noexcept;
    /// Handles the window's own keys (F5, F6, tab, Enter); true when the message needs nothing more.
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
    struct Area {
        RECT tree;
        RECT verticalSplitter;
        RECT list;
        RECT horizontalSplitter;
        RECT details;
    };
    enum class Drag { None, Vertical, Horizontal };

    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT Handle(UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT HandleNotification(NMHDR& notification);
    LRESULT HandleCommand(int command);

    void CreateControls();
    void ApplyFontAndSizes();
    void Layout();
    [[nodiscard]] Area Divide() const;
    void MoveSplitter(POINT position);
    [[nodiscard]] Drag SplitterAt(POINT position) const;

    void OnChange(ArchiveStore::Change change, std::int32_t id, std::int32_t folder);
    void ApplyChanges();
    void CloseWhenAnswered();
    void FillTree();
    HTREEITEM AddTreeItem(std::int32_t folder, HTREEITEM parent, HTREEITEM after);
    void AddMissingTreeItem(std::int32_t folder);
    [[nodiscard]] std::wstring TreeText(std::int32_t folder) const;
    [[nodiscard]] std::int32_t FolderOfItem(HTREEITEM item) const;

    void ShowFolder(std::int32_t folder);
    void ShowColumns();
    void ShowSortArrow();
    void ShowRows();
    void SortByColumn(std::size_t column);
    void SelectRow(std::size_t row);
    [[nodiscard]] std::optional<std::size_t> SelectedRow() const;
    void ShowDetails();
    void ShowStatus();
    void ShowNewWarnings();
    void OpenDocument();
    void FocusNextPane(bool backwards);
    [[nodiscard]] int Scaled(int pixels) const { return MulDiv(pixels, static_cast<int>(dpi_), 96); }

    ArchiveStore& store_;
    EntryTable table_;
    const ArchiveProgram* program_ = nullptr;
    bool isConcealed_;
    HWND window_ = nullptr;
    HWND tree_ = nullptr;
    HWND list_ = nullptr;
    HWND details_ = nullptr;
    HWND status_ = nullptr;
    HFONT font_ = nullptr;
    HIMAGELIST images_ = nullptr;
    HIMAGELIST spacer_ = nullptr;
    UINT dpi_ = 96;
    double treeShare_ = 0.26;  ///< of the width
    double listShare_ = 0.5;   ///< of the height
    Drag drag_ = Drag::None;
    std::map<std::int32_t, HTREEITEM> items_;
    std::set<std::int32_t> addedFolders_;
    std::set<std::int32_t> removedFolders_;
    bool isRefreshPending_ = false;
    bool isEntryChangePending_ = false;
    ULONGLONG lastShowing_ = 0;  ///< milliseconds that the last showing of changes took
    std::int32_t detailsOf_ = 0;
    std::wstring notice_;
    std::size_t shownWarnings_ = 0;
    std::function<void()> beforeDeath_;
    int turnsToClose_ = 0;
};

}  // namespace kandora::simulators
