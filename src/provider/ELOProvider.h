#pragma once

#include <initializer_list>
#include <memory>

#include "automation/Text.h"
#include "automation/Variant.h"
#include "automation/Work.h"
#include "provider/MGlobals.h"

namespace kandora {

/// What the host calls. No request ever fails for the host: an error is shown to the user with its call stack
/// and then forgotten, and the request returns what it had by then (normally the empty result). No request
/// raises.
///
/// A request may enter while another one waits for another program or for the user. One that returns a value
/// or is only traced answers at once; every other one is carried out right after the one in progress and
/// before that one returns. An object of this class is owned by a shared pointer, which such a request keeps.
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

    /// A request that failed before it could begin.
    void Refuse(const wchar_t* method, const RuntimeError& error) noexcept;

private:
    /// A request's argument for the log; becomes a value only when there is a line to write.
    class Traced {
    public:
        Traced(const Text& text) : text_(&text) {}        // NOLINT(google-explicit-constructor)
        Traced(const Variant& value) : value_(&value) {}  // NOLINT(google-explicit-constructor)
        [[nodiscard]] Variant Value() const { return text_ != nullptr ? Variant(*text_) : *value_; }

    private:
        const Text* text_ = nullptr;
        const Variant* value_ = nullptr;
    };

    void Trace(const wchar_t* method, std::initializer_list<Traced> arguments);
    void RefreshClient();
    void RefreshClientMeanwhile();
    /// Keeps a request for after the one in progress; false when there is none, and it can begin.
    template <class... Arguments>
    bool MustWait(const wchar_t* method, void (ELOProvider::*request)(const Arguments&...),
                  const Arguments&... arguments) noexcept;
    void Request(const wchar_t* method, Work body) noexcept;
    void Attempt(const wchar_t* method, Work body) noexcept;
    /// Traces the request, and does its work when the settings were read and the archive is on for the open
    /// client. `otherwise` is what happens when it is not on.
    void GatedRequest(
        const wchar_t* method, std::initializer_list<Traced> arguments, Work work,
        Work otherwise = [] {}) noexcept;

    MGlobals& globals_;
};

}  // namespace kandora
