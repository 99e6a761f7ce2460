#pragma once

#include <cstdint>

#include "ui/Form.h"

namespace kandora {

/// The window that asks for one line of text.
class InputForm final : private Form {
public:
    explicit InputForm(Platform& platform) : Form(platform) {}

    /// See UserInterface::InputBox.
    Text Ask(const Text& prompt, const Text& title, const Text& proposal, std::int32_t leftTwips,
             std::int32_t topTwips);

private:
    void OnClick(int id) override;

    Text answer_;
};

}  // namespace kandora
