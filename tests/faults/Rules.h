#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/Faults.h"
#include "tests/faults/Stage.h"

namespace kandora::test {

/// What a call is for.
enum class Step {
    Probe,         ///< is the archive's session alive?
    Login,         ///< into the archive
    Statement,     ///< no result is asked for, but it must succeed
    SelectView,    ///< the archive's answer to it tells whether it can be used
    ReadMask,      ///< negative: no such mask
    Delimiter,     ///< of the archive's paths
    FindFolder,    ///< positive: found
    CreateFolder,  ///< a negative number is an error
    Hit,           ///< of a search; below 2: no more
    IgnoredField,  ///< read, but not used
    Field,         ///< compared with what is looked for
    Prepare,       ///< an entry to fill; positive: done
    Exactly1,      ///< only 1 is success
    FiledId,       ///< the new entry's
    CreateArchive,
    CreateHost,
    LastClient,
    LoginOpen,  ///< is the client open, right before it would be opened?
    HostLogin,
    StillOpen,  ///< is the client open, whenever it is used?
    Logout,     ///< of the host; whatever happens is ignored
    ReadOption,
    WriteOption,
    NewPart,      ///< an object of the host's
    ReadBooking,  ///< 0: done
    Origin,
    HostText,
    JoinedText,  ///< null counts as empty
    PassedOn,    ///< handed back to the host as it is
    FileCheck,
    IniValue,
    LogLine,
    ErrorBox,
    OtherBox,
    Input,
    Dialog,
};

/// What the archive's current object is needed for between two calls.
enum class Phase { Idle, Searching, Filling, Editing, Deleting };

/// One call of a clean run, understood.
struct Site {
    Step step = Step::Statement;
    Phase phase = Phase::Idle;
    bool ignored = false;        ///< errors are not reported here
    std::int32_t detail = 0;     ///< key of an option; number of the error when a check fails
    std::string frame;           ///< the innermost of the call stack; empty: not told here
    std::string loginProcedure;  ///< of the host's object
    bool isSettingUp = false;    ///< a client's folders are created
    bool afterFiling = false;    ///< the new entry is in the archive
    const SeenCall* call = nullptr;
};

/// The purposes of all calls of a clean run.
std::vector<Site> SitesOf(const std::vector<SeenCall>& calls, const Variation& variation);

/// What may become of the archive.
enum class Outcome {
    AsRequested,   ///< as requested, or, with an error, nothing
    MaybeUnfound,  ///< or as when the archive had not found the document
    ChangeLost,    ///< nothing, and nobody notices: these answers are not checked, by design
    AsHostSaid,    ///< the host gave other data, so other data were filed
    SetUpAstray,   ///< the client's folders were created under other names, and its options do not fit them
};

/// What the rules say about one fault.
struct Verdict {
    enum class Errors { None, One, Either };
    Errors errors = Errors::None;
    std::optional<std::int32_t> number;
    std::optional<Text> description;
    std::string frame;
    /// Boxes in which the access to the host tells of its own failure.
    std::vector<Text> hostBoxes;
    bool hostBoxesKnown = true;
    Outcome outcome = Outcome::AsRequested;
    /// An error is shown, but the request may have been carried out: nothing is rolled back.
    bool mayBeHalfDone = false;
};

Verdict VerdictOn(const Site& site, const Way& way, Duration duration);

/// False for an odd answer to a call that has none, or none of this type.
bool IsMeaningful(const Site& site, const Way& way);

}  // namespace kandora::test
