#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "automation/LateBound.h"
#include "benchmarks/Figures.h"
#include "benchmarks/RecordedRequests.h"
#include "interfaces/Apartment.h"

// What a late-bound call costs beside a bare one, in this process and out of it, and beside a script's.
namespace kandora::benchmarks {

namespace {

namespace fs = std::filesystem;

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

}  // namespace

void MeasureCalls(Figures& figures) {
    const Apartment apartment;
    {
        cost_tests::QuietObject quiet;
        quiet.Answers(L"getobjAttrib", L"4711");  // a text, as index fields are
        const LateBound object(&quiet);
        const DISPID id = IdOf(&quiet, L"getobjAttrib");
        figures.Add(Compared(
                        "late-bound call in process / bare Invoke",
                        shortRounds * figures.Rounds(figures.Given().rounds), 5000,
                        [&] { LateBoundCall(object); }, [&] { BareCall(&quiet, id); }),
                    Row::Aim::AtMost, 1.25);
    }
    const ComPtr<IDispatch> archive = Registered(ClassOf(L"ELO.professional"));
    const LateBound object(archive.Get());
    const DISPID id = IdOf(archive.Get(), L"getobjAttrib");
    const int calls = figures.Given().isQuick ? 200 : 1000;
    figures.Add(Compared(
                    "late-bound call out of process / bare Invoke", figures.Rounds(figures.Given().rounds),
                    calls, [&] { LateBoundCall(object); }, [&] { BareCall(archive.Get(), id); }),
                Row::Aim::AtMost, 1.05);
    figures.Add(Compared(
                    "asking the id before every call / late-bound call",
                    figures.Rounds(figures.Given().rounds), calls,
                    [&] { BareCall(archive.Get(), IdOf(archive.Get(), L"getobjAttrib")); },
                    [&] { LateBoundCall(object); }),
                Row::Aim::AtLeast, 1.9);

    // The script tells how long its loop took, in seconds.
    const fs::path script = fs::path(figures.Given().directory) / "loop.vbs";
    std::ofstream(script) << "Set archive = CreateObject(\"ELO.professional\")\r\n"
                             "line = 1\r\nbegin = Timer\r\nFor i = 1 To "
                          << calls
                          << "\r\nvalue = archive.getobjAttrib(line)\r\nNext\r\n"
                             "WScript.Echo Replace(CStr(Timer - begin), \",\", \".\")\r\n";
    const std::string command = "cscript.exe //nologo \"" + script.string() + "\"";
    const auto scripted = [&] {
        const double seconds = NumberToldBy(command);
        if (seconds <= 0) {
            throw std::runtime_error("the script did not run");
        }
        return seconds * 1e6 / calls;
    };
    figures.Add(ComparedTimes("the same loop in VBScript / late-bound call", figures.Rounds(5), scripted,
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

}  // namespace kandora::benchmarks
