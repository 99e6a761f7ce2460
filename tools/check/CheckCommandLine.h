#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "automation/Text.h"

namespace kandora::check {

/// What the user asked for.
struct CommandLine {
    bool json = false;
    bool probe = false;
    bool adopt = false;
    Text component;    ///< file that is to be checked; empty for the registered one
    Text hostTypeLib;  ///< empty: to be found through the registry
    struct Voucher {
        Text number;
        Text index;
    };
    std::optional<Voucher> voucher;
    bool reconcile = false;  ///< also with reindex
    bool reindex = false;
    bool yes = false;
    std::int32_t days = 30;
    Text logs;
    Text csv;
    Text html;
    std::vector<Text> clients;  ///< paths; empty for the client that is open
    Text answer;                ///< help or version, which is all that was asked for
};

/// What is wrong with a command line, in German.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(Text message) : std::runtime_error("usage"), message_(std::move(message)) {}

    [[nodiscard]] const Text& Message() const noexcept { return message_; }

private:
    Text message_;
};

/// The lines of a list, without blanks around them and without empty ones.
std::vector<Text> LinesOf(const std::string& bytes);

/// Throws UsageError.
CommandLine ParseCommandLine(const std::vector<Text>& arguments);

}  // namespace kandora::check
