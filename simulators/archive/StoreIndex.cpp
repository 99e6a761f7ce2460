#include "simulators/archive/StoreIndex.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <unordered_set>

#include "interfaces/CodePages.h"

namespace kandora::simulators {

namespace {

/// The last character is the version of the layout.
constexpr std::uint64_t layoutMark = 0x3158444948435241;  // "ARCHIDX1"

/// Bytes; a larger one would take too much of a 32-bit process's memory.
constexpr std::uint64_t largestIndex = 0x10000000;

struct Header {
    std::uint64_t magic = layoutMark;
    std::array<std::uint32_t, 4> checksum{};  // of everything behind it
    std::uint64_t length = 0;                 // of the file
    std::uint64_t folderBytes = 0;
    std::uint64_t textBytes = 0;
    std::uint32_t folderCount = 0;
    std::uint32_t entryCount = 0;
    std::int32_t nextId = 0;
    std::uint32_t reserved = 0;
};

constexpr std::size_t checksumEnd = offsetof(Header, length);

/// Both architectures use the same stores, so records have no padding that depends on one.
static_assert(sizeof(Header) == 64 && sizeof(IndexedEntry) == 40);
static_assert(std::is_trivially_copyable_v<Header> && std::is_trivially_copyable_v<IndexedEntry>);

/// Four sums side by side: a single one would have to wait for each of its multiplications. Every step is
/// reversible, so that a difference in one word never gets lost.
class Checksum {
public:
    explicit Checksum(std::string_view bytes) {
        const auto length = static_cast<std::uint32_t>(bytes.size());
        std::array<std::uint32_t, 4> words{};
        for (; bytes.size() >= sizeof(words); bytes.remove_prefix(sizeof(words))) {
            std::memcpy(words.data(), bytes.data(), sizeof(words));
            Take(words);
        }
        words = {};
        std::memcpy(words.data(), bytes.data(), bytes.size());
        Take(words);
        Take({length, length, length, length});
    }

    const std::array<std::uint32_t, 4>& Sums() const noexcept { return sums_; }

private:
    void Take(const std::array<std::uint32_t, 4>& words) {
        constexpr std::uint32_t prime = 0x01000193;
        for (std::size_t lane = 0; lane < words.size(); ++lane) {
            const std::uint32_t sum = (sums_[lane] ^ words[lane]) * prime;
            sums_[lane] = sum ^ sum >> 15;
        }
    }

