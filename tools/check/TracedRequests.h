#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/Text.h"
#include "tools/check/Reconciled.h"

namespace kandora::check {

/// A request that the component has traced.
struct TracedRequest {
    enum class Kind { Save, Change, Delete };

    Kind kind = Kind::Save;
    Identity identity;
    Text time;  ///< "15.11.2026 01.12.58"
    Text file;  ///< name of the log
    std::int64_t line = 0;

    /// "SaveDocument" and its like.
    [[nodiscard]] const wchar_t* Name() const noexcept;
    /// Orders as the time does.
    [[nodiscard]] Text SortableTime() const;
};

/// What the logs tell: of each voucher its latest request, and what could not be read.
class TracedRequests {
public:
    /// For the requests of a client, as the host names it. Whether the host names clients in its requests is
    /// its own affair: where none of them names this one, all of them count.
    explicit TracedRequests(Text client) : client_(std::move(client)) {}

    /// Reads every log of a folder. Stops when it is told to.
    void ReadFolder(const Text& folder, const std::function<bool()>& isInterrupted);
    /// Reads one log, piece by piece: `next` gives the following bytes, and none at the end.
    void ReadLog(const Text& name, const std::function<std::string()>& next);

    /// Vouchers that must have an entry: saved or changed with a barcode, and not deleted since.
    [[nodiscard]] std::vector<const TracedRequest*> Filed() const;
    /// Deletions after which nothing was filed again.
    [[nodiscard]] std::vector<const TracedRequest*> Deleted() const;
    /// The barcode that was told of a voucher with this document id; empty when none was.
    [[nodiscard]] Text BarcodeOf(const Identity& identity) const;

    /// What could not be read: German sentences.
    [[nodiscard]] const std::vector<Text>& Complaints() const noexcept { return complaints_; }

private:
    using Vouchers = std::map<std::pair<Text, Text>, TracedRequest>;  ///< by number and index

    class Reader;

    struct Ledger {
        Vouchers latest;    ///< of those that file or delete
        Vouchers barcodes;  ///< of those that told a barcode
        std::map<Text, TracedRequest> latestOfDocId;

        void Note(const TracedRequest& request);
    };

    void Note(const TracedRequest& request, bool isOwn);
    [[nodiscard]] const Ledger& Counting() const { return own_.latestOfDocId.empty() ? all_ : own_; }

    Text client_;
    Ledger own_;  ///< of the requests that name the client
    Ledger all_;  ///< as long as none names the client
    std::vector<Text> complaints_;
};

}  // namespace kandora::check
