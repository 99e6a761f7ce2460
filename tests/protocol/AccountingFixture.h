#pragma once

#include <memory>

#include "accounting/SOKInterface.h"
#include "tests/protocol/World.h"

namespace kandora::test {

/// The archive as the client settings see it; its calls are lines of the conversation.
class FakeFolders final : public ArchiveFolders {
public:
    explicit FakeFolders(Conversation& conversation) : conversation_(conversation) {}

    /// What is answered for a path; nothing means that all is well.
    std::map<Text, Text> answers;
    /// What a creation makes of its path.
    std::map<Text, Text> completed;

    Text CheckPFadVorhanden(const Text& strPfad) override {
        return Answered("folders.CheckPFadVorhanden(" + Quoted(strPfad) + ")", strPfad);
    }
    Text PFadErstellen(Text& strPfad) override {
        Text answer = Answered("folders.PFadErstellen(" + Quoted(strPfad) + ")", strPfad);
        if (const auto found = completed.find(strPfad); found != completed.end()) {
            strPfad = found->second;
        }
        return answer;
    }

private:
    Text Answered(const std::string& call, const Text& path) {
        const auto found = answers.find(path);
        Text answer = found == answers.end() ? Text() : found->second;
        conversation_.Add(call + " -> " + Quoted(answer));
        return answer;
    }

    Conversation& conversation_;
};

/// The access to the accounting host alone, with a stand-in for the archive.
class AccountingTest : public World {
protected:
    AccountingTest() {
        state.settings = SampleSettings();
        state.gbIniOK = true;
        sok_ = std::make_unique<SOKInterface>(AccountingContext{machine, screen, handler, state, folders});
    }
    void ReleaseComponent() override { sok_.reset(); }
    SOKInterface& Sok() { return *sok_; }

    /// How a module's object is made and opened.
    static Lines Opened(const std::string& name, int module) {
        return {"create FibuNT.Mandant", name + R"(.letztermandant -> BSTR "C:\Daten\Muster")",
                name + ".istoffen -> BOOL False",
                name + ".Login(I2 " + std::to_string(module) + R"(, BSTR& "C:\Daten\Muster") -> I4 0)"};
    }

    template <class Action>
    std::string Failing(Action&& action) {
        return FailureOf(handler, std::forward<Action>(action));
    }

    SharedState state;
    CErrHandler handler{screen, LocalTime()};
    FakeFolders folders{talk};

private:
    std::unique_ptr<SOKInterface> sok_;
};

}  // namespace kandora::test
