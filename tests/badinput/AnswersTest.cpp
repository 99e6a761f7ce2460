// Answers of every type to every call that a request makes on the archive and on the accounting host; and
// what the user and the log get to see of it all.

#include <algorithm>
#include <iostream>

#include <gtest/gtest.h>

#include "tests/badinput/Meddler.h"
#include "tests/badinput/Requests.h"
#include "tests/badinput/Troublemakers.h"
#include "tests/protocol/ProviderFixture.h"
#include "tools/check/ForwardingPlatform.h"

namespace kandora::test {
namespace {

constexpr const wchar_t* docId = L"Dokument-4711";
constexpr const char* password = "geheim";
constexpr const char* barcode = "MU26000001";

/// A machine whose automation objects are meddled with.
class MeddlingPlatform final : public check::ForwardingPlatform {
public:
    using ForwardingPlatform::ForwardingPlatform;

    Meddling meddling;

    LateBound CreateObject(const Text& progId) override {
        return Meddled(ForwardingPlatform::CreateObject(progId), meddling);
    }
};

/// A request and the world in which it is sent.
struct Course {
    const char* request;
    int origin;        ///< of the booking: 0 general, 1 debtors, 2 creditors
    bool isInArchive;  ///< the document is found there
    bool isNewClient;  ///< the host's options know nothing of the archive yet
};

const std::vector<Course>& Courses() {
    static const std::vector<Course> all{
        {"InitProvider", 0, true, false},    {"StartProvider", 0, true, false},
        {"CreateDocID", 0, true, false},     {"SaveDocument", 0, false, false},
        {"SaveDocument", 1, false, false},   {"SaveDocument", 2, false, false},
        {"SaveDocument", 0, false, true},    {"DocumentChanged", 0, true, false},
        {"DocumentChanged", 1, true, false}, {"DocumentChanged", 2, false, false},
        {"DeleteDocument", 1, true, false},  {"DeleteDocument", 0, false, false},
        {"ShowDocument", 0, true, false},    {"ShowDocument", 0, false, false},
        {"PrintDocument", 0, true, false},
    };
    return all;
}

/// A component whose archive and host are meddled with.
class Answers : public ProviderTest {
protected:
    Answers() {
        // One host object for all logins: its client is closed before each course.
        host_ = NewHost("fibu");
        machine.Makes(hostProgId, [this] { return host_; });
        archive->Answers(L"getobjAttrib", [](Call& call) {
            const std::int32_t position = call.LongAt(0) % 20;
            return position == 12 ? Variant(L"1001") : position == 13 ? Variant(L"1") : Variant(docId);
        });
        goodOptions_ = options;
    }
    void ReleaseComponent() override {
        ForgetAsked();
        provider_.reset();
        globals_.reset();
        talk.Take();
    }

    /// Plays the course in a component just started; returns what it said to archive, host, user and log.
    /// With tracing the log gets the request.
    Lines Play(const Course& course, bool tracing) {
        provider_.reset();
        globals_.reset();
        static_cast<void>(host_.AsLateBound().Get(L"Logout"));
        booking->Answers(L"ursprung", course.origin);
        hits = course.isInArchive ? std::vector<std::int32_t>{321} : std::vector<std::int32_t>();
        options = goodOptions_;
        if (course.isNewClient) {
            options[100] = Variant(L"");
        }
        screen.dialogs = {{true, L"Bilanz", L"Jahr", L"", L"", {}}};
        machine.appended.clear();
        globals_ = std::make_unique<MGlobals>(platform_, screen);
        provider_ = std::make_shared<ELOProvider>(*globals_);
        const bool isStart = std::string(course.request) == "InitProvider";
        if (!isStart) {
            globals_->state.settings = SampleSettings();
            globals_->state.gbIniOK = true;
        }
        SetIni("Debug", "Test", tracing ? "True" : "False");
        globals_->state.settings.gbDebug = tracing;
        talk.Take();
        platform_.meddling.Begin();
        const auto request =
            std::ranges::find(RequestsWithMetadata(), std::string(course.request),
                              [](const HostRequest& each) { return std::string(each.name); });
        request->send(*provider_, docId, isStart ? Variant() : VoucherMetadata());
        Lines said = talk.Take();
        ForgetAsked();
        return said;
    }

    Meddling& Meddle() { return platform_.meddling; }
    int CallsOf(const Course& course) {
        Meddle().victim = -1;
        Play(course, false);
        return Meddle().next;
    }

    /// Nothing shown or logged contains the password; without tracing the log contains nothing of a voucher.
    void ExpectDiscretion(const Lines& said, bool tracing, const std::string& where) {
        for (const std::string& line : said) {
            const bool isShown = line.starts_with("box ") || line.starts_with("input ");
            const bool isLogged = line.starts_with("log ");
            if (isShown || isLogged) {
                ASSERT_EQ(line.find(password), std::string::npos) << where << ": " << line;
            }
            if (isLogged && !tracing) {
                ASSERT_EQ(line.find(barcode), std::string::npos) << where << ": " << line;
                ASSERT_EQ(line.find("4711"), std::string::npos) << where << ": " << line;
                ASSERT_NE(line.find("DMSProvider_InitProvider"), std::string::npos) << where << ": " << line;
            }
        }
        for (const auto& [file, bytes] : machine.appended) {
            ASSERT_EQ(bytes.find(password), std::string::npos) << where;
        }
    }

