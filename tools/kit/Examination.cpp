#include "tools/kit/Examination.h"

#include <algorithm>
#include <array>
#include <utility>

#include "interfaces/CodePages.h"
#include "tools/check/CheckCommandLine.h"
#include "tools/kit/SampleSite.h"
#include "tools/kit/Wording.h"

namespace kandora::kit {

namespace {

constexpr DWORD graceOfServers =
    15'000;  // milliseconds; what COM has started stays a while after its last client

struct KnownPart {
    const wchar_t* name;
    const wchar_t* meaning;
};
constexpr std::array<KnownPart, 3> parts{{
    {part::year, L"ein Jahr Belege ablegen, Archiv und Mandantendatei vergleichen"},
    {part::package, L"das Paket installieren, prüfen, erneuern, reparieren, entfernen"},
    {part::measurements, L"messen, was Aufrufe, Anfragen und Suchen kosten"},
}};

std::int64_t SecondsOf(const Plan& plan, const Text& name) {
    const auto found = plan.partSeconds.find(name);
    return found == plan.partSeconds.end() ? 0 : found->second;
}

std::vector<RegistryPlace> ClassPlaces(const Kit& kit, const std::vector<Text>& keys) {
    std::vector<RegistryPlace> places;
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        if (root == HKEY_LOCAL_MACHINE && !kit.isForMachine) {
            continue;
        }
        for (const REGSAM view :
             {static_cast<REGSAM>(KEY_WOW64_64KEY), static_cast<REGSAM>(KEY_WOW64_32KEY)}) {
            for (const Text& key : keys) {
                places.push_back({root, view, L"Software\\Classes\\" + key});
            }
            places.push_back({root, view, L"Software\\Kandora"});
        }
    }
    return places;
}

const wchar_t* WordOf(Needs needs) {
    switch (needs) {
    case Needs::Nothing:
        return L"";
    case Needs::Registrations:
        return L", trägt Klassen ein";
    default:
        return L", braucht Administratorrechte";
    }
}

}  // namespace

Examination::Examination(Kit& kit, const KitCommandLine& options, KitReport& report, Pledges& pledges)
    : kit_(kit), options_(options), report_(report), pledges_(pledges), judge_(kit.plan),
      foreign_(ForeignServer()) {}

void Examination::Run() {
    std::vector<Piece> pieces = Chosen();
    FindObstacles(pieces);
    Announce(pieces);
    Ask(pieces);
    KeepWhatIs(pieces);
    fs::create_directories(kit_.work / L"Temp");
    const std::int64_t count =
        std::ranges::count_if(pieces, [](const Piece& each) { return each.obstacle.empty(); });
    std::int64_t number = 0;
    for (const Piece& piece : pieces) {
        kit_.interruption.ThrowWhenRaised();
        if (piece.obstacle.empty()) {
            Do(piece, ++number, count);
        } else {
            Tell({piece.name, Verdict::LeftOut, piece.obstacle, 0, {}, 0, {}});
        }
    }
    if (options_.only.empty()) {
        for (const OmittedTest& omitted : kit_.plan.omitted) {
            report_.Add({omitted.name, Verdict::LeftOut, omitted.reason, 0, {}, 0, {}});
        }
        kit_.screen.Line(
            Counted(static_cast<std::int64_t>(kit_.plan.omitted.size()), L"Test", L"Tests") +
            L" der Entwickler gehören nicht zu diesem Prüfpaket; der Bericht nennt sie mit Grund.");
    }
}

bool Examination::IsChosen(const Text& name) const {
    return options_.only.empty() || std::ranges::count(options_.only, name) > 0;
}

std::vector<Examination::Piece> Examination::Chosen() const {
    std::vector<Piece> pieces;
    for (const PlannedTest& test : kit_.plan.tests) {
        pieces.push_back({test.name, test.needs, test.seconds, &test, {}});
    }
    for (const KnownPart& each : parts) {
        pieces.push_back({each.name, Needs::Registrations, SecondsOf(kit_.plan, each.name), nullptr, {}});
    }
    for (const Text& name : options_.only) {
        if (std::ranges::count(pieces, name, &Piece::name) == 0) {
            throw check::UsageError(L"Unbekannter Test «" + name + L"»; pruefen --list zählt alle auf.");
        }
    }
    std::erase_if(pieces, [this](const Piece& piece) { return !IsChosen(piece.name); });
    return pieces;
}

