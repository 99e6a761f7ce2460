#include "tools/check/TracedRequests.h"

#include <algorithm>
#include <array>
#include <optional>

#include <windows.h>

#include "tools/check/Handle.h"
#include "tools/check/Wording.h"

namespace kandora::check {

namespace {

/// A request's name in the log, and what it is.
struct RequestName {
    TracedRequest::Kind kind;
    std::string_view traced;
    const wchar_t* name;
};

constexpr auto requestNames = std::to_array<RequestName>({
    {TracedRequest::Kind::Save, "DMSProvider_SaveDocument", L"SaveDocument"},
    {TracedRequest::Kind::Change, "DMSProvider_DocumentChanged", L"DocumentChanged"},
    {TracedRequest::Kind::Delete, "DMSProvider_DeleteDocument", L"DeleteDocument"},
});

constexpr std::string_view timePattern = "00.00.0000 00.00.00 | ";
constexpr std::size_t timeLength = 19;
/// Elements of the host's metadata. What the host means by the second one is its own affair; it may name the
/// client.
constexpr std::size_t clientElement = 1;
constexpr std::size_t numberElement = 2;
constexpr std::size_t indexElement = 3;
constexpr std::size_t barcodeElement = 4;
/// No line that the component writes is so long.
constexpr std::size_t longestRecord = 1 << 20;

/// Whether a line begins as the component begins each.
bool BeginsWithTime(std::string_view line) {
    return line.size() >= timePattern.size() &&
           std::ranges::equal(timePattern, line.substr(0, timePattern.size()), [](char wanted, char found) {
               return wanted == '0' ? found >= '0' && found <= '9' : wanted == found;
           });
}

std::vector<Text> SplitAt(TextView separator, TextView list) {
    std::vector<Text> elements;
    for (std::size_t end = list.find(separator); end != TextView::npos; end = list.find(separator)) {
        elements.emplace_back(list.substr(0, end));
        list = list.substr(end + separator.size());
    }
    elements.emplace_back(list);
    return elements;
}

/// The values of a record, each as it stands in its brackets; none when the record is not whole.
std::optional<std::vector<Text>> ValuesIn(TextView text) {
    constexpr TextView opening = L"  [";
    constexpr TextView between = L"]  [";
    if (!text.starts_with(opening) || !text.ends_with(L']')) {
        return std::nullopt;
    }
    text = text.substr(opening.size(), text.size() - opening.size() - 1);
    return SplitAt(between, text);
}

/// The elements of a list; none when the text is not one. Only the client's name may hold what separates
/// them.
std::optional<std::vector<Text>> ElementsOf(TextView list, const Text& client) {
    if (list.size() < 2 || !list.starts_with(L'[') || !list.ends_with(L']')) {
        return std::nullopt;
    }
    list = list.substr(1, list.size() - 2);
    const Text named = L", " + client + L", ";
    const std::size_t found = client.empty() ? TextView::npos : list.find(named);
    if (found == TextView::npos) {
        return SplitAt(L", ", list);
    }
    std::vector<Text> elements{Text(list.substr(0, found)), client};
    for (Text& element : SplitAt(L", ", list.substr(found + named.size()))) {
        elements.push_back(std::move(element));
    }
    return elements;
}

/// The voucher that a record is about, and what may be its client.
struct TracedVoucher {
    Identity identity;
    Text client;
};

/// None when the values are not those of such a request.
std::optional<TracedVoucher> VoucherIn(TextView text, const Text& client) {
    const auto values = ValuesIn(text);
    if (!values || values->size() != 2) {
        return std::nullopt;
    }
    const auto elements = ElementsOf(values->back(), client);
    if (!elements || elements->size() <= barcodeElement) {
        return std::nullopt;
    }
    return TracedVoucher{
        {(*elements)[numberElement], (*elements)[indexElement], values->front(), (*elements)[barcodeElement]},
        (*elements)[clientElement]};
}

}  // namespace

const wchar_t* TracedRequest::Name() const noexcept {
    return std::ranges::find(requestNames, kind, &RequestName::kind)->name;
}

Text TracedRequest::SortableTime() const {
    return time.size() < timeLength
               ? time
               : time.substr(6, 4) + time.substr(3, 2) + time.substr(0, 2) + time.substr(11);
}

// ---- One log ----

/// Puts the lines of a log together to records: a value may hold line ends.
class TracedRequests::Reader {
public:
    Reader(TracedRequests& requests, const Text& name) : requests_(requests), name_(name) {}

