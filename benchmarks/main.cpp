// Measures what the component adds to the calls that it has to make. See README.md.

#include <windows.h>

#include <commctrl.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>
#include <thread>

#include "Workbench.h"
#include "automation/LateBound.h"
#include "measure.h"
#include "recorder.h"
#include "simulators/archive/Store.h"
#include "simulators/archive/Window.h"
#include "simulators/common/Unicode.h"
#include "support/MString.h"

namespace kandora::benchmarks {

namespace {

namespace fs = std::filesystem;
using cost::MetaData;
using cost::Surroundings;
using cost::Workbench;

struct Options {
    std::string directory;
    std::string component;
    std::string empty;
    std::string only;
    std::string table;
    std::string curve;
    std::string load;
    std::string simulator;
    std::string large;
    std::string small;
    int rounds = 15;
    bool isQuick = false;
};

/// Numbers of hits for which searches are measured; the archive of make_store.py has a mask for each.
constexpr std::array<int, 5> searchSizes{100, 316, 1000, 3162, 10001};
constexpr int firstSearchMask = 11;

/// Rounds of a millisecond are hardly ever interrupted, so figures made of very short pieces of work take
/// more and shorter ones.
constexpr int shortRounds = 10;

class Apartment {
public:
    Apartment() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

IDispatch* Registered(REFCLSID clsid) {
    IDispatch* object = nullptr;
    const HRESULT made = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                                          IID_IDispatch, reinterpret_cast<void**>(&object));
    if (FAILED(made)) {
        throw std::runtime_error("no object of a registered class: " + std::to_string(made));
    }
    return object;
}

CLSID ClassOf(const wchar_t* progId) {
    CLSID clsid{};
    if (FAILED(CLSIDFromProgID(progId, &clsid))) {
        throw std::runtime_error("the archive or the host is not registered");
    }
    return clsid;
}

DISPID IdOf(IDispatch* object, const wchar_t* member) {
    DISPID id = DISPID_UNKNOWN;
    auto* name = const_cast<wchar_t*>(member);
    if (FAILED(object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id))) {
        throw std::runtime_error("a member is missing");
    }
    return id;
}

/// A bare call with one by-reference number and a result, as the component asks for an index field.
void BareCall(IDispatch* object, DISPID id) {
    SHORT line = 1;
    VARIANT argument{};
    argument.vt = VT_I2 | VT_BYREF;
    argument.piVal = &line;
    DISPPARAMS parameters{&argument, nullptr, 1, 0};
    VARIANT result{};
    EXCEPINFO exception{};
    if (FAILED(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                              &parameters, &result, &exception, nullptr))) {
        throw std::runtime_error("the bare call failed");
    }
    VariantClear(&result);
}

void LateBoundCall(const LateBound& object) {
    std::int16_t line = 1;
    static_cast<void>(object.Get(L"getobjAttrib", ByRef(line)));
}

class Benchmarks {
public:
    explicit Benchmarks(Options options) : options_(std::move(options)) {}

    void Run() {
        Do("late-bound call", [this] { LateBoundCalls(); });
        Do("rendering", [this] { Rendering(); });
        Do("load", [this] { Loading(); });
        Do("in process", [this] { Requests(Surroundings::Quiet); });
        Do("memory", [this] { Memory(); });
        Do("out of process", [this] { Requests(Surroundings::Registered); });
        if (!options_.large.empty()) {
            Do("simulator", [this] { LargeArchive(); });
        }
    }
    [[nodiscard]] bool AllReached() const {
        return std::all_of(rows_.begin(), rows_.end(), [](const Row& row) { return row.IsReached(); });
    }

private:
    void Do(const std::string& group, const std::function<void()>& work) const {
        if (options_.only.empty() || group.find(options_.only) != std::string::npos) {
            work();
        }
    }
    void Add(Row row, Row::Aim aim, double limit) {
        row.aim = aim;
        row.limit = limit;
        std::cout << AsText({row}).substr(AsText({}).size()) << std::flush;
        rows_.push_back(row);
        if (!options_.table.empty()) {
            std::ofstream(options_.table) << AsTable(rows_);
        }
    }
    [[nodiscard]] int Rounds(int usual) const { return options_.isQuick ? 3 : usual; }