void Examination::FindObstacles(std::vector<Piece>& pieces) const {
    const bool isElevated = IsElevated();
    const bool isInstalled = !InstalledProducts(kit_.plan.package.upgradeCode).empty();
    for (Piece& piece : pieces) {
        if (piece.needs != Needs::Nothing && foreign_) {
            piece.obstacle = L"auf diesem Rechner dient ein anderes Programm als «" + *foreign_ +
                             L"»; es bleibt unberührt";
        } else if (piece.needs == Needs::Rights && !isElevated) {
            piece.obstacle = L"braucht Administratorrechte";
        } else if (piece.name == part::package && options_.withoutPackage) {
            piece.obstacle = L"so gewünscht (--without-package)";
        } else if (piece.name == part::package && isInstalled) {
            piece.obstacle = L"Kandora ist auf diesem Rechner schon installiert und bleibt es";
        } else if (piece.name == part::measurements && options_.withoutMeasurements) {
            piece.obstacle = L"so gewünscht (--without-measurements)";
        }
    }
}

void Examination::Announce(const std::vector<Piece>& pieces) const {
    std::int64_t seconds = 0;
    std::int64_t count = 0;
    for (const Piece& piece : pieces) {
        if (piece.obstacle.empty()) {
            seconds += piece.seconds;
            ++count;
        }
    }
    kit_.screen.Line(L"Kandora " + kit_.plan.version + L" (" + kit_.plan.architecture + L"): " +
                     Counted(count, L"Prüfung", L"Prüfungen") + L", " + RoughTime(seconds) + L".");
    kit_.screen.Line(
        L"Dabei gehen Fenster auf und wieder zu; Maus und Tastatur bitte ruhen lassen. Ctrl+C bricht ab "
        L"und gibt alles zurück.");
}

bool Examination::WillTryPackage(const std::vector<Piece>& pieces) {
    return std::ranges::any_of(
        pieces, [](const Piece& piece) { return piece.name == part::package && piece.obstacle.empty(); });
}

void Examination::Ask(std::vector<Piece>& pieces) {
    const auto drop = [&](const Text& reason, const auto& isMeant) {
        for (Piece& piece : pieces) {
            if (piece.obstacle.empty() && isMeant(piece)) {
                piece.obstacle = reason;
            }
        }
    };
    const auto agrees = [this](const Text& question) { return options_.yes || kit_.screen.Asks(question); };
    const auto registers = [](const Piece& piece) { return piece.needs != Needs::Nothing; };
    // With administrators' rights COM sees the machine's registrations alone.
    if (IsElevated() && std::ranges::any_of(pieces, [&](const Piece& piece) {
            return registers(piece) && piece.obstacle.empty();
        })) {
        kit_.isForMachine = agrees(L"Darf die Prüfung Kandora und die Nachbildungen von Archiv und "
                                   L"Finanzbuchhaltung vorübergehend für "
                                   L"den ganzen Rechner eintragen?");
        if (!kit_.isForMachine) {
            drop(L"die Registrierung des Rechners soll unberührt bleiben", registers);
        }
    }
    if (WillTryPackage(pieces) && !agrees(Text(L"Darf die Prüfung das Paket ") +
                                          (kit_.isForMachine ? L"für den Rechner" : L"für den Benutzer") +
                                          L" installieren und wieder entfernen?")) {
        drop(L"das Paket soll nicht installiert werden",
             [](const Piece& piece) { return piece.name == part::package; });
    }
}

void Examination::KeepWhatIs(const std::vector<Piece>& pieces) {
    std::vector<Text> keys = kit_.plan.classKeys;
    std::ranges::move(StandInKeys(), std::back_inserter(keys));
    std::vector<RegistryPlace> places;
    for (const Piece& piece : pieces) {
        if (piece.needs != Needs::Nothing && piece.obstacle.empty()) {
            places = ClassPlaces(kit_, keys);
        }
    }
    for (const Piece& piece : pieces) {
        if (piece.name == part::year && piece.obstacle.empty()) {
            places.push_back(FormatsOfUser());
        }
    }
    if (!places.empty()) {
        pledges_.KeepRegistry(places);
    }
}

