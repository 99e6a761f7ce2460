#include <array>
#include <filesystem>
#include <iostream>

#include "benchmarks/Figures.h"
#include "benchmarks/RecordedRequests.h"
#include "interfaces/Apartment.h"

// What a request costs beside the calls that it has to make, and what stays of many of them.
namespace kandora::benchmarks {

namespace fs = std::filesystem;
using cost_tests::MetaData;
using cost_tests::Surroundings;
using cost_tests::Workbench;

namespace {

struct Request {
    std::string name;
    std::function<void()> send;
    double limit = 0;
    std::size_t begin = 0;
    std::size_t end = 0;
};

void MeasureTracedLine(Figures& figures, Workbench& bench) {
    const BSTR docId = SysAllocString(L"20261120093000");
    const MetaData general(L"1001", L"1", L"4711");
    bench.SetTracing(true);
    const auto provider = bench.NewProvider();
    Init(*provider);
    const std::string line = "20.11.2026 09.30.00 | DMSProvider_SetDocumentStatus  [20261120093000]  [[, , "
                             "1001, 1, 4711]]\r\n";
    const fs::path log = fs::path(figures.Given().directory) / "bare.log";
    figures.Add(Compared(
                    "a traced request line / open, write, close", figures.Rounds(figures.Given().rounds), 500,
                    [&] { provider->SetDocumentStatus(docId, general.Value()); },
                    [&] {
                        const HANDLE handle =
                            CreateFileW(log.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                        nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
                        DWORD written = 0;
                        WriteFile(handle, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
                        CloseHandle(handle);
                    }),
                Row::Aim::AtMost, 1.20);
    bench.SetTracing(false);
    Init(*provider);
    SysFreeString(docId);
}

/// The process's private memory that is committed.
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

}  // namespace

void MeasureRequests(Figures& figures, Surroundings surroundings) {
    const bool isQuiet = surroundings == Surroundings::Quiet;
    const std::string where = PlaceOf(surroundings);
    const fs::path folder = figures.Given().directory;
    Workbench bench(figures.Given().component, folder, surroundings);
    Conversation conversation(MakerFor(bench, surroundings));

    ComPtr<DMSProvider> provider;
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
        provider.Reset();
    }

    const Apartment apartment;
    provider = bench.NewProvider();
    init();
    conversation.SayAgain(0, requests.back().end, false);
    const int repeat = isQuiet ? 200 : figures.Given().isQuick ? 2 : 5;
    const std::string file = (folder / "Kandora.ini").string();
    for (const Request& request : requests) {
        for (const bool askingIds : {false, true}) {
            const auto floor = [&] {
                if (request.name == "InitProvider") {
                    std::array<char, 1000> buffer{};
                    for (const cost_tests::Key& key : cost_tests::Keys()) {
                        GetPrivateProfileStringA(key.section, key.name, "", buffer.data(),
                                                 static_cast<DWORD>(buffer.size()), file.c_str());
                    }
                }
                conversation.SayAgain(request.begin, request.end, askingIds);
            };
            const std::string than = askingIds ? " / its calls and id questions" : " / its bare calls";
            const Row row = Compared(request.name + than + where, figures.Rounds(figures.Given().rounds),
                                     repeat, request.send, floor);
            const bool counts = !isQuiet && !askingIds;
            figures.Add(row, counts ? Row::Aim::AtMost : Row::Aim::Shown, request.limit);
        }
        std::cout << "    " << conversation.Calls(request.begin, request.end) << " calls, "
                  << conversation.Questions(request.begin, request.end) << " id questions\n";
    }

    if (isQuiet) {
        MeasureTracedLine(figures, bench);
    }
    provider.Reset();
    MeasureSearches(figures, bench, surroundings);
    SysFreeString(docId);
    conversation.Release();
}

void MeasureMemory(Figures& figures) {
    Workbench bench(figures.Given().component, figures.Given().directory);
    const Apartment apartment;
    const auto provider = bench.NewProvider();
    Init(*provider);
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
    row.subject = send(figures.Given().isQuick ? 9000 : 99000);
    row.median = row.lower = row.upper = row.subject / row.floor;
    figures.Add(row, Row::Aim::AtMost, 1.0);
    SysFreeString(docId);
}

}  // namespace kandora::benchmarks