    void LateBoundCalls();
    void Rendering();
    void Loading();
    void Requests(Surroundings surroundings);
    void TracedLine(Workbench& bench);
    void Searches(Workbench& bench, Surroundings surroundings);
    void Memory();
    void LargeArchive();

    Options options_;
    std::vector<Row> rows_;
};

// Calls
// -----------------------------------------------------------------------------------------------------------

void Benchmarks::LateBoundCalls() {
    const Apartment apartment;
    {
        cost::QuietObject quiet;
        quiet.Answers(L"getobjAttrib", L"4711");  // a text, as index fields are
        const LateBound object(&quiet);
        const DISPID id = IdOf(&quiet, L"getobjAttrib");
        Add(Compared(
                "late-bound call in process / bare Invoke", shortRounds * Rounds(options_.rounds), 5000,
                [&] { LateBoundCall(object); }, [&] { BareCall(&quiet, id); }),
            Row::Aim::AtMost, 1.25);
    }
    const std::unique_ptr<IDispatch, void (*)(IDispatch*)> archive(
        Registered(ClassOf(L"ELO.professional")), [](IDispatch* object) { object->Release(); });
    const LateBound object(archive.get());
    const DISPID id = IdOf(archive.get(), L"getobjAttrib");
    const int calls = options_.isQuick ? 200 : 1000;
    Add(Compared(
            "late-bound call out of process / bare Invoke", Rounds(options_.rounds), calls,
            [&] { LateBoundCall(object); }, [&] { BareCall(archive.get(), id); }),
        Row::Aim::AtMost, 1.05);
    Add(Compared(
            "asking the id before every call / late-bound call", Rounds(options_.rounds), calls,
            [&] { BareCall(archive.get(), IdOf(archive.get(), L"getobjAttrib")); },
            [&] { LateBoundCall(object); }),
        Row::Aim::AtLeast, 1.9);

    // The script tells how long its loop took, in seconds.
    const fs::path script = fs::path(options_.directory) / "loop.vbs";
    std::ofstream(script) << "Set archive = CreateObject(\"ELO.professional\")\r\n"
                             "line = 1\r\nbegin = Timer\r\nFor i = 1 To "
                          << calls
                          << "\r\nvalue = archive.getobjAttrib(line)\r\nNext\r\n"
                             "WScript.Echo Replace(CStr(Timer - begin), \",\", \".\")\r\n";
    const std::string command = "cscript.exe //nologo \"" + script.string() + "\"";
    const auto scripted = [&] {
        FILE* const output = _popen(command.c_str(), "r");  // NOLINT(bugprone-command-processor)
        double seconds = 0;
        // NOLINTNEXTLINE(bugprone-unchecked-string-to-number-conversion): how many were read is asked
        const int read = output == nullptr ? 0 : std::fscanf(output, "%lf", &seconds);
        if (output == nullptr || _pclose(output) != 0 || read != 1 || seconds <= 0) {
            throw std::runtime_error("the script did not run");
        }
        return seconds * 1e6 / calls;
    };
    Add(ComparedTimes("the same loop in VBScript / late-bound call", Rounds(5), scripted,
                      [&] {
                          return Microseconds([&] {
                                     for (int i = 0; i < calls; ++i) {
                                         LateBoundCall(object);
                                     }
                                 }) /
                                 calls;
                      }),
        Row::Aim::AtLeast, 4);
}

