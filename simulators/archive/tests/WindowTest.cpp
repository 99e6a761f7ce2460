#include <gmock/gmock.h>

#include "interfaces/ComPtr.h"
#include "simulators/archive/Window.h"
#include "simulators/archive/tests/ArchiveFixture.h"
#include "simulators/common/tests/LateBoundClient.h"

namespace kandora::simulators {

namespace {

/// The window's controls, driven and read as another program would.
class WindowTest : public StoreFixture {
protected:
    HWND Control(const wchar_t* className, int index = 0) const {
        HWND found = nullptr;
        for (int round = 0; round <= index; ++round) {
            found = FindWindowExW(window_.Handle(), found, className, nullptr);
        }
        return found;
    }
    HWND Tree() const { return Control(WC_TREEVIEWW); }

    /// The two lists are told apart by their style.
    HWND Lists(bool isVirtual) const {
        for (int index = 0; index < 2; ++index) {
            const HWND list = Control(WC_LISTVIEWW, index);
            if (((GetWindowLongW(list, GWL_STYLE) & LVS_OWNERDATA) != 0) == isVirtual) {
                return list;
            }
        }
        return nullptr;
    }
    HWND List() const { return Lists(true); }
    HWND DetailsList() const { return Lists(false); }

    static std::wstring Cell(HWND list, int row, int column) {
        wchar_t buffer[260] = {};
        ListView_GetItemText(list, row, column, buffer, static_cast<int>(std::size(buffer)));
        return buffer;
    }
    static int Rows(HWND list) { return ListView_GetItemCount(list); }
    static int SelectedRow(HWND list) { return ListView_GetNextItem(list, -1, LVNI_SELECTED); }

    std::wstring SelectedFolder() const {
        wchar_t buffer[260] = {};
        TVITEMW item{};
        item.mask = TVIF_TEXT;
        item.hItem = TreeView_GetSelection(Tree());
        item.pszText = buffer;
        item.cchTextMax = static_cast<int>(std::size(buffer));
        TreeView_GetItem(Tree(), &item);
        return buffer;
    }

    std::wstring Status(int part) const {
        wchar_t buffer[260] = {};
        SendMessageW(Control(STATUSCLASSNAMEW), SB_GETTEXTW, static_cast<WPARAM>(part),
                     reinterpret_cast<LPARAM>(buffer));
        return buffer;
    }

    /// Handles messages until the condition holds.
    template <class Condition>
    static bool Pump(Condition&& condition) {
        const ULONGLONG limit = GetTickCount64() + 20000;
        while (!condition()) {
            if (GetTickCount64() > limit) {
                return false;
            }
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
                TranslateMessage(&message);
                DispatchMessageW(&message);
            }
            MsgWaitForMultipleObjectsEx(0, nullptr, 10, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        }
        return true;
    }

