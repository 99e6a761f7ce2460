#include "simulators/host/BoxWatcher.h"

#include <chrono>
#include <string_view>
#include <utility>

#include "simulators/host/WindowTexts.h"

namespace kandora::simulators {

namespace {

constexpr std::wstring_view reportDialogCaption = L"Auswertung Indizieren";
constexpr std::wstring_view inputBoxCaption = L"Archivpfad erstellen";
constexpr auto pollInterval = std::chrono::milliseconds(10);
/// A click can be lost while a box is still coming up, so it is repeated for as long as the box stays.
constexpr unsigned looksBeforeRepeat = 30;

bool IsBox(HWND window) {
    if (!IsWindowVisible(window)) {
        return false;
    }
    if (ClassOf(window) == L"#32770") {
        return true;
    }
    const auto caption = TextOf(window);
    return caption && (*caption == inputBoxCaption || *caption == reportDialogCaption);
}

std::wstring InLines(const ReportDescription& report) {
    return L"Kurzbezeichnung: " + report.shortName.value_or(L"") + L"\nDatum von: " +
           report.from.value_or(L"") + L"\nDatum bis: " + report.to.value_or(L"") + L"\nBeschreibung: " +
           report.description;
}

}  // namespace

BoxWatcher::BoxWatcher(DWORD threadId, const std::filesystem::path& pictureHook)
    : threadId_(threadId), typist_(pictureHook, stop_), thread_([this] { Run(); }) {}

BoxWatcher::~BoxWatcher() {
    stop_ = true;
    thread_.join();
}

std::vector<AnsweredBox> BoxWatcher::TakeAnswered() {
    const std::lock_guard guard(lock_);
    return std::exchange(answered_, {});
}

void BoxWatcher::DescribeNextReport(const ReportDescription& description) {
    const std::lock_guard guard(lock_);
    description_ = description;
}

void BoxWatcher::Run() {
    while (!stop_) {
        Look();
        std::this_thread::sleep_for(pollInterval);
    }
}

void BoxWatcher::Look() {
    std::erase_if(pending_, [](const auto& entry) { return !IsWindowVisible(entry.first); });
    for (HWND window : WindowsOf(threadId_)) {
        // A disabled box waits for another one in front of it.
        if (IsBox(window) && IsWindowEnabled(window)) {
            Answer(window);
        }
    }
}

void BoxWatcher::Answer(HWND box) {
    const auto [entry, isNew] = pending_.try_emplace(box, 0U);
    if (!isNew && ++entry->second % looksBeforeRepeat != 0) {
        return;
    }
    const auto caption = TextOf(box);
    HWND button = ConfirmingButton(box);
    if (!caption || !button) {
        pending_.erase(entry);
        return;
    }
    if (*caption == reportDialogCaption && isNew) {
        AnswerReport(box);
        return;
    }
    if (isNew) {
        AnsweredBox answered{*caption, L""};
        for (HWND child : ChildrenOf(box)) {
            const auto text = ClassOf(child) == L"Static" ? TextOf(child) : std::nullopt;
            if (text && !text->empty()) {
                answered.text += (answered.text.empty() ? L"" : L"\n") + *text;
            }
        }
        const std::lock_guard guard(lock_);
        answered_.push_back(std::move(answered));
        PostMessageW(button, BM_CLICK, 0, 0);
        return;
    }
    PostMessageW(box, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(button), BN_CLICKED),
                 reinterpret_cast<LPARAM>(button));
}

void BoxWatcher::AnswerReport(HWND dialog) {
    ReportDescription description;
    {
        const std::lock_guard guard(lock_);
        description = std::exchange(description_, {});
    }
    ReportDescription filled;
    const std::wstring complaint = typist_.FillIn(dialog, description, filled);
    {
        // Before the click, after which the request may end at any moment.
        const std::lock_guard guard(lock_);
        answered_.push_back(
            {std::wstring(reportDialogCaption), complaint.empty() ? InLines(filled) : complaint});
    }
    if (complaint.empty()) {
        typist_.Confirm(dialog);
    } else {
        PostMessageW(dialog, WM_CLOSE, 0, 0);
    }
}

}  // namespace kandora::simulators
