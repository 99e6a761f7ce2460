#pragma once

#include <windows.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace simulators {

// A message box, input box or dialog that was confirmed in the user's place.
struct AnsweredBox {
    std::wstring caption;
    // The texts of its labels, one per line.
    std::wstring text;
};

// Confirms every box that one thread of this process shows, from a thread of its own, for as long as it
// lives: runs without a user would otherwise wait for ever. The report dialog gets a description first, since
// it insists on one.
class BoxWatcher {
public:
    // Watches the boxes of the thread `threadId`.
    explicit BoxWatcher(DWORD threadId);
    ~BoxWatcher();
    BoxWatcher(const BoxWatcher&) = delete;
    BoxWatcher& operator=(const BoxWatcher&) = delete;

    // The boxes confirmed since the last call, in the order in which they appeared.
    std::vector<AnsweredBox> TakeAnswered();

private:
    void Run();
    void Look();
    void Answer(HWND box);

    DWORD threadId_;
    std::atomic<bool> stop_{false};
    std::mutex lock_;
    std::vector<AnsweredBox> answered_;
    // Boxes already confirmed that are still on screen, with the number of looks since; used by the thread
    // alone.
    std::map<HWND, unsigned> pending_;
    std::thread thread_;
};

}  // namespace simulators