    /// At most one error box, whose text tells the procedures, and the few that the host's sessions show.
    static void ExpectFewBoxes(const Lines& said, const std::string& where) {
        std::ptrdiff_t errors = 0;
        std::ptrdiff_t others = 0;
        for (const std::string& line : said) {
            if (line.starts_with("box ")) {
                ++(line.find("| CALLSTACK: ") != std::string::npos ? errors : others);
            }
        }
        ASSERT_LE(errors, 1) << where;
        ASSERT_LE(others, 2) << where;
    }

    MGlobals& Component() { return *globals_; }

private:
    void ForgetAsked() {
        for (const Fake& fake : {archive, host_, booking, openItem, account, address}) {
            fake->ForgetAsked();
        }
    }

    MeddlingPlatform platform_{machine};
    Fake host_;
    std::map<std::int32_t, Variant> goodOptions_;
    std::unique_ptr<MGlobals> globals_;
    std::shared_ptr<ELOProvider> provider_;
};

std::string Told(const Course& course, int call, const std::string& what) {
    return std::string(course.request) + " (origin " + std::to_string(course.origin) +
           (course.isInArchive ? ", found" : "") + (course.isNewClient ? ", new client" : "") + "), call " +
           std::to_string(call) + ": " + what;
}

TEST_F(Answers, OfEveryTypeToEveryCallAreSurvived) {
    int cases = 0;
    for (const Course& course : Courses()) {
        const int calls = CallsOf(course);
        ASSERT_GT(calls, 0) << course.request;
        const Lines good = Play(course, false);
        // Each call gets each kind of answer in one course or another.
        for (int call = 0; call < calls; ++call) {
            for (std::size_t kind = static_cast<std::size_t>(call) % 7; kind < Troublemakers().size();
                 kind += 7) {
                const Troublemaker& troublemaker = Troublemakers()[kind];
                if (!troublemaker.isAnswer) {
                    continue;
                }
                Given given;
                troublemaker.make(given);
                Meddle().victim = call;
                Meddle().answer = [&] { return given.Release(); };
                const std::string where = Told(course, call, troublemaker.name);
                SCOPED_TRACE(where);
                const Lines said = Play(course, false);
                ExpectFewBoxes(said, where);
                ExpectDiscretion(said, false, where);
                ASSERT_EQ(Component().goErrHandler().lOriginalNumber(), 0) << where;
                ++cases;
                if (HasFatalFailure()) {
                    return;
                }
            }
            Meddle().victim = -1;
            ASSERT_EQ(Play(course, false), good) << "after bad answers to call " << call;
        }
    }
    std::cout << cases << " answers of any type\n";
}

TEST_F(Answers, AtRandomAreSurvived) {
    constexpr std::uint32_t seed = 1291;
    Random random(seed);
    for (int i = 0; i < 10'000; ++i) {
        const Course& course = Courses().at(Below(random, static_cast<std::uint32_t>(Courses().size())));
        Meddle().victim = static_cast<int>(Below(random, 60));
        Given given;
        MakeRandom(given, random);
        Meddle().answer = [&] { return given.Release(); };
        const std::string where = Told(course, Meddle().victim, "case " + std::to_string(i));
        const Lines said = Play(course, false);
        ExpectFewBoxes(said, where);
        ASSERT_EQ(Component().goErrHandler().lOriginalNumber(), 0) << where;
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST_F(Answers, ThatFailTellNoSecrets) {
    int cases = 0;
    for (const Course& course : Courses()) {
        const int calls = CallsOf(course);
        for (int call = 0; call < calls; ++call) {
            for (const HRESULT failure : {E_FAIL, E_OUTOFMEMORY, DISP_E_TYPEMISMATCH, DISP_E_BADPARAMCOUNT,
                                          static_cast<HRESULT>(0x800706BAU)}) {
                for (const bool tracing : {false, true}) {
                    Meddle().victim = call;
                    Meddle().failure = failure;
                    const std::string where = Told(course, call, HexCode(failure));
                    const Lines said = Play(course, tracing);
                    ExpectFewBoxes(said, where);
                    ExpectDiscretion(said, tracing, where);
                    ASSERT_EQ(machine.appended.empty(),
                              !tracing && std::string(course.request) != "InitProvider");
                    ++cases;
                    if (HasFatalFailure()) {
                        return;
                    }
                }
            }
        }
        Meddle().failure = S_OK;
    }
    std::cout << cases << " failures, none of which told the password\n";
}

TEST_F(Answers, DiscretionTestSeesAPassword) {
    // The password does travel to the archive, so the search for it is able to find it.
    Meddle().victim = -1;
    const Lines start = Play(Courses().front(), true);
    const Lines filing = Play(Courses()[3], true);
    EXPECT_TRUE(std::ranges::any_of(start, [](const std::string& line) {
        return line.starts_with("archive.Login(") && line.find(password) != std::string::npos;
    }));
    EXPECT_TRUE(std::ranges::any_of(filing, [](const std::string& line) {
        return line.starts_with("log ") && line.find(barcode) != std::string::npos;
    })) << "metadata is logged while tracing";
}

}  // namespace
}  // namespace kandora::test
