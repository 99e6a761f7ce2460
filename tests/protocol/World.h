#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "accounting/ArchiveFolders.h"
#include "archive/ArchiveContext.h"
#include "archive/VoucherData.h"
#include "model/Settings.h"
#include "support/CErrHandler.h"
#include "tests/support/Conversation.h"
#include "tests/support/FakeObject.h"
#include "tests/support/FakePlatform.h"
#include "tests/support/FakeUserInterface.h"
#include "tests/support/Raised.h"
#include "tests/support/Rendering.h"

namespace kandora::test {

inline constexpr const wchar_t* archiveProgId = L"ELO.professional";
inline constexpr const wchar_t* hostProgId = L"FibuNT.Mandant";

/// The settings in most tests: masks 1 to 5; index fields from position 11 (vouchers), 21 (reports), 31
/// (debtors) and 51 (creditors) on.
Settings SampleSettings();
ClientFolders SampleFolders();

/// Each call on the archive is preceded by the question whether it is still there.
Lines Probed(const Lines& lines);
/// The probe itself.
inline const std::string probe = "archive.GetEntryId(I2 -1) -> I4 0";

/// Everything outside of the component: machine, user, archive and accounting host, whose calls make up one
/// conversation. At the end of a test everything that was said must have been expected.
class World : public testing::Test {
protected:
    World();
    void TearDown() override;
    /// Lets go of the component's objects before the fakes are examined.
    virtual void ReleaseComponent() {}

    /// An archive in which every call succeeds. Separator "¶", every folder has the id 800, a new entry 4711.
    Fake NewArchive(const std::string& name = "archive");
    /// A host object whose client is closed until "Login"; it reads and writes `options` and hands out the
    /// objects below.
    Fake NewHost(const std::string& name);
    /// An object that is examined at the end like those above.
    Fake NewObject(const std::string& name);

    void Expect(const Lines& lines, Place where = Place::Here()) { ExpectConversation(talk, lines, where); }

    Conversation talk;
    FakePlatform machine{talk};
    FakeUserInterface screen{talk};

    Fake archive;
    /// Object ids that a search of the archive lists.
    std::vector<std::int32_t> hits;

    /// The client's options in the host's group 600.
    std::map<std::int32_t, Variant> options;
    Text client = L"C:\\Daten\\Muster";
    /// What the host hands out, the same objects again and again.
    Fake booking;
    Fake openItem;
    Fake account;
    Fake address;

private:
    std::vector<Fake> made_;
};

/// The accounting side as filing sees it; its calls are lines of the conversation.
class FakeVouchers final : public VoucherData {
public:
    FakeVouchers(Conversation& conversation, SharedState& state)
        : conversation_(conversation), state_(state) {}

    Text kind = L"Beleg";
    /// Raised by the next question for the kind or for data.
    std::optional<RuntimeError> kindFailure;
    std::optional<RuntimeError> dataFailure;

    Text GetBuchungsType(const Text& strBelegNr, const Text& strBelegIndex) override;
    void GetDebiDaten(const Text& strBelegNr, const Text& strIndex) override;
    void GetKrediDaten(const Text& strBelegNr, const Text& strIndex) override;
    void GetBelegDaten(const Text& strBelegNr, const Text& strIndex) override;

private:
    void Fill(const char* operation, DocumentRecord& record, const Text& number, const Text& index);

    Conversation& conversation_;
    SharedState& state_;
};

/// Runs the action and tells the error that it raised as the error box would show it; empty when it raised
/// none. The error must have the recorded frames as its source. The error handler is clear afterwards.
template <class Action>
std::string FailureOf(CErrHandler& handler, Action&& action) {
    const RuntimeError error = ErrorOf(std::forward<Action>(action));
    if (error.Number() == 0) {
        EXPECT_EQ(handler.lOriginalNumber(), 0) << "an error was recorded, but not raised";
        return {};
    }
    std::string shown = Spelled(handler.sToString());
    EXPECT_EQ(error.Number(), handler.lNumber());
    EXPECT_EQ(Spelled(error.Description()), Spelled(handler.sDescription()));
    EXPECT_EQ("CALLSTACK: " + Spelled(error.Source()), shown.substr(shown.rfind("CALLSTACK: ")));
    handler.Clear();
    return shown;
}

/// An object of the host's on which clients are opened and closed; tells whether one is open. `client`, the
/// one that was open last, outlives it.
std::shared_ptr<const bool> OpensAndCloses(Fake& host, const Text& client);
/// How the error box shows a first error of that number, raised below the frames.
std::string Shown(std::int32_t number, const std::string& description, const std::string& frames);

}  // namespace kandora::test
