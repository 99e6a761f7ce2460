#pragma once

#include <windows.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Unique.h"

namespace kandora::foreign_tests {

/// The user of this process: reads each message box, whichever thread shows it, and confirms it; fills in and
/// confirms the description of a report.
class Boxes : test::Unique {
public:
    Boxes();
    ~Boxes();

    /// "[caption] text" of what was answered since the last time, in its order.
    [[nodiscard]] std::vector<std::wstring> Take();

private:
    void LookAt(HWND window);
    void Look(HWND window);

    std::atomic<bool> hasEnded_ = false;
    std::mutex lock_;
    std::vector<std::wstring> answered_;
    std::map<HWND, bool> open_;  ///< and whether it is still there
    std::thread thread_;
};

}  // namespace kandora::foreign_tests