    void Take(std::string_view bytes) {
        for (std::size_t end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n')) {
            Append(bytes.substr(0, end));
            EndLine();
            bytes = bytes.substr(end + 1);
        }
        Append(bytes);
    }

    void Finish() {
        if (!line_.empty()) {
            EndLine();
        }
        EndRecord();
        if (bad_ > 0) {
            requests_.complaints_.push_back(name_ + L": " + Counted(bad_, L" Zeile ist", L" Zeilen sind") +
                                            L" nicht zu verstehen (" + (bad_ == 1 ? L"" : L"die erste: ") +
                                            L"Zeile " + Decimal(firstBad_) + L")");
        }
    }

private:
    void Append(std::string_view bytes) {
        if (line_.size() < longestRecord) {
            line_ += bytes;
        }
    }

    void EndLine() {
        ++number_;
        if (line_.ends_with('\r')) {
            line_.pop_back();
        }
        if (BeginsWithTime(line_)) {
            EndRecord();
            record_ = std::move(line_);
            begin_ = number_;
        } else if (begin_ != 0 && !IsWhole() && record_.size() + line_.size() < longestRecord) {
            record_ += "\r\n" + line_;
        } else {
            Refuse(number_);
        }
        line_.clear();
    }

    /// Every line that the component writes ends so.
    [[nodiscard]] bool IsWhole() const { return record_.ends_with(']'); }

    /// Whether a record has the form that the component gives to all of them. One that was torn has not, or
    /// another one begins in it.
    static bool IsTraced(std::string_view record) {
        constexpr std::string_view prefix = "DMSProvider_";
        constexpr std::string_view beginning = " | DMSProvider_";
        std::string_view text = record.substr(timePattern.size());
        if (!text.starts_with(prefix) || !text.ends_with(']') ||
            text.find(beginning) != std::string_view::npos) {
            return false;
        }
        text.remove_prefix(prefix.size());
        const auto* const end = std::ranges::find_if_not(text, [](char character) {
            return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
        });
        text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
        return text.starts_with("  [") || text.starts_with('[');
    }

    static const RequestName* RequestIn(std::string_view record) {
        const std::string_view text = record.substr(timePattern.size());
        const auto* const found = std::ranges::find_if(
            requestNames, [&](const RequestName& row) { return text.starts_with(row.traced); });
        return found == requestNames.end() ? nullptr : found;
    }

    void EndRecord() {
        if (begin_ == 0) {
            return;
        }
        if (!IsTraced(record_)) {
            Refuse(begin_);
        } else if (const RequestName* const row = RequestIn(record_); row != nullptr) {
            const std::string_view values =
                std::string_view(record_).substr(timePattern.size() + row->traced.size());
            if (auto voucher = VoucherIn(TextFromAnsi(values), requests_.client_)) {
                const TracedRequest request{row->kind, std::move(voucher->identity),
                                            TextFromAnsi(std::string_view(record_).substr(0, timeLength)),
                                            name_, begin_};
                requests_.Note(request, voucher->client == requests_.client_);
            } else {
                Refuse(begin_);
            }
        }
        begin_ = 0;
        record_.clear();
    }

    void Refuse(std::int64_t line) {
        if (bad_++ == 0) {
            firstBad_ = line;
        }
    }

