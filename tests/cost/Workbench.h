#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DmsSolution.h"
#include "Kandora.h"
#include "interfaces/ComPtr.h"
#include "tests/cost/QuietWorld.h"
#include "tests/support/ModuleHook.h"
#include "tests/support/Unique.h"

namespace kandora::cost_tests {

/// What a piece of work made the component do.
struct Cost {
    long ids = 0;          ///< names of members asked of other programs' objects
    long calls = 0;        ///< calls of their members
    long allocations = 0;  ///< blocks of memory
    long texts = 0;        ///< texts allocated in the form that automation wants
    long files = 0;        ///< files opened, each reading of a setting included

    bool operator==(const Cost&) const = default;
};

/// One key of a complete INI file.
struct Key {
    const char* section;
    const char* name;
    const char* value;
};
/// All 50, in the order in which the component reads them; tracing is off.
const std::vector<Key>& Keys();
/// The text of an INI file with these keys.
std::string IniText(bool isTraced, int voucherMask = 2);

/// The class of the quiet archive.
const CLSID& ArchiveClass();

/// Where the component gets its archive and host from: quiet objects in this process, or the registered ones.
enum class Surroundings { Quiet, Registered };

/// The built component, loaded into this process, with an INI file in a folder of its own. Its calls into the
/// system are counted when archive and host are quiet. One at a time.
class Workbench : test::Unique {
public:
    /// `component` is the file to load; it finds its INI file and writes its log in `folder`. Throws
    /// std::exception.
    Workbench(const std::filesystem::path& component, const std::filesystem::path& folder,
              Surroundings surroundings = Surroundings::Quiet);
    ~Workbench();

    /// Writes the INI file anew; takes effect with the next InitProvider.
    void SetTracing(bool isTraced) const;
    /// The same with another number for the vouchers' mask.
    void SetVoucherMask(int mask) const;
    /// A new plug-in object.
    [[nodiscard]] ComPtr<DMSProvider> NewProvider() const;
    /// Gets every object that the component makes from now on before the component does, with its reference,
    /// and returns it or another one in its place.
    using Watcher = std::function<IDispatch*(REFCLSID clsid, IDispatch* made)>;
    static void Watch(Watcher watcher);
    /// What the work costs.
    [[nodiscard]] static Cost CostOf(const std::function<void()>& work);
    /// The texts of the message boxes so far; they are noted instead of shown.
    [[nodiscard]] static const std::vector<std::wstring>& Boxes();

    QuietWorld world;

private:
    std::filesystem::path folder_;
    HMODULE module_ = nullptr;
    std::vector<std::unique_ptr<test::ModuleHook>> hooks_;
};

/// The host's metadata: a zero-based array of values, element 2 the voucher's number, 3 its index, 4 the
/// barcode. Owns it.
class MetaData : test::Unique {
public:
    MetaData(const wchar_t* number, const wchar_t* index, const wchar_t* barcode);
    ~MetaData() { VariantClear(&value_); }

    [[nodiscard]] const VARIANT& Value() const noexcept { return value_; }

private:
    VARIANT value_{};
};

}  // namespace kandora::cost_tests
