#include "tools/kit/Pledges.h"

#include <algorithm>
#include <utility>

#include "interfaces/CodePages.h"
#include "tools/kit/Plan.h"
#include "tools/kit/Program.h"
#include "tools/kit/Wording.h"

namespace kandora::kit {

using Json = nlohmann::json;

Pledges::Pledges(std::filesystem::path file) : file_(std::move(file)) {
    if (!std::filesystem::exists(file_)) {
        return;
    }
    try {
        const Json saved = Json::parse(ContentOf(file_));
        for (const Json& each : saved.at("registry")) {
            auto [place, tree] = SavedTreeFrom(each);
            trees_.push_back({std::move(place), std::move(tree)});
        }
        for (const Json& each : saved.at("products")) {
            products_.push_back(TextFromUtf8(each.get<std::string>()));
        }
    } catch (const Json::exception& error) {
        throw KitFailure(L"Was ein früherer Lauf zurückzugeben hat, ist nicht lesbar: " + file_.wstring() +
                         L": " + TextFromUtf8(error.what()));
    }
}

void Pledges::KeepRegistry(const std::vector<RegistryPlace>& places) {
    for (const RegistryPlace& place : places) {
        if (std::ranges::find(trees_, place, &SavedTree::place) == trees_.end()) {
            trees_.push_back({place, ReadTree(place)});
        }
    }
    Write();
}

void Pledges::KeepProduct(const Text& code) {
    if (std::ranges::find(products_, code) == products_.end()) {
        products_.push_back(code);
        Write();
    }
}

std::vector<Text> Pledges::GiveBack(const Remover& remover) {
    std::vector<Text> complaints;
    // An installer takes its own entries along; what it has found before it comes back afterwards.
    std::erase_if(products_, [&](const Text& code) {
        const bool isGone = remover(code);
        if (!isGone) {
            complaints.push_back(L"Das Paket " + code + L" lässt sich nicht entfernen.");
        }
        return isGone;
    });
    std::erase_if(trees_, [&](const SavedTree& saved) {
        try {
            RestoreTree(saved.place, saved.tree);
            return true;
        } catch (const KitFailure& failure) {
            complaints.push_back(failure.Message());
            return false;
        }
    });
    if (IsOpen()) {
        Write();
    } else {
        std::error_code ignored;
        std::filesystem::remove(file_, ignored);
    }
    return complaints;
}

/// Replaced in one step: whoever looks, at whatever moment, meets the old content or the new one.
void Pledges::Write() const {
    Json registry = Json::array();
    for (const SavedTree& saved : trees_) {
        registry.push_back(JsonOf(saved.place, saved.tree));
    }
    Json products = Json::array();
    for (const Text& code : products_) {
        products.push_back(Utf8FromText(code));
    }
    const std::filesystem::path temporary = file_.wstring() + L".neu";
    WriteContent(temporary, Json{{"registry", registry}, {"products", products}}.dump());
    if (MoveFileExW(temporary.c_str(), file_.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ==
        FALSE) {
        throw KitFailure(L"Diese Datei lässt sich nicht schreiben: " + file_.wstring() + L": " +
                         SystemMessage(GetLastError()));
    }
}

}  // namespace kandora::kit