void Benchmarks::Rendering() {
    const MetaData metaData(L"1001", L"1", L"4711");
    const Variant value(metaData.Value());
    constexpr int arrays = 1000;
    std::size_t length = 0;
    const auto append = [&] {
        Text text;
        const auto* const elements = static_cast<const VARIANT*>(value.Raw().parray->pvData);
        for (ULONG i = 0; i < value.Raw().parray->rgsabound[0].cElements; ++i) {
            text.append(elements[i].bstrVal, SysStringLen(elements[i].bstrVal));
        }
        length += text.size();
    };
    Add(Compared(
            "rendering metadata arrays / one append per element", shortRounds * Rounds(options_.rounds),
            arrays, [&] { length += ToText(value).size(); }, append),
        Row::Aim::AtMost, 2.0);
    if (length == 0) {
        throw std::runtime_error("nothing was rendered");
    }
}

// Loading
// ---------------------------------------------------------------------------------------------------------

/// In a process of its own: a DLL is loaded once only. Tells the microseconds.
void LoadOnce(const std::string& file) {
    const Apartment apartment;
    const double time = Microseconds([&] {
        using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
        const HMODULE module = LoadLibraryA(file.c_str());
        const auto getClassObject = reinterpret_cast<GetClassObject>(
            reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
        IClassFactory* factory = nullptr;
        IUnknown* object = nullptr;
        if (getClassObject == nullptr ||
            FAILED(
                getClassObject(CLSID_ELOProvider, IID_IClassFactory, reinterpret_cast<void**>(&factory))) ||
            FAILED(factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&object)))) {
            throw std::runtime_error("the DLL gives no object");
        }
        object->Release();
        factory->Release();
    });
    std::cout << time << '\n' << std::flush;
}

void Benchmarks::Loading() {
    std::array<char, 1024> self{};
    GetModuleFileNameA(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const auto loading = [&](const std::string& file) {
        return [command = "\"\"" + std::string(self.data()) + "\" --load \"" + file + "\"\""] {
            FILE* const output = _popen(command.c_str(), "r");  // NOLINT(bugprone-command-processor)
            double time = 0;
            // NOLINTNEXTLINE(bugprone-unchecked-string-to-number-conversion): how many were read is asked
            const int read = output == nullptr ? 0 : std::fscanf(output, "%lf", &time);
            if (output == nullptr || _pclose(output) != 0 || read != 1) {
                throw std::runtime_error("loading a DLL failed");
            }
            return time;
        };
    };
    Add(ComparedTimes("load, class object, create, release / empty DLL", Rounds(options_.rounds),
                      loading(options_.component), loading(options_.empty)),
        Row::Aim::AtMost, 1.30);
}

// Requests
// --------------------------------------------------------------------------------------------------------

struct Request {
    std::string name;
    std::function<void()> send;
    double limit = 0;
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// How the objects of a conversation are made when it is said again. `bench` must outlive it.
Conversation::Maker MakerFor(Workbench& bench, Surroundings surroundings) {
    if (surroundings != Surroundings::Quiet) {
        return &Registered;
    }
    return [&bench](REFCLSID clsid) {
        IDispatch* object = nullptr;
        const bool isArchive = clsid == cost::ArchiveClass();
        (isArchive ? bench.world.archive : bench.world.NewHost())
            .QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&object));
        return object;
    };
}

const char* PlaceOf(Surroundings surroundings) {
    return surroundings == Surroundings::Quiet ? " (in process)" : " (out of process)";
}

void Init(DMSProvider& provider) {
    VARIANT result{};
    provider.InitProvider(VARIANT{}, &result);
}

