#include "simulators/archive/StatusBar.h"

#include <windows.h>

#include <commctrl.h>

#include <array>
#include <string_view>

#include "simulators/archive/Controls.h"

namespace kandora::simulators {

namespace {

/// The count with its noun, thousands separated as in Switzerland: 12'345 Einträge.
std::wstring Counted(std::size_t count, std::wstring_view one, std::wstring_view many) {
    std::wstring digits = std::to_wstring(count);
    for (std::size_t place = digits.size(); place > 3; place -= 3) {
        digits.insert(place - 3, 1, L'\'');
    }
    return digits + L" " + std::wstring(count == 1 ? one : many);
}

}  // namespace

void StatusBar::Create(HWND parent, int id) {
    bar_ = CreateControl(parent, id, STATUSCLASSNAMEW, L"", SBARS_SIZEGRIP, 0);
}

void StatusBar::Fit(const Resolution& resolution) {
    SendMessageW(bar_, WM_SIZE, 0, 0);
    std::array<int, 5> edges{resolution.Pixels(110), resolution.Pixels(280), resolution.Pixels(440),
                             resolution.Pixels(570), -1};
    SendMessageW(bar_, SB_SETPARTS, edges.size(), reinterpret_cast<LPARAM>(edges.data()));
}

int StatusBar::TakenHeight() const {
    RECT area{};
    GetWindowRect(bar_, &area);
    return Height(area);
}

void StatusBar::Show(const ArchiveStore& store, const ArchiveProgram* program, const std::wstring& notice) {
    const std::array<std::wstring, 5> texts{
        Counted(store.FolderCount(), L"Ordner", L"Ordner"),
        Counted(store.EntryCount(), L"Eintrag", L"Einträge") + L" im Archiv",
        Counted(store.PostboxCount(), L"Dokument", L"Dokumente") + L" im Postkorb",
        program == nullptr ? std::wstring() : Counted(program->sessions, L"Anmeldung", L"Anmeldungen"),
        notice,
    };
    for (std::size_t part = 0; part < texts.size(); ++part) {
        SendMessageW(bar_, SB_SETTEXTW, part, reinterpret_cast<LPARAM>(texts.at(part).c_str()));
    }
}

}  // namespace kandora::simulators