    ArchiveStore store_{StorePath()};
    std::int32_t folder_ = store_.CreateFolders(L"¶Müller AG¶Buchungen").value();
    std::int32_t first_ = FileVoucher(store_, folder_, L"erster");
    ArchiveWindow window_{store_, ArchiveWindow::Appearance::Concealed};
};

TEST_F(WindowTest, ShowsTheArchiveInItsCaption) {
    wchar_t caption[100] = {};
    GetWindowTextW(window_.Handle(), caption, static_cast<int>(std::size(caption)));
    EXPECT_STREQ(caption, L"Archiv-Simulator – Muster-Archiv");
}

TEST_F(WindowTest, StartsAtTheFirstFolderThatHoldsEntries) {
    EXPECT_EQ(SelectedFolder(), L"Buchungen  (1)");
    ASSERT_EQ(Rows(List()), 1);
    EXPECT_EQ(Cell(List(), 0, 0), std::to_wstring(first_));
    EXPECT_EQ(Cell(List(), 0, 1), L"erster");
    EXPECT_EQ(Cell(List(), 0, 5), L"1001");
    EXPECT_EQ(Status(0), L"2 Ordner");
    EXPECT_EQ(Status(1), L"1 Eintrag im Archiv");
}

TEST_F(WindowTest, FollowsChangesWhileTheyHappen) {
    const std::int32_t second = FileVoucher(store_, folder_, L"zweiter");
    store_.CreateFolders(L"¶Anderer¶Ordner");
    EXPECT_TRUE(Pump([&] { return Rows(List()) == 2 && TreeView_GetCount(Tree()) == 5U; }));
    EXPECT_EQ(Cell(List(), 1, 1), L"zweiter");
    EXPECT_EQ(SelectedFolder(), L"Buchungen  (2)");
    Entry entry = *store_.FindEntry(second);
    entry.shortName = L"geändert";
    store_.Update(entry);
    EXPECT_TRUE(Pump([&] { return Cell(List(), 1, 1) == L"geändert"; }));
    store_.RemoveEntry(first_);
    EXPECT_TRUE(Pump([&] { return Rows(List()) == 1; }));
    store_.RemoveFolder(store_.LookupFolder(L"¶Anderer¶Ordner"));
    EXPECT_TRUE(Pump([&] { return TreeView_GetCount(Tree()) == 4U; }));
}

TEST_F(WindowTest, SelectsFolderAndEntryAndShowsItsFields) {
    const std::int32_t other = store_.CreateFolders(L"¶Ältere¶2004").value();
    FileVoucher(store_, other, L"a");
    const std::int32_t wanted = FileVoucher(store_, other, L"gesucht");
    window_.Select(wanted);
    EXPECT_EQ(SelectedFolder(), L"2004  (2)");
    EXPECT_EQ(SelectedRow(List()), 1);
    EXPECT_EQ(Cell(DetailsList(), 0, 1), L"gesucht");
    EXPECT_EQ(Cell(DetailsList(), 6, 0), L"Barcode");
    EXPECT_EQ(Cell(DetailsList(), 6, 1), L"BC-1");
    Entry entry = *store_.FindEntry(wanted);
    entry.fields[1] = L"BC-2";
    store_.Update(entry);
    EXPECT_TRUE(Pump([&] { return Cell(DetailsList(), 6, 1) == L"BC-2"; }));
    EXPECT_EQ(SelectedRow(List()), 1);
    window_.Select(folder_);
    EXPECT_EQ(SelectedFolder(), L"Buchungen  (1)");
    EXPECT_EQ(SelectedRow(List()), -1);
    EXPECT_EQ(Cell(DetailsList(), 0, 1), L"Buchungen");
}

TEST_F(WindowTest, KeepsTheSelectionWhenEntriesBeforeItGo) {
    const std::int32_t second = FileVoucher(store_, folder_, L"zweiter");
    window_.Select(second);
    store_.RemoveEntry(first_);
    EXPECT_TRUE(Pump([&] { return Rows(List()) == 1; }));
    EXPECT_EQ(SelectedRow(List()), 0);
    EXPECT_EQ(Cell(DetailsList(), 0, 1), L"zweiter");
    store_.RemoveEntry(second);
    EXPECT_TRUE(Pump([&] { return Rows(List()) == 0; }));
    EXPECT_EQ(Cell(DetailsList(), 0, 1), L"Buchungen");
}

TEST_F(WindowTest, SortsWhenAColumnIsClicked) {
    FileVoucher(store_, folder_, L"Anfang");
    window_.Refresh();
    const auto click = [&](int column) {
        NMLISTVIEW notification{};
        notification.hdr = {List(), 2, LVN_COLUMNCLICK};
        notification.iSubItem = column;
        SendMessageW(window_.Handle(), WM_NOTIFY, 2, reinterpret_cast<LPARAM>(&notification));
    };
    click(1);
    EXPECT_EQ(Cell(List(), 0, 1), L"Anfang");
    click(1);
    EXPECT_EQ(Cell(List(), 0, 1), L"erster");
}

TEST_F(WindowTest, CountsAndTellsInTheStatusBar) {
    RecordingView view;
    ArchiveProgram program{store_, view};
    program.sessions = 2;
    window_.CountSessionsOf(program);
    const PostboxDocument document = store_.AddToPostbox(document_, L"KAN");
    window_.SessionsChanged();
    EXPECT_EQ(Status(2), L"1 Dokument im Postkorb");
    EXPECT_EQ(Status(3), L"2 Anmeldungen");
    window_.Notice(L"Gedruckt");
    EXPECT_EQ(Status(4), L"Gedruckt");
    store_.RemoveFromPostbox(document);
}

TEST_F(WindowTest, GoesThroughItsPanesByKey) {
    SetFocus(Tree());
    const auto press = [&](int command) {
        SendMessageW(window_.Handle(), WM_COMMAND, static_cast<WPARAM>(command), 0);
    };
    constexpr int next = 203;
    constexpr int previous = 204;
    press(next);
    EXPECT_EQ(GetFocus(), List());
    press(next);
    EXPECT_EQ(GetFocus(), DetailsList());
    press(next);
    EXPECT_EQ(GetFocus(), Tree());
    press(previous);
    EXPECT_EQ(GetFocus(), DetailsList());
}

TEST_F(WindowTest, StaysReadableAtAnotherResolution) {
    RECT area{0, 0, 1500, 1000};
    const int before = ListView_GetColumnWidth(List(), 1);
    SendMessageW(window_.Handle(), WM_DPICHANGED, MAKEWPARAM(192, 192), reinterpret_cast<LPARAM>(&area));
    EXPECT_EQ(ListView_GetColumnWidth(List(), 1), before * 2);
    RECT tree{};
    RECT list{};
    RECT details{};
    GetWindowRect(Tree(), &tree);
    GetWindowRect(List(), &list);
    GetWindowRect(DetailsList(), &details);
    EXPECT_LT(tree.right, list.left);
    EXPECT_LT(list.bottom, details.top);
    EXPECT_EQ(list.right, details.right);
}

TEST_F(WindowTest, NeverShowsWhenConcealed) {
    window_.Restore();
    window_.BringToFront();
    EXPECT_FALSE(IsWindowVisible(window_.Handle()));
    EXPECT_FALSE(window_.IsInUse());
}

TEST_F(StoreFixture, ShowsWhatTurnsOutToBeWrong) {
    std::int32_t folder = 0;
    std::int32_t broken = 0;
    {
        ArchiveStore store(StorePath());
        folder = store.CreateFolders(L"¶A").value();
        FileVoucher(store, folder, L"gut");
        broken = FileVoucher(store, folder, L"wird kaputt");
    }
    AgeDirectories();
    {
        const ArchiveStore settled(StorePath());
    }
    EditInPlace(InFolders(L"A\\" + std::to_wstring(broken) + L".json"), "kaputt");
    ArchiveStore store(StorePath());
    EXPECT_TRUE(store.Warnings().empty());
    ArchiveWindow window(store, ArchiveWindow::Appearance::Concealed);
    window.Select(broken);
    window.Refresh();
    ASSERT_EQ(store.Warnings().size(), 1U);
    EXPECT_EQ(store.FindFolder(folder)->entries.size(), 1U);
    wchar_t notice[1000] = {};
    SendMessageW(FindWindowExW(window.Handle(), nullptr, STATUSCLASSNAMEW, nullptr), SB_GETTEXTW, 4,
                 reinterpret_cast<LPARAM>(notice));
    EXPECT_EQ(notice, store.Warnings()[0]);
}

/// A window that a client closes, with the client's object.
class ClosingWindowTest : public StoreFixture {
protected:
    void AskForTheEnd() const {
        client_->Call(L"Login",
                      {Value::Text(L"Kandora"), Value::Text(L"geheim"), Value::Text(L"Muster-Archiv")});
        EXPECT_EQ(client_->Call(L"clickon", {Value::Text(L"M:Beenden")}).Long(), 1);
    }

