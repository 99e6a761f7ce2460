#pragma once

#include <filesystem>
#include <functional>
#include <vector>

#include "tools/kit/RegistryTree.h"

namespace kandora::kit {

/// What must be given back. It stands in a file from before the first change until after the last one, so
/// that a run whose program was killed is tidied up by the next one.
class Pledges {
public:
    /// Takes an installed product away again; answers whether it is gone.
    using Remover = std::function<bool(const Text& product)>;

    /// Takes over what the file has. Throws KitFailure when it cannot be read.
    explicit Pledges(std::filesystem::path file);

    /// Whether something is left of an earlier run.
    [[nodiscard]] bool IsOpen() const noexcept { return !trees_.empty() || !products_.empty(); }
    /// Notes what is at these places now. Throws KitFailure.
    void KeepRegistry(const std::vector<RegistryPlace>& places);
    /// Notes that the product is about to be installed.
    void KeepProduct(const Text& code);

    /// Gives everything back, as far as that goes, and answers what did not go, in German. The file goes when
    /// nothing is left.
    std::vector<Text> GiveBack(const Remover& remover);

private:
    struct SavedTree {
        RegistryPlace place;
        std::optional<RegistryTree> tree;
    };

    void Write() const;

    std::filesystem::path file_;
    std::vector<SavedTree> trees_;
    std::vector<Text> products_;
};

}  // namespace kandora::kit
