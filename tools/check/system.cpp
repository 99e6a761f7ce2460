#include "tools/check/system.h"

#include <algorithm>
#include <array>
#include <cwctype>

#include <objbase.h>
#include <winver.h>

namespace kandora::check {

namespace {

constexpr const wchar_t* classesPath = L"Software\\Classes\\";

/// A file opened for reading, shared with everybody.
class ReadHandle {
public:
    explicit ReadHandle(const Text& file)
        : handle_(CreateFileW(file.c_str(), GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                              0, nullptr)) {}
    ~ReadHandle() {
        if (handle_ != INVALID_HANDLE_VALUE) {
            CloseHandle(handle_);
        }
    }
    ReadHandle(const ReadHandle&) = delete;
    ReadHandle& operator=(const ReadHandle&) = delete;

    bool ReadAt(LONG offset, void* buffer, DWORD size) const {
        DWORD read = 0;
        return handle_ != INVALID_HANDLE_VALUE &&
               SetFilePointer(handle_, offset, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER &&
               ReadFile(handle_, buffer, size, &read, nullptr) != FALSE && read == size;
    }
    [[nodiscard]] std::string All() const {
        std::string bytes;
        if (handle_ == INVALID_HANDLE_VALUE) {
            return bytes;
        }
        std::array<char, 4096> part{};
        DWORD read = 0;
        while (ReadFile(handle_, part.data(), static_cast<DWORD>(part.size()), &read, nullptr) != FALSE &&
               read > 0) {
            bytes.append(part.data(), read);
        }
        return bytes;
    }

private:
    HANDLE handle_;
};

class Key {
public:
    Key(HKEY root, const Text& path, REGSAM view) {
        if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | view, &key_) != ERROR_SUCCESS) {
            key_ = nullptr;
        }
    }
    ~Key() {
        if (key_ != nullptr) {
            RegCloseKey(key_);
        }
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    explicit operator bool() const { return key_ != nullptr; }
    [[nodiscard]] HKEY Get() const { return key_; }

private:
    HKEY key_ = nullptr;
};

Text FoldCase(TextView text) {
    Text folded(text);
    std::ranges::transform(folded, folded.begin(),
                           [](wchar_t letter) { return static_cast<wchar_t>(std::towlower(letter)); });
    return folded;
}

/// The program of a command line. Without quotation marks it may hold blanks; the shortest existing file is
/// meant, as the system has it.
Text ProgramOf(const Text& command) {
    if (command.starts_with(L'"')) {
        return command.substr(1, command.find(L'"', 1) - 1);
    }
    for (std::size_t end = command.find(L' '); end != Text::npos; end = command.find(L' ', end + 1)) {
        const Text candidate = command.substr(0, end);
        for (const Text& file : {candidate, candidate + L".exe"}) {
            if (FileExists(file)) {
                return file;
            }
        }
    }
    return command;
}

/// A handle that is closed at the end of its life; may be null.
class Handle {
public:
    ~Handle() {
        if (handle_ != nullptr) {
            CloseHandle(handle_);
        }
    }
    Handle() = default;
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    [[nodiscard]] HANDLE Get() const { return handle_; }
    HANDLE* Receive() { return &handle_; }

private:
    HANDLE handle_ = nullptr;
};

/// A volume of this computer: another one's rights depend on groups that only that one knows.
bool IsLocal(const Text& path) {
    std::array<wchar_t, MAX_PATH> root{};
    return GetVolumePathNameW(path.c_str(), root.data(), static_cast<DWORD>(root.size())) != FALSE &&
           GetDriveTypeW(root.data()) != DRIVE_REMOTE;
}

/// Whether the access rights of a local file or folder deny something to the user. Opening asks them on
/// Windows, but where Wine stands in for it a folder opens for everybody.
bool IsForbidden(const Text& path, DWORD wanted) {
    constexpr SECURITY_INFORMATION parts =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    DWORD size = 0;
    if (!IsLocal(path) || GetFileSecurityW(path.c_str(), parts, nullptr, 0, &size) != FALSE || size == 0) {
        return false;
    }
    std::vector<BYTE> descriptor(size);
    Handle process;
    Handle user;
    if (GetFileSecurityW(path.c_str(), parts, descriptor.data(), size, &size) == FALSE ||
        OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE | TOKEN_QUERY, process.Receive()) == FALSE ||
        DuplicateToken(process.Get(), SecurityImpersonation, user.Receive()) == FALSE) {
        return false;
    }
    GENERIC_MAPPING mapping{FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE, FILE_ALL_ACCESS};
    PRIVILEGE_SET privileges{};
    DWORD privilegesSize = sizeof(privileges);
    DWORD granted = 0;
    BOOL allowed = TRUE;
    return AccessCheck(descriptor.data(), user.Get(), wanted, &mapping, &privileges, &privilegesSize,
                       &granted, &allowed) != FALSE &&
           allowed == FALSE;
}

/// Users' classes come before the machine's.
std::optional<Text> ClassText(const Text& path, REGSAM view) {
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        if (auto value = RegistryText(root, classesPath + path, nullptr, view); value && !value->empty()) {
            return value;
        }
    }
    return std::nullopt;
}

}  // namespace

