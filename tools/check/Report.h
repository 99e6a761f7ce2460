#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "automation/Text.h"
#include "tools/check/Reconciled.h"

namespace kandora::check {

enum class Verdict { Good, Warning, Failure };

/// What one check found.
struct Finding {
    const wchar_t* area = L"";
    Text name;
    Verdict verdict = Verdict::Good;
    Text value;  ///< what was looked at; may be empty
    Text hint;   ///< what to do about it; empty when there is nothing to do
};

/// One index field that a filing would write.
struct PreviewedField {
    std::int16_t line = 0;
    Text key;
    std::optional<Text> value;  ///< none when the host tells it only with its request
};

/// What a filing of one voucher would write.
struct Preview {
    Text number;
    Text index;
    Text kind;
    Text folder;
    std::int32_t mask = 0;
    Text title;
    Text document;
    std::vector<PreviewedField> fields;
};

/// The findings in the order in which they were made.
class Report {
public:
    /// Every finding goes to `onFinding` at once, so that the user sees how far the checks are.
    explicit Report(std::function<void(const Finding&)> onFinding) : onFinding_(std::move(onFinding)) {}

    void Good(const wchar_t* area, const Text& name, const Text& value, const Text& hint = {}) {
        Add({area, name, Verdict::Good, value, hint});
    }
    void Warn(const wchar_t* area, const Text& name, const Text& value, const Text& hint) {
        Add({area, name, Verdict::Warning, value, hint});
    }
    void Fail(const wchar_t* area, const Text& name, const Text& value, const Text& hint) {
        Add({area, name, Verdict::Failure, value, hint});
    }

    void Add(Finding finding);

    [[nodiscard]] std::size_t Count(Verdict verdict) const;
    /// 0 all good, 1 warnings, 2 failures; with comparisons only what they say counts.
    [[nodiscard]] int ExitCode() const;
    /// The last line for a reader.
    [[nodiscard]] Text Summary() const;
    /// Everything as JSON in UTF-8.
    [[nodiscard]] std::string Json() const;

    Text component;  ///< file that was checked
    std::optional<Preview> preview;
    std::vector<Reconciled> reconciled;
    bool isOfSeveralClients = false;  ///< the comparisons are a list, however many there are

private:
    std::function<void(const Finding&)> onFinding_;
    std::vector<Finding> findings_;
};

/// One line for a reader.
Text LineOf(const Finding& finding);

/// One line to the standard output, or to the one for errors: UTF-16 to a console, UTF-8 to a file or pipe.
void PrintLine(TextView line);
void PrintErrorLine(TextView line);

}  // namespace kandora::check