    /// Serves the thread's messages up to the first of this kind; returns how many there were, with that one.
    static int MessagesUntil(UINT last) {
        int count = 1;
        MSG message;
        while (GetMessageW(&message, nullptr, 0, 0) > 0 && message.message != last) {
            DispatchMessageW(&message);
            ++count;
        }
        EXPECT_EQ(message.message, last);
        DispatchMessageW(&message);
        return count;
    }

    ArchiveStore store_{StorePath()};
    ArchiveWindow window_{store_, ArchiveWindow::Appearance::Concealed};
    ArchiveProgram program_{store_, window_};
    std::optional<LateBoundClient> client_{MakeObject<ArchiveObject>(program_).Get()};
};

TEST_F(ClosingWindowTest, WaitsUntilTheClientHasLetGo) {
    AskForTheEnd();
    for (int turn = 0; turn < 3; ++turn) {
        MessagesUntil(WM_TIMER);
    }
    client_.reset();
    EXPECT_LT(MessagesUntil(WM_QUIT), 20) << "the client has heard the answer";
}

TEST_F(ClosingWindowTest, DoesNotWaitForEverForAClientThatHoldsOn) {
    AskForTheEnd();
    EXPECT_GT(MessagesUntil(WM_QUIT), 50) << "the answer had no time to get out";
}

TEST_F(StoreFixture, MinimizesTheWindowAndBringsItBack) {
    ArchiveStore store(StorePath());
    ArchiveWindow window(store, ArchiveWindow::Appearance::Normal);
    EXPECT_TRUE(window.IsInUse());
    window.Minimize();
    EXPECT_TRUE(IsIconic(window.Handle()));
    EXPECT_FALSE(window.IsInUse());
    window.BringToFront();
    window.Restore();
    EXPECT_FALSE(IsIconic(window.Handle()));
    EXPECT_TRUE(window.IsInUse());
}

}  // namespace

}  // namespace kandora::simulators