const wchar_t* NameOf(Architecture architecture) noexcept {
    switch (architecture) {
    case Architecture::X86:
        return L"32 Bit";
    case Architecture::X64:
        return L"64 Bit";
    default:
        return L"unbekannt";
    }
}

Architecture ArchitectureOf(const Text& file) {
    const ReadHandle handle(file);
    IMAGE_DOS_HEADER start{};
    struct {
        DWORD signature;
        WORD machine;
    } header{};
    constexpr DWORD headerSize = sizeof(DWORD) + sizeof(WORD);
    if (!handle.ReadAt(0, &start, sizeof(start)) || start.e_magic != IMAGE_DOS_SIGNATURE ||
        !handle.ReadAt(start.e_lfanew, &header, headerSize) || header.signature != IMAGE_NT_SIGNATURE) {
        return Architecture::Unknown;
    }
    switch (header.machine) {
    case IMAGE_FILE_MACHINE_I386:
        return Architecture::X86;
    case IMAGE_FILE_MACHINE_AMD64:
        return Architecture::X64;
    default:
        return Architecture::Unknown;
    }
}

Text VersionOf(const Text& file) {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), &ignored);
    std::vector<BYTE> data(size);
    void* found = nullptr;
    UINT length = 0;
    if (size == 0 || GetFileVersionInfoW(file.c_str(), 0, size, data.data()) == FALSE ||
        VerQueryValueW(data.data(), L"\\", &found, &length) == FALSE) {
        return {};
    }
    const auto* const version = static_cast<const VS_FIXEDFILEINFO*>(found);
    return Decimal(HIWORD(version->dwFileVersionMS)) + L"." + Decimal(LOWORD(version->dwFileVersionMS)) +
           L"." + Decimal(HIWORD(version->dwFileVersionLS)) + L"." +
           Decimal(LOWORD(version->dwFileVersionLS));
}

