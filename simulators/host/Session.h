#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulators/common/LocalServer.h"
#include "simulators/host/Accounting.h"
#include "simulators/host/BoxWatcher.h"
#include "simulators/host/CommandLine.h"
#include "simulators/host/Driver.h"
#include "simulators/host/ProviderLink.h"
#include "simulators/host/RequestFile.h"

namespace kandora::simulators {

/// The accounting at work: runs requests, shows what becomes of them and keeps it for the report.
class Session {
public:
    /// Offers the accounting's objects to COM from here on. `options` must outlive it.
    explicit Session(const CommandLine& options);

    Accounting& State() { return *accounting_; }

    /// Creates the component. Throws Failure.
    void Connect();
    /// Runs the requests of a file of this name and shows what becomes of each.
    void RunRequests(const std::vector<Request>& requests, const std::wstring& name);
    /// Runs a year's requests and shows how far it has got.
    void RunYear(const std::vector<Request>& requests);
    void WriteReport() const;
    /// True when a call failed or a voucher is not in the archive although it was sent with a barcode.
    [[nodiscard]] bool HasFailed() const { return failed_; }

private:
    Driver MakeDriver();
    /// Reads the archive back after every request.
    void RunRequestsWithTable(const std::vector<Request>& requests, const std::wstring& name);
    void Keep(Outcome outcome);
    void ShowOutcome(const Outcome& outcome) const;
    void ShowTable(const std::vector<Outcome>& outcomes, double seconds);

    const CommandLine& options_;
    std::shared_ptr<Accounting> accounting_;
    ClassObject classObject_;
    std::unique_ptr<BoxWatcher> boxes_;
    std::optional<ProviderLink> provider_;
    std::vector<Outcome> outcomes_;
    double seconds_ = 0;
    bool failed_ = false;
};

}  // namespace kandora::simulators
