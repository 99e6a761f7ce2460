#pragma once

#include <functional>
#include <string>

#include "simulators/host/Accounting.h"

namespace kandora::simulators {

/// What the menu's choices do: `run` gets the text of a request file and its name, `runYear` saves the whole
/// year, `runFile` runs the request file that the user names.
struct MenuActions {
    std::function<void(const std::wstring& text, const std::wstring& name)> run;
    std::function<void()> runYear;
    std::function<void(const std::wstring& path)> runFile;
};
/// Offers sample runs until the user ends it or the input ends.
void RunMenu(Accounting& accounting, const MenuActions& actions);

/// True when a person sits at the standard input.
bool HasConsole();

}  // namespace kandora::simulators
