#pragma once

#include <functional>

#include "archive/VoucherData.h"
#include "archive/cUser.h"
#include "automation/Platform.h"
#include "model/Settings.h"
#include "support/CErrHandler.h"
#include "ui/UserInterface.h"

namespace kandora {

/// What an archive client works with; everything outlives it.
struct ArchiveContext {
    Platform& platform;
    UserInterface& userInterface;
    CErrHandler& errHandler;
    SharedState& state;
    VoucherData& vouchers;
    /// The user record, fresh from the settings.
    std::function<cUser()> user;
};

}  // namespace kandora