void Benchmarks::Requests(Surroundings surroundings) {
    const bool isQuiet = surroundings == Surroundings::Quiet;
    const std::string where = PlaceOf(surroundings);
    const fs::path folder = options_.directory;
    Workbench bench(options_.component, folder, surroundings);
    Conversation conversation(MakerFor(bench, surroundings));

    std::shared_ptr<DMSProvider> provider;
    const auto init = [&] { Init(*provider); };
    const BSTR docId = SysAllocString(L"20261120093000");
    const MetaData general(L"1001", L"1", L"4711");
    const MetaData debtor(L"2001", L"1", L"4712");
    const MetaData creditor(L"3001", L"1", L"4713");
    const auto save = [&](const MetaData& voucher, std::int32_t origin) {
        bench.world.origin = origin;
        provider->SaveDocument(docId, voucher.Value());
    };
    std::vector<Request> requests{
        {"SaveDocument, general booking", [&] { save(general, 0); }, 1.10},
        {"SaveDocument, debtor", [&] { save(debtor, 1); }, 1.10},
        {"SaveDocument, creditor", [&] { save(creditor, 2); }, 1.10},
        {"gated request that does nothing",
         [&] {
             BSTR answer = nullptr;
             provider->GetVirtualPrinterName(&answer);
             SysFreeString(answer);
         },
         1.10},
        {"InitProvider", init, 1.20},
    };

    {
        const Apartment apartment;
        Workbench::Watch([&](REFCLSID clsid, IDispatch* made) { return conversation.Listen(clsid, made); });
        provider = bench.NewProvider();
        init();
        for (Request& request : requests) {
            request.send();
            request.begin = conversation.Steps();
            request.send();
            request.end = conversation.Steps();
        }
        Workbench::Watch(nullptr);
        provider.reset();
    }

    const Apartment apartment;
    provider = bench.NewProvider();
    init();
    conversation.SayAgain(0, requests.back().end, false);
    const int repeat = isQuiet ? 200 : options_.isQuick ? 2 : 5;
    const std::string file = (folder / "Kandora.ini").string();
    for (const Request& request : requests) {
        for (const bool askingIds : {false, true}) {
            const auto floor = [&] {
                if (request.name == "InitProvider") {
                    std::array<char, 1000> buffer{};
                    for (const cost::Key& key : cost::Keys()) {
                        GetPrivateProfileStringA(key.section, key.name, "", buffer.data(),
                                                 static_cast<DWORD>(buffer.size()), file.c_str());
                    }
                }
                conversation.SayAgain(request.begin, request.end, askingIds);
            };
            const std::string than = askingIds ? " / its calls and id questions" : " / its bare calls";
            const Row row =
                Compared(request.name + than + where, Rounds(options_.rounds), repeat, request.send, floor);
            const bool counts = !isQuiet && !askingIds;
            Add(row, counts ? Row::Aim::AtMost : Row::Aim::Shown, request.limit);
        }
        std::cout << "    " << conversation.Calls(request.begin, request.end) << " calls, "
                  << conversation.Questions(request.begin, request.end) << " id questions\n";
    }

    if (isQuiet) {
        TracedLine(bench);
    }
    provider.reset();
    Searches(bench, surroundings);
    SysFreeString(docId);
    conversation.Release();
}