void Examination::Do(const Piece& piece, std::int64_t number, std::int64_t count) {
    const Text place = L"[" + Decimal(number) + L"/" + Decimal(count) + L"] ";
    kit_.screen.Progress(place + piece.name);
    Tell(piece.test != nullptr ? RunTest(*piece.test, place) : RunPart(piece.name));
    // Not even a program that COM has started outlives its test.
    EndProgramsOf(kit_.folder, graceOfServers);
}

Result Examination::RunTest(const PlannedTest& test, const Text& place) {
    Call call;
    call.program = (kit_.folder / test.program).make_preferred();
    call.arguments = test.arguments;
    call.environment = kit_.Environment();
    call.environment.insert(call.environment.end(), test.environment.begin(), test.environment.end());
    call.output = kit_.work / (test.name + L".log");
    call.limit = test.limit;
    const EndedProgram ended = RunToEnd(call, kit_.interruption, [&](std::string_view output) {
        const CourseOfRun course = CourseOf(output);
        kit_.screen.Progress(place + test.name + L": " + Decimal(course.begun) + L" von " +
                             Decimal(course.listed) + L", " + TextFromUtf8(course.current));
    });
    if (ended.way == EndedProgram::Way::Interrupted) {
        throw Interrupted();
    }
    Outcome outcome = judge_.Of(test, ended.output, ended.IsGood());
    const Text end = ended.Told();
    if (!outcome.HasPassed() && !end.empty()) {
        outcome.complaints.insert(outcome.complaints.begin(), end);
    }
    Result result{test.name, Verdict::Passed, {}, 0, outcome.counts, ended.seconds, {}};
    result.cases = static_cast<std::int64_t>(outcome.Names(CaseEnd::Passed).size());
    const std::vector<std::string> leftOut = outcome.Names(CaseEnd::LeftOut);
    if (!outcome.HasPassed()) {
        result.verdict = Verdict::Failed;
        result.told = outcome.Told();
        result.log = ended.output;
    } else if (!leftOut.empty()) {
        result.told = L"ohne " + TextFromUtf8(leftOut.front()) +
                      (leftOut.size() > 1
                           ? L" und " + Decimal(static_cast<std::int64_t>(leftOut.size() - 1)) + L" weitere"
                           : L"");
    }
    return result;
}

Result Examination::RunPart(const Text& name) {
    Steps steps(kit_, name);
    Result result{name, Verdict::Passed, {}, 0, {}, 0, {}};
    const ULONGLONG begun = GetTickCount64();
    try {
        result.told = name == part::year      ? FileTheYear(kit_, judge_, steps)
                      : name == part::package ? TryThePackage(kit_, pledges_, steps)
                                              : Measure(kit_, steps);
    } catch (const StepFailure& failure) {
        result.verdict = Verdict::Failed;
        result.told = failure.Message();
    } catch (const KitFailure& failure) {
        result.verdict = Verdict::Failed;
        result.told = failure.Message();
    } catch (const std::exception& error) {
        result.verdict = Verdict::Failed;
        result.told = L"Unerwarteter Fehler: " + TextFromUtf8(error.what());
    }
    result.seconds = static_cast<double>(GetTickCount64() - begun) / 1000;
    // What a part says is worth reading when it has passed, too.
    result.log = steps.Log();
    return result;
}

void Examination::Tell(Result result) {
    kit_.screen.Line(LineOf(result));
    report_.Add(std::move(result));
}

std::vector<Text> ListOf(const Plan& plan) {
    std::vector<Text> lines;
    for (const PlannedTest& test : plan.tests) {
        lines.push_back(test.name + L": " + Counted(test.cases, L"Fall", L"Fälle") + L", " +
                        RoughTime(test.seconds) + WordOf(test.needs));
    }
    for (const KnownPart& each : parts) {
        lines.push_back(Text(each.name) + L": " + each.meaning + L", " +
                        RoughTime(SecondsOf(plan, each.name)));
    }
    lines.emplace_back();
    lines.emplace_back(L"Nicht im Prüfpaket:");
    for (const OmittedTest& omitted : plan.omitted) {
        lines.push_back(L"  " + omitted.name + L": " + omitted.reason);
    }
    return lines;
}

}  // namespace kandora::kit
