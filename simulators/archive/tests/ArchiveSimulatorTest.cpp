/// The program itself, from outside: its command line, and its automation object across the process border.
#include <windows.h>

#include <objbase.h>

#include <gmock/gmock.h>

#include "interfaces/Apartment.h"
#include "interfaces/CodePages.h"
#include "interfaces/ComPtr.h"
#include "simulators/archive/Window.h"
#include "simulators/archive/tests/ArchiveFixture.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Files.h"
#include "simulators/common/tests/LateBoundClient.h"
#include "tests/support/BuiltFile.h"
#include "tests/support/ServedClasses.h"
#include "tests/support/StartedProgram.h"

namespace kandora::simulators {

namespace {

using ::testing::HasSubstr;

constexpr CLSID archiveClassId = {
    0x6D1C7B52, 0x0A94, 0x4E3B, {0x9C, 0x5E, 0x3F, 0x27, 0xB8, 0xD1, 0x60, 0x4A}};

class ProgramTest : public StoreFixture {
protected:
    Apartment apartment_;

    /// A server that was killed would leave its class behind for the tests that follow, so it is asked to go.
    // NOLINTNEXTLINE(bugprone-exception-escape): a server that cannot be ended ends this program
    ~ProgramTest() override {
        if (program_) {
            StopServer();
        }
    }

    /// Ends the program that serves and answers its exit code.
    DWORD StopServer() {
        Program server = std::move(program_);
        EXPECT_EQ(Run(L"--stop --store \"" + StorePath() + L"\""), 0U);
        program_ = std::move(server);
        return ExitCode();
    }

