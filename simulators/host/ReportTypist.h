#pragma once

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <optional>
#include <string>

namespace kandora::simulators {

/// What the user fills into the report dialog; a missing text leaves what the dialog proposes.
struct ReportDescription {
    std::optional<std::wstring> shortName;
    std::optional<std::wstring> from;
    std::optional<std::wstring> to;
    /// The dialog insists on this one.
    std::wstring description = L"Auswertung der Finanzbuchhaltung";
};

/// Fills the report dialog of another thread as a user does: keys typed into the text box that has the focus,
/// the Tab key to the next one, a click at the end.
class ReportTypist {
public:
    /// `pictureHook` empty, or a file name: before the click "<pictureHook>.ready" is written and
    /// "<pictureHook>.done" awaited, so that somebody can take a picture of the filled dialog. Setting `stop`
    /// ends all waiting.
    ReportTypist(std::filesystem::path pictureHook, const std::atomic<bool>& stop)
        : pictureHook_(std::move(pictureHook)), stop_(stop) {}

    /// Fills the dialog in and waits for the picture. Returns the empty text, or the German reason why that
    /// failed. `filled` receives what the text boxes then hold.
    std::wstring FillIn(HWND dialog, const ReportDescription& description, ReportDescription& filled) const;

    /// Clicks "Archivieren"; returns once the dialog is gone or shows a message.
    void Confirm(HWND dialog) const;

private:
    template <class Condition>
    bool WaitUntil(Condition condition) const;

    bool Type(HWND textBox, const std::wstring& text) const;
    HWND TabFrom(HWND textBox) const;
    std::wstring FillTextBoxes(HWND dialog, const ReportDescription& description,
                               ReportDescription& filled) const;
    void LetPictureBeTaken(HWND dialog) const;

    std::filesystem::path pictureHook_;
    const std::atomic<bool>& stop_;
};

}  // namespace kandora::simulators