    std::array<std::uint32_t, 4> sums_{1, 2, 3, 4};
};

template <class T>
std::string_view BytesOf(const T& value) {
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

template <class T>
void PutNumber(std::string& bytes, T value) {
    bytes += BytesOf(value);
}

/// Most texts are short: their length takes one byte; this one in its place says that four follow.
constexpr std::uint8_t longText = 255;

void PutText(std::string& bytes, std::wstring_view text) {
    const std::string utf8 = Utf8FromText(text);
    if (utf8.size() < longText) {
        PutNumber(bytes, static_cast<std::uint8_t>(utf8.size()));
    } else {
        PutNumber(bytes, longText);
        PutNumber(bytes, static_cast<std::uint32_t>(utf8.size()));
    }
    bytes += utf8;
}

/// Reads what PutNumber and PutText wrote; past the end it gives zeros and empty texts.
class Reader {
public:
    explicit Reader(std::string_view bytes) : rest_(bytes) {}

    template <class T>
    T Number() {
        T value{};
        if (const std::string_view bytes = Take(sizeof(value)); !bytes.empty()) {
            std::memcpy(&value, bytes.data(), sizeof(value));
        }
        return value;
    }
    std::wstring Text() {
        const auto size = Number<std::uint8_t>();
        return TextFromUtf8(Take(size == longText ? Number<std::uint32_t>() : size));
    }

    /// True when exactly everything was read.
    bool IsDone() const noexcept { return !isShort_ && rest_.empty(); }

private:
    std::string_view Take(std::size_t size) {
        isShort_ = isShort_ || size > rest_.size();
        const std::string_view taken = isShort_ ? std::string_view() : rest_.substr(0, size);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    std::string_view rest_;
    bool isShort_ = false;
};

}  // namespace

// --- Reading ---

std::unique_ptr<StoreIndex> StoreIndex::Take(const std::wstring& path) {
    try {
        if (!IsFile(path)) {
            return nullptr;
        }
        std::string bytes = ReadWholeFile(path);
        RemoveFile(path);
        std::unique_ptr<StoreIndex> index(new StoreIndex);
        return index->Read(std::move(bytes)) ? std::move(index) : nullptr;
    } catch (const std::exception&) {
        return nullptr;  // everything is read from the files themselves
    }
}

bool StoreIndex::Read(std::string bytes) {
    bytes_ = std::move(bytes);
    Header header;
    if (bytes_.size() < sizeof(header)) {
        return false;
    }
    std::memcpy(&header, bytes_.data(), sizeof(header));
    if (header.magic != layoutMark || header.length != bytes_.size() || header.length > largestIndex ||
        header.checksum != Checksum(std::string_view(bytes_).substr(checksumEnd)).Sums()) {
        return false;
    }
    const std::uint64_t entryBytes = std::uint64_t{header.entryCount} * sizeof(IndexedEntry);
    if (header.folderBytes > header.length || header.textBytes > header.length ||
        sizeof(header) + header.folderBytes + entryBytes + header.textBytes != header.length) {
        return false;
    }
    const auto entriesBegin = sizeof(header) + static_cast<std::size_t>(header.folderBytes);
    textsBegin_ = entriesBegin + static_cast<std::size_t>(entryBytes);
    nextId_ = header.nextId;

    Reader reader(
        std::string_view(bytes_).substr(sizeof(header), static_cast<std::size_t>(header.folderBytes)));
    for (std::uint32_t number = 0; number < header.folderCount; ++number) {
        IndexedFolder folder;
        folder.id = reader.Number<std::int32_t>();
        folder.parent = reader.Number<std::int32_t>();
        folder.onDisk.changed = reader.Number<std::uint64_t>();
        folder.onDisk.file.size = reader.Number<std::uint64_t>();
        folder.onDisk.file.written = reader.Number<std::uint64_t>();
        folder.name = reader.Text();
        folder.directory = reader.Text();
        folders_.push_back(std::move(folder));
    }
    entries_.resize(header.entryCount);
    if (!entries_.empty()) {  // the list of an empty archive has no memory to copy into
        std::memcpy(entries_.data(), bytes_.data() + entriesBegin, static_cast<std::size_t>(entryBytes));
    }
    states_.resize(entries_.size(), State::Waiting);
    waiting_ = unchecked_ = entries_.size();
    return reader.IsDone() && AreSound();
}

/// False for an undamaged index that contradicts itself: a mistake of the program that wrote it, perhaps of
/// another version.
bool StoreIndex::AreSound() const {
    std::unordered_set<std::int32_t> known{0};
    for (const IndexedFolder& folder : folders_) {
        if (!known.contains(folder.parent) || !known.insert(folder.id).second ||
            (folder.parent == 0) != (folder.id == rootId)) {
            return false;
        }
    }
    const std::size_t textBytes = bytes_.size() - textsBegin_;
    std::int32_t last = 0;
    std::int32_t lastFolder = 0;
    for (const IndexedEntry& entry : entries_) {
        if (entry.folder != lastFolder && !known.contains(entry.folder)) {
            return false;
        }
        if (entry.id <= last || entry.folder == 0 || entry.offset > textBytes ||
            entry.length > textBytes - entry.offset) {
            return false;
        }
        last = entry.id;
        lastFolder = entry.folder;
    }
    return known.contains(rootId);
}

const IndexedEntry* StoreIndex::Find(std::int32_t id) const {
    const auto found =
        std::lower_bound(entries_.begin(), entries_.end(), id,
                         [](const IndexedEntry& entry, std::int32_t wanted) { return entry.id < wanted; });
    return found != entries_.end() && found->id == id && IsWaiting(*found) ? &*found : nullptr;
}

void StoreIndex::SetState(const IndexedEntry& entry, State state) {
    State& current = states_[static_cast<std::size_t>(&entry - entries_.data())];
    unchecked_ -= current == State::Waiting ? 1 : 0;
    waiting_ -= current != State::Taken && state == State::Taken ? 1 : 0;
    current = state;
}

std::string_view StoreIndex::TextsOf(const IndexedEntry& entry) const {
    return std::string_view(bytes_).substr(textsBegin_ + static_cast<std::size_t>(entry.offset),
                                           entry.length);
}

std::optional<Entry> StoreIndex::Decode(const IndexedEntry& entry) const {
    Reader reader(TextsOf(entry));
    Entry decoded;
    decoded.id = entry.id;
    decoded.folder = entry.folder;
    decoded.mask = entry.mask;
    decoded.shortName = reader.Text();
    decoded.document = reader.Text();
    decoded.filed = reader.Text();
    for (auto count = reader.Number<std::uint16_t>(); count > 0; --count) {
        const auto line = reader.Number<std::int16_t>();
        decoded.fields.emplace_hint(decoded.fields.end(), line, reader.Text());
    }
    return reader.IsDone() ? std::optional(std::move(decoded)) : std::nullopt;
}

// --- Writing ---

void StoreIndexWriter::Add(const IndexedFolder& folder) {
    ++folderCount_;
    PutNumber(folders_, folder.id);
    PutNumber(folders_, folder.parent);
    PutNumber(folders_, folder.onDisk.changed);
    PutNumber(folders_, folder.onDisk.file.size);
    PutNumber(folders_, folder.onDisk.file.written);
    PutText(folders_, folder.name);
    PutText(folders_, folder.directory);
}

void StoreIndexWriter::Add(const Entry& entry, const FileStamp& file) {
    const std::size_t begin = texts_.size();
    PutText(texts_, entry.shortName);
    PutText(texts_, entry.document);
    PutText(texts_, entry.filed);
    PutNumber(texts_, static_cast<std::uint16_t>(entry.fields.size()));
    for (const auto& [line, value] : entry.fields) {
        PutNumber(texts_, line);
        PutText(texts_, value);
    }
    IndexedEntry record;
    record.id = entry.id;
    record.folder = entry.folder;
    record.mask = entry.mask;
    record.file = file;
    AddRecord(record, begin);
}

void StoreIndexWriter::Copy(const StoreIndex& index, const IndexedEntry& entry) {
    const std::size_t begin = texts_.size();
    texts_ += index.TextsOf(entry);
    AddRecord(entry, begin);
}

void StoreIndexWriter::AddRecord(IndexedEntry record, std::size_t begin) {
    record.offset = begin;
    record.length = static_cast<std::uint32_t>(texts_.size() - begin);
    entries_.push_back(record);
}

void StoreIndexWriter::Write(const std::wstring& path, const std::wstring& temporary) {
    std::ranges::sort(entries_,
                      [](const IndexedEntry& left, const IndexedEntry& right) { return left.id < right.id; });
    Header header;
    header.folderBytes = folders_.size();
    header.textBytes = texts_.size();
    header.folderCount = folderCount_;
    header.entryCount = static_cast<std::uint32_t>(entries_.size());
    header.nextId = nextId_;
    const std::size_t entryBytes = entries_.size() * sizeof(IndexedEntry);
    header.length = sizeof(header) + header.folderBytes + entryBytes + header.textBytes;
    if (header.length > largestIndex) {
        return;
    }
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(header.length));
    bytes += BytesOf(header);
    bytes += folders_;
    for (const IndexedEntry& entry : entries_) {
        bytes += BytesOf(entry);
    }
    bytes += texts_;
    header.checksum = Checksum(std::string_view(bytes).substr(checksumEnd)).Sums();
    std::memcpy(bytes.data(), &header, sizeof(header));
    WriteFileAtomically(path, bytes, temporary);
}

}  // namespace kandora::simulators
