#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "automation/Text.h"
#include "tests/model/Ledger.h"
#include "tests/model/Steps.h"

namespace kandora::model_tests {

/// What a text may be: usually one thing, several after a disturbance.
using Possible = std::set<Text>;

struct ExpectedEntry {
    int mask = 0;
    Text folder;
    Possible title;
    std::map<Text, Possible> fields;  ///< by name
};

enum Kind : std::uint8_t { voucher, debtor, creditor };

/// Everything that outlives a request.
struct Expectation {
    std::vector<ExpectedEntry> entries;  ///< in the order of filing
    std::set<Text> folders;
    std::map<std::size_t, std::map<int, Text>> options;
    std::map<Kind, std::map<Text, Possible>> records;  ///< what the component keeps of its last documents
    bool isReady = false;                              ///< the settings were read
};

/// What a request does when nothing disturbs it.
struct Outcome {
    Expectation after;
    int boxes = 0;
};

/// Mistakes in the model, to show that the runs find them.
enum class Mistake : std::uint8_t {
    None,
    EditClearsBarcode,
    RecordsAreFresh,
    SearchIgnoresIndex,
    DeleteNeedsNoBooking,
    SaveNeedsNoBarcode,
    SearchBeginsWithDebtors,
    ClientsDoNotMeet,
};

/// What the archive must hold after each request, derived from the requests and the accounting's data alone.
class Model {
public:
    Model(const Ledger& ledger, Mistake mistake) : ledger_(ledger), mistake_(mistake) {}

    /// A request's outcome from where things stand.
    [[nodiscard]] Outcome Expected(const Step& step, const Expectation& before) const;
    /// The other possible outcomes when the archive's session is lost on the way: the search in progress
    /// finds nothing more. One for each choice of searches that this can happen to.
    [[nodiscard]] std::vector<Expectation> AfterVainSearches(const Step& step,
                                                             const Expectation& before) const;

    /// Names of the fields of a mask, in the order of its lines.
    static const std::vector<Text>& FieldsOf(int mask);

private:
    class Run;

    const Ledger& ledger_;
    Mistake mistake_;
};

/// The booking that a step's number means: those of the client in use, and beyond them one that it does not
/// have.
Booking BookingOf(const Ledger& ledger, int which);

}  // namespace kandora::model_tests
