#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kandora::test {

using Lines = std::vector<std::string>;

/// A line of a test's source, for failures that are found elsewhere.
struct Place {
    const char* file;
    int line;

    static Place Here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
        return {file, line};
    }
};

/// What a component said to the world around it and what it was answered, one line a call, in the order of
/// the calls. All fakes of a test share one.
class Conversation {
public:
    /// Adds a line and returns its place, for an answer that is only known later.
    std::size_t Add(std::string line);
    void Complete(std::size_t place, const std::string& answer) { lines_.at(place) += answer; }

    [[nodiscard]] const Lines& Said() const noexcept { return lines_; }
    /// Everything said since the last time, which is then forgotten.
    Lines Take();

private:
    Lines lines_;
};

/// Takes what was said and compares it. A failure is reported at the caller's line and shows the first line
/// that differs, with its neighbours, as said and as expected.
void ExpectConversation(Conversation& actual, const Lines& expected, Place where = Place::Here());

/// The same for lines that were recorded elsewhere.
void ExpectLines(const Lines& actual, const Lines& expected, Place where = Place::Here());

/// How often the line was said.
std::ptrdiff_t Occurrences(const Lines& lines, const std::string& line);

/// One list of several, for conversations with recurring stretches.
Lines Together(std::initializer_list<Lines> parts);

}  // namespace kandora::test
