#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "simulators/common/CallFailure.h"
#include "simulators/common/DispatchObject.h"
#include "simulators/common/JsonFile.h"

/// Rehearsal scripts: a JSON file that makes the archive answer, fail, dawdle or die at chosen calls.
///
///     [
///       {"call": "AddPostboxFile", "nth": 2, "answer": -7},
///       {"call": "Login", "args": ["Kandora"], "from": 3, "delayMs": 1500},
///       {"call": "ObjShort", "fail": {"number": 5, "description": "Ungültig", "source": "ELO"}},
///       {"call": "MoveToArchive", "hresult": "0x800706BA"},
///       {"call": "UpdateObject", "die": "after"}
///     ]
///
/// A rule concerns the calls of its member (properties included, read or assigned) whose first arguments
/// equal "args"; among those, counted over all clients since the start, only the "nth" or all from number
/// "from" on. The delays of all rules that apply are waited for, and the files of "until"; of the other
/// actions the first rule's one counts. A rule with "begun" makes the file of that name before anything else
/// happens, so that others see that the call is there.
namespace kandora::simulators {

class CallScript {
public:
    /// What to do instead of, or around, a call.
    struct Answer {
        Value value;
    };
    enum class Death { Before, After };
    using Action = std::variant<std::monostate, Answer, AutomationError, HresultError, Death>;

    struct Decision {
        std::chrono::milliseconds delay{0};
        std::vector<std::wstring> until;  ///< files, all of which must be there before the call goes on
        Action action;
    };

    CallScript() = default;

    /// Reads a script; every name in "call" must be a member of `members`. Throws Failure with file, line and
    /// column.
    static CallScript Read(const std::wstring& path, const MemberTable& members);
    static CallScript Parse(const JsonFile& file, const MemberTable& members);

    /// Counts the call and says what is to happen. Not for use by several threads.
    Decision Decide(const Call& call);

private:
    struct Rule {
        std::wstring member;  ///< as the table spells it
        std::vector<Value> arguments;
        std::optional<std::int32_t> nth;
        std::optional<std::int32_t> from;
        std::wstring begun;  ///< a file's path, or empty
        std::chrono::milliseconds delay{0};
        std::wstring until;  ///< a file's path, or empty
        Action action;
        std::int32_t calls = 0;

        bool Concerns(const Call& call) const;
    };

    static Rule ReadRule(const JsonFile& file, const Json& item, const MemberTable& members);

    std::vector<Rule> rules_;
};

}  // namespace kandora::simulators
