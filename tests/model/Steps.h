#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/model/ModelFaults.h"

namespace kandora::model_tests {

/// What happens at a workstation. The number after a name chooses the booking, the client, the folder ...
enum class Event : std::uint8_t {
    // Requests of the host
    Save,
    Change,
    Delete,
    Show,
    Print,
    Ask,    ///< 0 CreateDocID, 1 GetOpenDocInfo, 2 GetVirtualPrinterName, 3 SetDocumentStatus,
            ///< 4 SavePendingDocument, 5 FibuVersion
    Start,  ///< StartProvider
    Init,   ///< InitProvider once more
    // What happens around them
    Restart,      ///< the component ends and begins anew, InitProvider included
    ArchiveDies,  ///< and is started by whoever needs it next
    HostCloses,   ///< the accounting closes its client, and opens it for whoever logs in
    OpenClient,
    EditBooking,  ///< one property of a booking changes
    Decide,  ///< archive of the client: 0 on, 1 off, 2 undecided, 3 undecided and another folder is typed
    Placeholder,  ///< the placeholder document goes or comes back
    MoveFolder,   ///< a user of the archive takes a folder of the client away or puts it back
    Purge,        ///< a user of the archive deletes an entry
};
inline constexpr int eventCount = 17;

struct Step {
    Event event = Event::Ask;
    int which = 0;
    std::optional<Fault> fault;

    bool operator==(const Step&) const = default;
};
using Steps = std::vector<Step>;

/// "save 3; change 3 !gone@57+; restart 0": what --replay takes.
std::string Shown(const Steps& steps);
/// Throws std::invalid_argument.
Steps Read(const std::string& text);

/// The same steps for the same seed.
Steps RandomSteps(std::uint64_t seed);

/// Whether it is a request of the host, which alone can be disturbed.
bool IsRequest(Event event);

}  // namespace kandora::model_tests