void Benchmarks::TracedLine(Workbench& bench) {
    const BSTR docId = SysAllocString(L"20261120093000");
    const MetaData general(L"1001", L"1", L"4711");
    bench.SetTracing(true);
    const auto provider = bench.NewProvider();
    Init(*provider);
    const std::string line = "20.11.2026 09.30.00 | DMSProvider_SetDocumentStatus  [20261120093000]  [[, , "
                             "1001, 1, 4711]]\r\n";
    const fs::path log = fs::path(options_.directory) / "bare.log";
    Add(Compared(
            "a traced request line / open, write, close", Rounds(options_.rounds), 500,
            [&] { provider->SetDocumentStatus(docId, general.Value()); },
            [&] {
                const HANDLE handle =
                    CreateFileW(log.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
                DWORD written = 0;
                WriteFile(handle, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
                CloseHandle(handle);
            }),
        Row::Aim::AtMost, 1.20);
    bench.SetTracing(false);
    Init(*provider);
    SysFreeString(docId);
}

/// Each search is a request that looks for a document which is not there.
void Benchmarks::Searches(Workbench& bench, Surroundings surroundings) {
    const bool isQuiet = surroundings == Surroundings::Quiet;
    const BSTR unknown = SysAllocString(L"20991231235959");
    const MetaData general(L"1001", L"1", L"4711");
    for (std::size_t size = 0; size < searchSizes.size(); ++size) {
        const int hits = searchSizes[size];
        if (options_.isQuick && hits > 1000) {
            break;
        }
        bench.world.hits = hits;
        bench.SetVoucherMask(firstSearchMask + static_cast<int>(size));
        Conversation found(MakerFor(bench, surroundings));
        std::size_t begin = 0;
        std::size_t end = 0;
        // A thread of its own gives the recorded provider a state of its own.
        const auto record = [&] {
            const Apartment recorded;
            Workbench::Watch([&](REFCLSID clsid, IDispatch* made) { return found.Listen(clsid, made); });
            const auto watched = bench.NewProvider();
            Init(*watched);
            begin = found.Steps();
            watched->DeleteDocument(unknown, general.Value());
            end = found.Steps();
            Workbench::Watch(nullptr);
        };
        std::thread(record).join();
        const auto provider = bench.NewProvider();
        Init(*provider);
        found.SayAgain(0, end, false);
        const int rounds = Rounds(isQuiet ? 7 : hits > 1000 ? 3 : 5);
        const Row row = Compared(
            "search over " + std::to_string(hits) + " hits / its bare calls" + PlaceOf(surroundings), rounds,
            1, [&] { provider->DeleteDocument(unknown, general.Value()); },
            [&] { found.SayAgain(begin, end, false); });
        if (!options_.curve.empty()) {
            std::ofstream(options_.curve, std::ios::app) << (isQuiet ? "in" : "out") << "\t" << hits << "\t"
                                                         << row.subject << "\t" << row.floor << "\n";
        }
        const bool counts = hits == searchSizes.back();
        Add(row, counts ? Row::Aim::AtMost : Row::Aim::Shown, isQuiet ? 1.15 : 1.05);
    }
    SysFreeString(unknown);
}

/// The process's own memory that is in use.
double PrivateKilobytes() {
    double bytes = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const char* place = nullptr; VirtualQuery(place, &region, sizeof region) != 0;
         place = static_cast<const char*>(region.BaseAddress) + region.RegionSize) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) {
            bytes += static_cast<double>(region.RegionSize);
        }
    }
    return bytes / 1024;
}

void Benchmarks::Memory() {
    Workbench bench(options_.component, options_.directory);
    const Apartment apartment;
    const auto provider = bench.NewProvider();
    VARIANT result{};
    provider->InitProvider(VARIANT{}, &result);
    const BSTR docId = SysAllocString(L"20261120093000");
    const MetaData voucher(L"1001", L"1", L"4711");
    const auto send = [&](int count) {
        for (int i = 0; i < count; ++i) {
            provider->SaveDocument(docId, voucher.Value());
        }
        return PrivateKilobytes();
    };
    Row row;
    row.name = "memory after 100 000 requests / after 1000";
    row.unit = "KB";
    row.floor = send(1000);
    row.subject = send(options_.isQuick ? 9000 : 99000);
    row.median = row.lower = row.upper = row.subject / row.floor;
    Add(row, Row::Aim::AtMost, 1.0);
    SysFreeString(docId);
}

// The archive's stand-in
// -----------------------------------------------------------------------------------------------------

