#pragma once

#include <initializer_list>
#include <memory>

#include "automation/Text.h"
#include "automation/Variant.h"
#include "provider/MGlobals.h"

namespace kandora {

/// What a request depends on beyond the turn.
enum class Gate {
    None,    ///< on nothing
    Silent,  ///< on settings that were read and an archive that is on for the open client
    Told,    ///< the same, and the user is told when it is off
};

/// One of the host's requests.
struct HostRequest {
    const wchar_t* name;  ///< in the call stack; in the log behind "DMSProvider_"
    Gate gate = Gate::None;
    bool isTracedAtFirst = false;  ///< also before it is known whether requests are to be traced
};

/// All of them.
namespace requests {
inline constexpr HostRequest initProvider{L"InitProvider", Gate::None, true};
inline constexpr HostRequest startProvider{L"StartProvider", Gate::Told};
inline constexpr HostRequest saveDocument{L"SaveDocument", Gate::Silent};
inline constexpr HostRequest documentChanged{L"DocumentChanged", Gate::Silent};
inline constexpr HostRequest deleteDocument{L"DeleteDocument", Gate::Silent};
inline constexpr HostRequest showDocument{L"ShowDocument", Gate::Silent};
inline constexpr HostRequest printDocument{L"PrintDocument", Gate::Silent};
inline constexpr HostRequest createDocID{L"CreateDocID", Gate::Silent};
inline constexpr HostRequest getOpenDocInfo{L"GetOpenDocInfo", Gate::Silent};
inline constexpr HostRequest getVirtualPrinterName{L"GetVirtualPrinterName", Gate::Silent};
inline constexpr HostRequest fibuVersion{L"FibuVersion", Gate::None, true};
inline constexpr HostRequest savePendingDocument{L"SavePendingDocument"};
inline constexpr HostRequest setDocumentStatus{L"SetDocumentStatus"};
}  // namespace requests

/// What the host calls. No request ever fails for the host: an error is shown to the user with its call stack
/// and then forgotten, and the request returns what it had by then (normally the empty result). No request
/// raises.
///
/// A request may enter while another one waits for another program or for the user. One that returns a value
/// or is only traced answers at once; every other one is carried out right after the one in progress and
/// before that one returns. Objects of this class are owned by shared pointers: a request that waits keeps
/// its object alive.
class ELOProvider : public std::enable_shared_from_this<ELOProvider> {
public:
    explicit ELOProvider(MGlobals& globals) : globals_(globals) {}
    ELOProvider(const ELOProvider&) = delete;
    ELOProvider& operator=(const ELOProvider&) = delete;

    /// True from the first InitProvider on.
    bool bRunning = false;

    void InitProvider(const Variant& vtMetaData);
    void StartProvider(const Variant& vtMetaData);
    void FibuVersion(const Variant& vtVerInfo);
    /// 14 digits: the local date and time. The same within one second, deliberately.
    Text CreateDocID(const Variant& vtMetaData);
    Variant GetOpenDocInfo();
    Text GetVirtualPrinterName();

    void SaveDocument(const Text& sDocID, const Variant& vtMetaData);
    void DocumentChanged(const Text& sDocID, const Variant& vtMetaData);
    void DeleteDocument(const Text& sDocID, const Variant& vtMetaData);
    void ShowDocument(const Text& sDocID, const Variant& vtMetaData);
    void PrintDocument(const Text& sDocID, const Variant& vtMetaData);
    void SavePendingDocument(const Variant& vtDocInfo, const Text& sDocID, const Variant& vtMetaData);
    void SetDocumentStatus(const Text& sDocID, const Variant& vtMetaData);

    /// A request that failed before it could begin, with the exception that is being handled. To be called
    /// inside a catch block only.
    void Refuse(const HostRequest& request) noexcept;

private:
    class Visit;

    /// Begins a request and does its work, or keeps both for after the request in progress.
    template <class... Arguments>
    void InTurn(const HostRequest& request, void (ELOProvider::*work)(const Arguments&...),
                const Arguments&... arguments) noexcept;
    /// Begins a request and does its work, whatever else is in progress.
    template <class Work>
    void AtOnce(const HostRequest& request, std::initializer_list<LogParameter> arguments,
                Work work) noexcept;

    /// Traces the request and passes its gate. True when its work is to be done.
    [[nodiscard]] bool Begin(const HostRequest& request, std::initializer_list<LogParameter> arguments,
                             bool isMeanwhile);
    void RefreshClient(bool isMeanwhile);
    void ShowCurrentError(const HostRequest& request) noexcept;

    // What the requests that wait for their turn do.
    void ReadSettings(const Variant& vtMetaData);
    void ShowArchive(const Variant& vtMetaData);
    void FileVoucher(const Text& sDocID, const Variant& vtMetaData);
    void ChangeVoucher(const Text& sDocID, const Variant& vtMetaData);
    void DeleteVoucher(const Text& sDocID, const Variant& vtMetaData);
    void ShowVoucher(const Text& sDocID, const Variant& vtMetaData);
    void FileReport(const Text& sDocID, const Variant& vtMetaData);

    MGlobals& globals_;
};

}  // namespace kandora