    /// Starts the program; what it prints goes to files.
    void Start(const std::wstring& arguments) {
        SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        const auto create = [&](const std::wstring& path) {
            return FileHandle(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                          &inheritable, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        };
        output_ = create(OutputPath());
        errors_ = create(ErrorPath());
        program_ = std::make_unique<kandora::test::StartedProgram>(kandora::test::Command{
            L"\"" + kandora::test::BuiltFile(L"bin/ArchiveSimulator.exe").wstring() + L"\" " + arguments,
            output_.Get(), errors_.Get()});
    }

    DWORD ExitCode() {
        const Program program = std::move(program_);
        if (!program->Ends([this] { return SaysSomething(); })) {
            ADD_FAILURE() << "The program does not end; it is ended by force.";
            program->End();
            EXPECT_TRUE(kandora::test::ForgetServedClasses());
        }
        return program->ExitCode();
    }

    DWORD Run(const std::wstring& arguments) {
        Start(arguments);
        return ExitCode();
    }

    /// Starts the program on the test's store and waits until it serves.
    void Serve(const std::wstring& more = {}) {
        Start(L"--hidden --store \"" + StorePath() + L"\"" + more);
        ASSERT_TRUE(program_->ShowsLife([this] { return Output().find("Bereit:") != std::string::npos; }))
            << Errors();
    }

    static LateBoundClient Connect() {
        ComPtr<IDispatch> object;
        const HRESULT code = CoCreateInstance(archiveClassId, nullptr, CLSCTX_LOCAL_SERVER, IID_IDispatch,
                                              reinterpret_cast<void**>(object.Receive()));
        if (code != S_OK) {
            throw Failure(L"No archive: " + SystemMessage(static_cast<unsigned long>(code)));
        }
        return LateBoundClient(object.Get());
    }

    static LateBoundClient LogOn() {
        LateBoundClient client = Connect();
        EXPECT_EQ(client
                      .Call(L"Login",
                            {Value::Text(L"Kandora"), Value::Text(L"geheim"), Value::Text(L"Muster-Archiv")})
                      .Long(),
                  0);
        return client;
    }

    std::wstring OutputPath() const { return directory_ / L"aus.txt"; }
    std::wstring ErrorPath() const { return directory_ / L"fehler.txt"; }
    std::string Output() const { return ReadWholeFile(OutputPath()); }
    std::string Errors() const { return ReadWholeFile(ErrorPath()); }

    bool SaysSomething() const { return !Output().empty() || !Errors().empty(); }

    using Program = std::unique_ptr<kandora::test::StartedProgram>;
    FileHandle output_;
    FileHandle errors_;
    Program program_;
};

TEST_F(ProgramTest, ExplainsItselfInGerman) {
    EXPECT_EQ(Run(L"--help"), 0U);
    EXPECT_THAT(Output(), HasSubstr("--create-sample-store VERZEICHNIS"));
    EXPECT_THAT(Output(), HasSubstr("Beendet den Simulator, der dieses Archiv geöffnet hat"));
}

TEST_F(ProgramTest, RefusesWhatItDoesNotUnderstand) {
    EXPECT_EQ(Run(L"--sotre"), 2U);
    EXPECT_THAT(Errors(), HasSubstr("Unbekannte Angabe: --sotre"));
    EXPECT_EQ(Run(L"--store"), 2U);
    EXPECT_THAT(Errors(), HasSubstr("Zur Angabe --store gehört genau ein Wert."));
    EXPECT_EQ(Run(L""), 2U);
    EXPECT_THAT(Errors(), HasSubstr("Die Angabe --store VERZEICHNIS fehlt."));
    EXPECT_EQ(Run(L"--register --unregister"), 2U);
    EXPECT_THAT(Errors(), HasSubstr("schliessen sich aus"));
    EXPECT_EQ(Run(L"--store \"" + (directory_ / L"leer").wstring() + L"\""), 2U);
    EXPECT_THAT(Errors(), HasSubstr("archiv.json fehlt"));
}

TEST_F(ProgramTest, NamesThePlaceOfAMistakeInScriptAndSettings) {
    const std::wstring script =
        directory_.Write(L"Probe ü.json", "[\n {\"call\": \"Login\", \"answre\": 1}]");
    EXPECT_EQ(Run(L"--store \"" + StorePath() + L"\" --script \"" + script + L"\""), 2U);
    EXPECT_EQ(Errors(), Utf8FromText(script + L", Zeile 2, Spalte 20: Unbekannte Angabe «answre».\r\n"));
    WriteFileAtomically(StorePath() + L"\\archiv.json", "{\n\"archive\": 5}");
    EXPECT_EQ(Run(L"--store \"" + StorePath() + L"\""), 2U);
    EXPECT_EQ(Errors(), Utf8FromText(StorePath() +
                                     L"\\archiv.json, Zeile 2, Spalte 12: Hier muss eine Liste in eckigen "
                                     L"Klammern stehen.\r\n"));
    EXPECT_EQ(Run(L"--register --store \"" + StorePath() + L"\""), 2U);
    EXPECT_THAT(Errors(), HasSubstr("Zeile 2, Spalte 12"));
}

TEST_F(ProgramTest, CreatesASampleStoreOnce) {
    EXPECT_EQ(Run(L"--create-sample-store \"" + (directory_ / L"Büro\\Muster").wstring() + L"\""), 0U);
    EXPECT_TRUE(IsFile(directory_ / L"Büro\\Muster\\archiv.json"));
    EXPECT_EQ(Run(L"--create-sample-store \"" + (directory_ / L"Büro\\Muster").wstring() + L"\""), 0U);
    EXPECT_THAT(Output(), HasSubstr("Hier ist schon ein Archiv"));
}

TEST_F(ProgramTest, ServesClientsOfOtherProcesses) {
    const std::wstring trace = directory_ / L"Protokoll.txt";
    Serve(L" --trace \"" + trace + L"\"");
    {
        const LateBoundClient client = LogOn();
        const LateBoundClient other = LogOn();
        const std::int32_t folder =
            client.Call(L"CreateStructure", {Value::Text(L"¶Zürich¶Bücher"), Value::Short(0)}).Long();
        EXPECT_EQ(other.Call(L"LookupIndex", {Value::Text(L"¶Zürich¶Bücher")}).Long(), folder);
        LONG mask = 2;
        VARIANT reference;
        VariantInit(&reference);
        reference.vt = VT_BYREF | VT_I4;
        reference.plVal = &mask;
        EXPECT_EQ(client
                      .Invoke(L"PrepareObjectEx", DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                              {Value::Long(0).Get(), Value::Short(254).Get(), reference})
                      .Long(),
                  1);
        EXPECT_EQ(client.Put(L"ObjShort", Value::Text(L"Übergabe")).code, S_OK);
        EXPECT_EQ(client.Call(L"AddPostboxFile", {Value::Text(document_)}).Long(), 1);
        EXPECT_EQ(client.Call(L"MoveToArchive", {Value::Text(L"#" + std::to_wstring(folder))}).Long(), 1);
        const CallResult unknownMask = client.Put(L"ObjMaskNo", Value::Long(99));
        EXPECT_EQ(unknownMask.code, DISP_E_EXCEPTION);
        EXPECT_EQ(unknownMask.description, L"Die Ablagemaske 99 gibt es nicht.");
        EXPECT_EQ(client.Call(L"Gibtsnicht").code, DISP_E_UNKNOWNNAME);
    }
    EXPECT_THAT(ReadWholeFile(trace), HasSubstr("PrepareObjectEx(I4 0, I2 254, I4& 2) -> I4 1\r\n"));
    EXPECT_THAT(ReadWholeFile(trace), HasSubstr("ObjShort = BSTR \"Übergabe\"\r\n"));

    EXPECT_EQ(StopServer(), 0U);
    EXPECT_EQ(ArchiveStore(StorePath()).EntryCount(), 1U);
}

TEST_F(ProgramTest, EndsByTheMenuCommandWhileClientsHoldOn) {
    Serve();
    const LateBoundClient client = LogOn();
    EXPECT_EQ(client.Call(L"clickon", {Value::Text(L"M:Beenden")}).Long(), 1);
    EXPECT_EQ(ExitCode(), 0U);
    EXPECT_LT(client.Call(L"GetEntryId", {Value::Short(-1)}).code, 0);
}

TEST_F(ProgramTest, EndsOfItselfWhenComStartedItAndNobodyComes) {
    EXPECT_EQ(Run(L"--hidden --linger 0 --store \"" + StorePath() + L"\" -Embedding"), 0U);
    EXPECT_FALSE(IsFile(StorePath() + L"\\archive.lock")) << Errors();
    EXPECT_EQ(Run(L"--hidden --linger bald --store \"" + StorePath() + L"\""), 2U);
    EXPECT_NE(Errors().find("Der Wert von --linger ist eine Zahl von 0 bis 86400."), std::string::npos)
        << Errors();
}

TEST_F(ProgramTest, EndsWhenItsWindowIsClosed) {
    Serve();
    const HWND window = FindWindowW(ArchiveWindow::className, nullptr);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    ASSERT_EQ(process, program_->Id());
    EXPECT_FALSE(IsWindowVisible(window));
    PostMessageW(window, WM_CLOSE, 0, 0);
    EXPECT_EQ(ExitCode(), 0U);
}

TEST_F(ProgramTest, DiesWhereTheScriptSaysSo) {
    const std::wstring script = directory_.Write(
        L"stirb.json", "[{\"call\": \"MoveToArchive\", \"die\": \"after\"},"
                       " {\"call\": \"CreateStructure\", \"args\": [\"¶weg\"], \"die\": \"before\"}]");
    const std::wstring option = L" --script \"" + script + L"\"";
    Serve(option);
    {
        const LateBoundClient client = LogOn();
        const std::wstring folder =
            client.Call(L"CreateStructure", {Value::Text(L"¶da"), Value::Short(0)}).Text();
        client.Call(L"PrepareObjectEx", {Value::Long(0), Value::Short(254), Value::Long(2)});
        client.Call(L"AddPostboxFile", {Value::Text(document_)});
        EXPECT_LT(client.Call(L"MoveToArchive", {Value::Text(L"#" + folder)}).code, 0);
        EXPECT_EQ(ExitCode(), 3U);
    }
    EXPECT_EQ(ArchiveStore(StorePath()).EntryCount(), 1U);
    Serve(option);
    {
        const LateBoundClient client = LogOn();
        EXPECT_LT(client.Call(L"CreateStructure", {Value::Text(L"¶weg"), Value::Short(0)}).code, 0);
        EXPECT_EQ(ExitCode(), 3U);
    }
    EXPECT_EQ(ArchiveStore(StorePath()).LookupFolder(L"¶weg"), 0);
    Serve();
    LogOn();
}

TEST_F(ProgramTest, LeavesAStoreAloneThatIsOpen) {
    Serve();
    Program server = std::move(program_);
    Start(L"--hidden --store \"" + StorePath() + L"\"");
    EXPECT_EQ(ExitCode(), 2U);
    EXPECT_THAT(Errors(), HasSubstr("Das Archiv ist schon geöffnet"));
    program_ = std::move(server);
}

}  // namespace

}  // namespace kandora::simulators
