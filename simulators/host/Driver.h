#pragma once

#include <filesystem>
#include <vector>

#include "simulators/host/Accounting.h"
#include "simulators/host/BoxWatcher.h"
#include "simulators/host/ProviderLink.h"
#include "simulators/host/RequestFile.h"

namespace kandora::simulators {

/// What became of one request.
struct Outcome {
    RequestKind kind = RequestKind::InitProvider;
    /// The request's line in its file; empty for requests that stand in none.
    std::wstring source;
    std::wstring docId;
    std::wstring belegNr;
    std::wstring belegIndex;
    std::wstring barcode;
    /// Of the accounting's own requests always S_OK.
    HRESULT code = S_OK;
    Value result;
    /// Boxes that the watcher confirmed while the request ran.
    std::vector<AnsweredBox> boxes;
};

/// Runs requests one after the other, as the accounting does: on the thread that created the component.
class Driver {
public:
    /// `boxes` may be null. All must outlive the driver. `printerFile` is where a report is printed to before
    /// it is sent; empty for no printing.
    Driver(Accounting& accounting, const ProviderLink& provider, BoxWatcher* boxes,
           std::filesystem::path printerFile = {})
        : accounting_(accounting), provider_(provider), boxes_(boxes), printerFile_(std::move(printerFile)) {}

    /// Throws Failure when the accounting's own data does not allow the request (an unknown booking, a client
    /// file that cannot be read); a failing component is an outcome, not a failure. `requestFile` is named in
    /// messages, and files that requests name are looked for beside it.
    Outcome Run(const Request& request, const std::wstring& requestFile);

private:
    void Send(const Request& request, const std::wstring& requestFile, Outcome& outcome);

    Accounting& accounting_;
    const ProviderLink& provider_;
    BoxWatcher* boxes_;
    std::filesystem::path printerFile_;
};

/// Goes through the requests as Driver would, without a component: files that cannot be read, bookings that
/// do not exist and values that suit no field are found before anything is sent. `client` is the client open
/// at the start, null when there is none. Throws Failure.
void CheckRequests(const std::vector<Request>& requests, const std::wstring& requestFile,
                   const ClientFile* client);

/// The requests of a whole year: start-up, then every booking of the client saved in the order of the file.
/// Throws Failure when a booking has no document id.
std::vector<Request> YearRequests(const ClientFile& client);

/// Opens the client file, or, unless `copy` is empty, copies it there and opens the copy, which then keeps
/// what changes. Throws Failure.
ClientFile LoadClient(const std::filesystem::path& path, const std::filesystem::path& copy);

}  // namespace kandora::simulators
