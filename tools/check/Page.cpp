#include "tools/check/Page.h"

#include <windows.h>

#include "tools/check/PageResource.h"

namespace kandora::check {

std::string PageTemplate() {
    const HRSRC resource = FindResourceW(nullptr, MAKEINTRESOURCEW(RECONCILE_PAGE), RT_RCDATA);
    const HGLOBAL loaded = resource == nullptr ? nullptr : LoadResource(nullptr, resource);
    if (loaded == nullptr) {
        return {};
    }
    return {static_cast<const char*>(LockResource(loaded)), SizeofResource(nullptr, resource)};
}

std::string PageWith(std::string_view page, std::string_view json) {
    constexpr std::string_view place = "@DATEN@";
    const std::size_t found = page.find(place);
    if (found == std::string_view::npos) {
        return std::string(page);
    }
    std::string filled(page.substr(0, found));
    for (std::size_t i = 0; i < json.size(); ++i) {
        if (json[i] != '<') {
            filled += json[i];
        } else if (i + 1 < json.size() && json[i + 1] == '/') {
            filled += "<\\";  // the slash follows
        } else {
            filled += "\\u003c";  // a comment within a script changes where the script ends
        }
    }
    filled += page.substr(found + place.size());
    return filled;
}

}  // namespace kandora::check
