#pragma once

#include <memory>
#include <string>

#include "archive/ELODMS.h"
#include "tests/protocol/World.h"

namespace kandora::test {

/// How the archive's separator is asked.
inline const std::string delimiter = R"(archive.LookupDelimiter -> BSTR "¶")";

/// The archive client alone, with a stand-in for the accounting side.
class ArchiveTest : public World {
protected:
    ArchiveTest() {
        state.settings = SampleSettings();
        state.folders = SampleFolders();
        NewClient();
    }
    void ReleaseComponent() override { client_.reset(); }

    void NewClient() { client_ = std::make_unique<ELODMS>(Context()); }
    ArchiveContext Context() {
        return {machine, screen, handler, state, vouchers, [this]() -> cUser {
                    return {state.settings.gsEloUserName, state.settings.gsEloPasswort,
                            state.settings.gsEloKuerzel};
                }};
    }
    /// Opens the session; from then on each call on the archive is probed.
    void LogIn() {
        client_->oElo();
        talk.Take();
    }
    ELODMS& Client() { return *client_; }

    template <class Action>
    std::string Failing(Action&& action) {
        return FailureOf(handler, std::forward<Action>(action));
    }

    SharedState state;
    CErrHandler handler{screen, LocalTime()};
    FakeVouchers vouchers{talk, state};

private:
    std::unique_ptr<ELODMS> client_;
};

/// The same with an open session.
class OpenArchiveTest : public ArchiveTest {
protected:
    OpenArchiveTest() { LogIn(); }
};

}  // namespace kandora::test