/// Microseconds from the start of the simulator until its window answers and shows its tree. Ends it again.
double TimeToWindow(const std::string& simulator, const std::string& store) {
    std::string command = "\"" + simulator + "\" --store \"" + store + "\"";
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    const double time = Microseconds([&] {
        if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                           nullptr, &startup, &process) == FALSE) {
            throw std::runtime_error("the simulator does not start");
        }
        for (;;) {
            const HWND window = FindWindowW(simulators::ArchiveWindow::className, nullptr);
            const HWND tree =
                window == nullptr ? nullptr : FindWindowExW(window, nullptr, WC_TREEVIEWW, nullptr);
            if (tree != nullptr && IsWindowVisible(window) != FALSE &&
                SendMessageW(tree, TVM_GETCOUNT, 0, 0) > 0) {
                break;
            }
            if (WaitForSingleObject(process.hProcess, 1) == WAIT_OBJECT_0) {
                throw std::runtime_error("the simulator has ended");
            }
        }
    });
    PostMessageW(FindWindowW(simulators::ArchiveWindow::className, nullptr), WM_CLOSE, 0, 0);
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return time;
}

void Benchmarks::LargeArchive() {
    // The first opening reads every entry's file and leaves an index for the following ones.
    Row first;
    first.name = "first window of an archive of 100 000 entries, in seconds";
    first.unit = "us";
    first.subject = TimeToWindow(options_.simulator, options_.large);
    first.floor = TimeToWindow(options_.simulator, options_.small);
    first.median = first.lower = first.upper = first.subject / 1e6;
    Add(first, Row::Aim::Shown, 0);
    Row window = ComparedTimes(
        "window of an archive of 100 000 entries / of an empty one", Rounds(3),
        [&] { return TimeToWindow(options_.simulator, options_.large); },
        [&] { return TimeToWindow(options_.simulator, options_.small); });
    Add(window, Row::Aim::AtMost, 1.5);
    window.name = "window of an archive of 100 000 entries, in seconds";
    window.median = window.subject / 1e6;
    window.lower = window.lower * window.floor / 1e6;
    window.upper = window.upper * window.floor / 1e6;
    Add(window, Row::Aim::AtMost, 1.0);

    simulators::ArchiveStore large(simulators::FromUtf8(options_.large));
    simulators::ArchiveStore small(simulators::FromUtf8(options_.small));
    const std::wstring document = (fs::path(options_.directory) / "Platzhalter.pdf").wstring();
    const auto filing = [&](simulators::ArchiveStore& store) {
        return [&store, &document, folder = *store.CreateFolders(L"\u00b6Sesam\u00b6Muster\u00b6Kredi")] {
            simulators::Entry entry;
            entry.folder = folder;
            entry.mask = 2;
            entry.shortName = L"Miete";
            for (std::int16_t line = 1; line <= 7; ++line) {
                entry.fields[line] = L"Wert";
            }
            store.File(std::move(entry), store.AddToPostbox(document, L"anna"));
        };
    };
    Add(Compared("filing into an archive of 100 000 entries / into an empty one", Rounds(options_.rounds), 20,
                 filing(large), filing(small)),
        Row::Aim::AtMost, 1.5);
}

}  // namespace

}  // namespace kandora::benchmarks

int main(int argc, char** argv) {
    using namespace kandora::benchmarks;
    try {
        Options options;
        CLI::App app("Measures what the component adds to the calls that it has to make.");
        app.add_option("--directory", options.directory, "folder for INI file, log and scripts");
        app.add_option("--component", options.component, "the DLL to measure");
        app.add_option("--empty", options.empty, "an empty COM DLL");
        app.add_option("--only", options.only, "only the groups whose names hold this text");
        app.add_option("--rounds", options.rounds, "rounds per figure");
        app.add_option("--table", options.table, "writes the figures to this file");
        app.add_option("--curve", options.curve, "appends the searches' times to this file");
        app.add_option("--simulator", options.simulator, "the archive simulator");
        app.add_option("--large", options.large, "a store with many entries");
        app.add_option("--small", options.small, "a store without entries");
        app.add_option("--load", options.load, "loads this DLL once and tells the time");
        app.add_flag("--quick", options.isQuick, "few rounds and small searches, to try the program out");
        CLI11_PARSE(app, argc, argv);
        if (!options.load.empty()) {
            LoadOnce(options.load);
            return 0;
        }
        Benchmarks benchmarks(options);
        benchmarks.Run();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
