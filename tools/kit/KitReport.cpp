#include "tools/kit/KitReport.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include <windows.h>

#include <nlohmann/json.hpp>

#include "interfaces/CodePages.h"
#include "tools/kit/Judge.h"
#include "tools/kit/Wording.h"

namespace kandora::kit {

namespace {

/// Of a log that is longer, the beginning and the end.
constexpr std::size_t keptAtBeginning = 20'000;
constexpr std::size_t keptAtEnd = 180'000;

struct Word {
    Verdict verdict;
    const wchar_t* word;
};
constexpr std::array<Word, 3> words{
    {{Verdict::Passed, L"bestanden"}, {Verdict::Failed, L"GESCHEITERT"}, {Verdict::LeftOut, L"ausgelassen"}}};

const wchar_t* WordOf(Verdict verdict) {
    return std::ranges::find(words, verdict, &Word::verdict)->word;
}

struct EndingWord {
    Ending ending;
    const wchar_t* word;
};
constexpr std::array<EndingWord, 3> endingWords{{{Ending::Complete, L"vollständig"},
                                                 {Ending::Interrupted, L"abgebrochen"},
                                                 {Ending::NotGivenBack, L"nicht alles zurückgegeben"}}};

const wchar_t* WordOf(Ending ending) {
    return std::ranges::find(endingWords, ending, &EndingWord::ending)->word;
}

Text Padded(Text text, std::size_t width) {
    text.resize(std::max(text.size(), width), L' ');
    return text;
}

std::string Shortened(const std::string& log) {
    if (log.size() <= keptAtBeginning + keptAtEnd) {
        return log;
    }
    return log.substr(0, keptAtBeginning) + "\n[...]\n" + log.substr(log.size() - keptAtEnd);
}

/// Programs of Windows write in the ANSI code page, ours in UTF-8, and a log has both.
std::string AsUtf8(const std::string& log) {
    std::string result;
    for (const std::string_view line : LinesOf(log)) {
        const auto length = static_cast<int>(line.size());
        const bool isUtf8 = line.empty() || MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, line.data(),
                                                                length, nullptr, 0) > 0;
        result += isUtf8 ? std::string(line) : Utf8FromText(TextFromAnsi(line));
        result += '\n';
    }
    return result;
}

/// Whatever a program printed, with one kind of line ends.
std::string WithWindowsLineEnds(const std::string& text) {
    std::string result;
    result.reserve(text.size() + text.size() / 16);
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\n' && (at == 0 || text[at - 1] != '\r')) {
            result += '\r';
        }
        result += text[at];
    }
    return result;
}

std::string Headline(const Text& text) {
    return "\n==== " + Utf8FromText(text) + " ====\n";
}

}  // namespace

Text LineOf(const Result& result) {
    Text line = Padded(WordOf(result.verdict), 12) + Padded(result.name, 28);
    if (result.verdict == Verdict::LeftOut) {
        return line + L" " + result.told;
    }
    line += Padded(result.cases > 0 ? L" " + Counted(result.cases, L"Fall", L"Fälle") : L"", 12);
    line += L" " + Seconds(result.seconds);
    return result.told.empty() ? line : line + L": " + result.told;
}

KitReport::KitReport(const Plan& plan, std::vector<Fact> facts)
    : title_(L"Prüfbericht Kandora " + plan.version + L" (" + plan.architecture + L")"),
      version_(plan.version), architecture_(plan.architecture), begun_(Now()), facts_(std::move(facts)),
      start_(GetTickCount64()) {}

std::size_t KitReport::Count(Verdict verdict) const {
    return static_cast<std::size_t>(std::ranges::count(results_, verdict, &Result::verdict));
}

int KitReport::ExitCode() const {
    if (ending_ != Ending::Complete || Count(Verdict::Passed) + Count(Verdict::Failed) == 0) {
        return 2;
    }
    return Count(Verdict::Failed) > 0 ? 1 : 0;
}

Text KitReport::Summary() const {
    const auto number = [this](Verdict verdict) {
        return Decimal(static_cast<std::int64_t>(Count(verdict)));
    };
    const std::int64_t cases =
        std::accumulate(results_.begin(), results_.end(), std::int64_t{0},
                        [](std::int64_t sum, const Result& result) { return sum + result.cases; });
    return L"Ergebnis: " + number(Verdict::Passed) + L" bestanden, " + number(Verdict::Failed) +
           L" gescheitert, " + number(Verdict::LeftOut) + L" ausgelassen; " +
           Counted(cases, L"Fall", L"Fälle") + L"; " +
           ClockTime(static_cast<double>(GetTickCount64() - start_) / 1000) +
           (ending_ == Ending::Complete ? Text() : L"; " + Text(WordOf(ending_)));
}

std::string KitReport::Text8() const {
    std::string text =
        Utf8FromText(title_) + "\n" + Utf8FromText(L"Begonnen " + begun_ + L"\n" + Summary()) + "\n";
    for (const Text& remark : remarks_) {
        text += Utf8FromText(remark) + "\n";
    }
    text += Headline(L"Dieses Windows");
    for (const Fact& fact : facts_) {
        text += Utf8FromText(Padded(fact.name, 16) + fact.value) + "\n";
    }
    text += Headline(L"Ergebnisse");
    for (const Result& result : results_) {
        text += Utf8FromText(LineOf(result)) + "\n";
    }
    for (const Result& result : results_) {
        if (!result.log.empty()) {
            text += Headline(result.name + L": Protokoll") + AsUtf8(Shortened(result.log));
        }
    }
    // A byte order mark: mail programs and editors guess otherwise.
    return "\xEF\xBB\xBF" + WithWindowsLineEnds(text + "\n" + jsonMark + "\n" + Json() + "\n");
}

std::string KitReport::Json() const {
    using nlohmann::ordered_json;
    ordered_json facts = ordered_json::object();
    for (const Fact& fact : facts_) {
        facts[Utf8FromText(fact.name)] = Utf8FromText(fact.value);
    }
    ordered_json results = ordered_json::array();
    for (const Result& result : results_) {
        results.push_back({{"name", Utf8FromText(result.name)},
                           {"ergebnis", Utf8FromText(LowerCase(WordOf(result.verdict)))},
                           {"faelle", result.cases},
                           {"zahlen", result.counts},
                           {"sekunden", result.seconds},
                           {"hinweis", Utf8FromText(result.told)}});
    }
    ordered_json remarks = ordered_json::array();
    for (const Text& remark : remarks_) {
        remarks.push_back(Utf8FromText(remark));
    }
    const ordered_json whole{{"programm", "pruefen"},
                             {"version", Utf8FromText(version_)},
                             {"architektur", Utf8FromText(architecture_)},
                             {"begonnen", Utf8FromText(begun_)},
                             {"ende", Utf8FromText(WordOf(ending_))},
                             {"code", ExitCode()},
                             {"windows", facts},
                             {"bemerkungen", remarks},
                             {"ergebnisse", results}};
    return whole.dump(1, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace kandora::kit
