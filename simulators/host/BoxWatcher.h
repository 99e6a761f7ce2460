#pragma once

#include <windows.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulators/host/ReportTypist.h"

namespace kandora::simulators {

/// A message box, input box or dialog that was confirmed in the user's place.
struct AnsweredBox {
    std::wstring caption;
    /// The texts of its labels, one per line; of the report dialog what was filled in, or why that failed.
    std::wstring text;
};

/// Confirms every box that one thread of this process shows, from a thread of its own, for as long as it
/// lives: runs without a user would otherwise wait for ever. The report dialog is filled in first, key by
/// key.
class BoxWatcher {
public:
    /// Watches the boxes of the thread `threadId`. `pictureHook` is that of ReportTypist, empty for none.
    explicit BoxWatcher(DWORD threadId, const std::filesystem::path& pictureHook = {});
    ~BoxWatcher();
    BoxWatcher(const BoxWatcher&) = delete;
    BoxWatcher& operator=(const BoxWatcher&) = delete;

    /// The boxes confirmed since the last call, in the order in which they appeared.
    std::vector<AnsweredBox> TakeAnswered();

    /// What the next report dialog is filled with; the ones after it get the default again.
    void DescribeNextReport(const ReportDescription& description);

private:
    void Run();
    void Look();
    void Answer(HWND box);
    void AnswerReport(HWND dialog);

    DWORD threadId_;
    std::atomic<bool> stop_{false};
    std::mutex lock_;
    std::vector<AnsweredBox> answered_;
    ReportDescription description_;
    ReportTypist typist_;
    /// Boxes already confirmed that are still on screen, with the number of looks since; used by the thread
    /// alone.
    std::map<HWND, unsigned> pending_;
    std::thread thread_;
};

}  // namespace kandora::simulators
