#pragma once

#include <functional>
#include <string>

#include "automation/Text.h"
#include "tools/check/Handle.h"

namespace kandora::check {

/// A file that is written at the end of some work, but made before it begins. One without a path is none.
class OutputFile {
public:
    /// Throws UsageError when the file cannot be made.
    explicit OutputFile(const Text& path);

    /// Writes what is made, and asks for it only when there is a file. Raises when it cannot be written.
    void Write(const std::function<std::string()>& make) const;

private:
    Text path_;
    Handle handle_;
};

/// A line that the user types; empty at the end of the input.
Text ReadLine();

}  // namespace kandora::check
