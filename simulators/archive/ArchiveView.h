#pragma once

#include <cstdint>
#include <string_view>

/// What the archive's automation object may ask of the program around it.
namespace kandora::simulators {

class ArchiveView {
public:
    virtual ~ArchiveView() = default;

    virtual void BringToFront() = 0;
    virtual void Minimize() = 0;
    virtual void Restore() = 0;
    /// Shows a folder's or entry's place and selects it.
    virtual void Select(std::int32_t id) = 0;
    virtual void Refresh() = 0;
    /// Shows the user a passing note in German, for example that a document was printed.
    virtual void Notice(std::wstring_view text) = 0;
    /// Somebody logged on or off.
    virtual void SessionsChanged() = 0;
    /// Ends the program once the call in hand has been answered.
    virtual void Close() = 0;
    /// Ends the process on the spot, as a crash would.
    [[noreturn]] virtual void Die() = 0;
};

}  // namespace kandora::simulators
