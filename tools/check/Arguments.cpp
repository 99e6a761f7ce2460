#include "tools/check/Arguments.h"

#include <algorithm>
#include <iterator>

#include "interfaces/CodePages.h"
#include "tools/check/CheckCommandLine.h"

namespace kandora::check {

Text ReadArguments(CLI::App& app, const std::vector<Text>& arguments, Complain& complaint) {
    std::vector<std::string> remaining;
    std::ranges::transform(arguments, std::back_inserter(remaining),
                           [](const Text& argument) { return Utf8FromText(argument); });
    // The library takes the arguments last one first.
    std::ranges::reverse(remaining);
    try {
        app.parse(remaining);
    } catch (const CLI::CallForHelp&) {
        return TextFromUtf8(app.help());
    } catch (const CLI::ParseError& error) {
        throw UsageError(complaint(error));
    }
    if (const auto extras = app.remaining(); !extras.empty()) {
        throw UsageError(L"Unbekannte Angabe «" + TextFromUtf8(extras.front()) + L"».");
    }
    return {};
}

}  // namespace kandora::check