    TracedRequests& requests_;
    Text name_;
    std::string line_;
    std::int64_t number_ = 0;
    std::string record_;
    std::int64_t begin_ = 0;  ///< the record's first line; 0 without a record
    std::int64_t bad_ = 0;
    std::int64_t firstBad_ = 0;
};

void TracedRequests::ReadLog(const Text& name, const std::function<std::string()>& next) {
    Reader reader(*this, name);
    for (std::string bytes = next(); !bytes.empty(); bytes = next()) {
        reader.Take(bytes);
    }
    reader.Finish();
}

void TracedRequests::ReadFolder(const Text& folder, const std::function<bool()>& isInterrupted) {
    std::vector<Text> names;
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW((folder + L"\\*.log").c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                names.emplace_back(found.cFileName);
            }
        } while (FindNextFileW(search, &found) != FALSE);
        FindClose(search);
    }
    if (names.empty()) {
        complaints_.push_back(folder + L": kein Protokoll gefunden");
    }
    std::ranges::sort(names);
    for (const Text& name : names) {
        const Handle file(CreateFileW((folder + L"\\" + name).c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
        if (!file) {
            complaints_.push_back(name + L": lässt sich nicht öffnen (Fehler " + Decimal(GetLastError()) +
                                  L")");
            continue;
        }
        ReadLog(name, [&] {
            std::string bytes(1 << 16, '\0');
            DWORD read = 0;
            if (isInterrupted()) {
                return std::string();
            }
            if (ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr) ==
                FALSE) {
                complaints_.push_back(name + L": lässt sich nicht lesen (Fehler " + Decimal(GetLastError()) +
                                      L")");
            }
            bytes.resize(read);
            return bytes;
        });
    }
}

// ---- What they tell ----

void TracedRequests::Note(const TracedRequest& request, bool isOwn) {
    if (isOwn) {
        all_ = {};  // they will never count; those of many clients would only take room
        own_.Note(request);
    } else if (own_.latestOfDocId.empty()) {
        all_.Note(request);
    }
}

/// Whichever comes later counts; of two in the same second the one that is read later.
void TracedRequests::Ledger::Note(const TracedRequest& request) {
    const auto put = [&](auto& requests, const auto& key) {
        const auto [place, isNew] = requests.try_emplace(key, request);
        if (!isNew && place->second.SortableTime() <= request.SortableTime()) {
            place->second = request;
        }
    };
    const std::pair voucher(request.identity.number, request.identity.index);
    const bool isDeletion = request.kind == TracedRequest::Kind::Delete;
    const bool hasBarcode = !request.identity.barcode.empty();
    put(latestOfDocId, request.identity.docId);
    if (isDeletion || hasBarcode) {
        put(latest, voucher);  // without a barcode nothing is filed
    }
    if (!isDeletion && hasBarcode) {
        put(barcodes, voucher);
    }
}

std::vector<const TracedRequest*> TracedRequests::Filed() const {
    std::vector<const TracedRequest*> filed;
    for (const auto& [voucher, request] : Counting().latest) {
        if (request.kind != TracedRequest::Kind::Delete) {
            filed.push_back(&request);
        }
    }
    return filed;
}

std::vector<const TracedRequest*> TracedRequests::Deleted() const {
    std::vector<const TracedRequest*> deleted;
    for (const auto& [docId, request] : Counting().latestOfDocId) {
        if (request.kind == TracedRequest::Kind::Delete && !docId.empty()) {
            deleted.push_back(&request);
        }
    }
    return deleted;
}

Text TracedRequests::BarcodeOf(const Identity& identity) const {
    const Vouchers& barcodes = Counting().barcodes;
    const auto found = barcodes.find({identity.number, identity.index});
    // Of another voucher that bore the same number nothing is taken.
    return found == barcodes.end() || found->second.identity.docId != identity.docId
               ? Text()
               : found->second.identity.barcode;
}

}  // namespace kandora::check
