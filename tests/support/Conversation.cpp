#include "tests/support/Conversation.h"

#include <algorithm>
#include <utility>

#include <gtest/gtest.h>

namespace kandora::test {

namespace {

constexpr std::size_t neighbours = 3;

std::string Excerpt(const Lines& lines, std::size_t difference) {
    std::string text;
    const std::size_t first = difference < neighbours ? 0 : difference - neighbours;
    for (std::size_t i = first; i < std::min(lines.size(), difference + neighbours + 1); ++i) {
        text += (i == difference ? "  > " : "    ") + std::to_string(i + 1) + ": " + lines[i] + "\n";
    }
    if (difference >= lines.size()) {
        text += "  > (end, after " + std::to_string(lines.size()) + " lines)\n";
    }
    return text;
}

}  // namespace

std::size_t Conversation::Add(std::string line) {
    lines_.push_back(std::move(line));
    return lines_.size() - 1;
}

Lines Conversation::Take() {
    return std::exchange(lines_, {});
}

void ExpectLines(const Lines& actual, const Lines& expected, Place where) {
    const auto [said, wanted] = std::ranges::mismatch(actual, expected);
    if (said == actual.end() && wanted == expected.end()) {
        return;
    }
    const auto difference = static_cast<std::size_t>(said - actual.begin());
    ADD_FAILURE_AT(where.file, where.line) << "Expected:\n"
                                           << Excerpt(expected, difference) << "Said:\n"
                                           << Excerpt(actual, difference);
}

void ExpectConversation(Conversation& actual, const Lines& expected, Place where) {
    ExpectLines(actual.Take(), expected, where);
}

std::ptrdiff_t Occurrences(const Lines& lines, const std::string& line) {
    return std::ranges::count(lines, line);
}

Lines Together(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

}  // namespace kandora::test