bool FileExists(const Text& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool FolderExists(const Text& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool MayCreateFiles(const Text& folder) {
    const HANDLE handle =
        CreateFileW(folder.c_str(), FILE_ADD_FILE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return false;
    }
    CloseHandle(handle);
    return !IsForbidden(folder, FILE_ADD_FILE);
}

Text ParentFolder(const Text& path) {
    const std::size_t separator = path.find_last_of(L"\\/");
    return separator == Text::npos ? Text() : path.substr(0, separator);
}

Text FileName(const Text& path) {
    return path.substr(path.find_last_of(L"\\/") + 1);
}

Text FullPath(const Text& path) {
    Text full(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
        const bool fits = length < full.size();
        full.resize(length);
        if (fits) {
            return full.empty() ? path : full;
        }
    }
}

bool SameFile(const Text& left, const Text& right) {
    const auto longForm = [](const Text& path) {
        Text full = FullPath(path);
        Text whole(full.size() + MAX_PATH, L'\0');
        const DWORD length = GetLongPathNameW(full.c_str(), whole.data(), static_cast<DWORD>(whole.size()));
        if (length == 0 || length >= whole.size()) {
            return full;
        }
        whole.resize(length);
        return whole;
    };
    return EqualIgnoringCase(longForm(left), longForm(right));
}

std::string BytesOf(const Text& path) {
    return ReadHandle(path).All();
}

bool EqualIgnoringCase(TextView left, TextView right) {
    return left.size() == right.size() && FoldCase(left) == FoldCase(right);
}

std::size_t EditDistance(TextView left, TextView right) {
    const Text from = FoldCase(left);
    const Text to = FoldCase(right);
    const std::size_t width = to.size() + 1;
    std::vector<std::size_t> table((from.size() + 1) * width);
    const auto at = [&](std::size_t row, std::size_t column) -> std::size_t& {
        return table[row * width + column];
    };
    for (std::size_t row = 0; row <= from.size(); ++row) {
        for (std::size_t column = 0; column < width; ++column) {
            if (row == 0 || column == 0) {
                at(row, column) = row + column;
                continue;
            }
            const std::size_t replaced = at(row - 1, column - 1) + (from[row - 1] == to[column - 1] ? 0 : 1);
            at(row, column) = std::min({at(row - 1, column) + 1, at(row, column - 1) + 1, replaced});
            if (row > 1 && column > 1 && from[row - 1] == to[column - 2] && from[row - 2] == to[column - 1]) {
                at(row, column) = std::min(at(row, column), at(row - 2, column - 2) + 1);
            }
        }
    }
    return table.back();
}

Text TextOfGuid(REFGUID guid) {
    std::array<wchar_t, 40> text{};
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::optional<Text> RegistryText(HKEY root, const Text& path, const wchar_t* name, REGSAM view) {
    const Key key(root, path, view);
    if (!key) {
        return std::nullopt;
    }
    DWORD size = 0;
    constexpr DWORD kinds = RRF_RT_REG_SZ;  // takes texts with environment variables too, and puts them in
    if (RegGetValueW(key.Get(), nullptr, name, kinds, nullptr, nullptr, &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    Text value(size / sizeof(wchar_t) + 1, L'\0');
    size = static_cast<DWORD>(value.size() * sizeof(wchar_t));
    if (RegGetValueW(key.Get(), nullptr, name, kinds, nullptr, value.data(), &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    value.resize(std::min(value.find(L'\0'), value.size()));
    return value;
}

bool RegistryKeyExists(HKEY root, const Text& path, REGSAM view) {
    return static_cast<bool>(Key(root, path, view));
}

std::vector<Text> RegistryKeys(HKEY root, const Text& path, REGSAM view) {
    std::vector<Text> names;
    const Key key(root, path, view);
    if (!key) {
        return names;
    }
    std::array<wchar_t, 256> name{};
    for (DWORD place = 0;; ++place) {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key.Get(), place, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            return names;
        }
        names.emplace_back(name.data(), length);
    }
}

std::optional<Server> ServerOf(const wchar_t* programId) {
    Server server;
    if (FAILED(CLSIDFromProgID(programId, &server.clsid))) {
        return std::nullopt;
    }
    const Text path = L"CLSID\\" + TextOfGuid(server.clsid);
    if (const auto library = ClassText(path + L"\\InprocServer32", ownView)) {
        server.inProcess = true;
        server.file = library->starts_with(L'"') ? ProgramOf(*library) : *library;
    } else {
        auto command = ClassText(path + L"\\LocalServer32", ownView);
        if (!command) {
            command = ClassText(path + L"\\LocalServer32", otherView);  // a process of its own serves both
        }
        if (!command) {
            return std::nullopt;
        }
        server.file = ProgramOf(*command);
    }
    server.architecture = ArchitectureOf(server.file);
    return server;
}

}  // namespace kandora::check
