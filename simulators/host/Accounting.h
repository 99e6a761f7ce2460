#pragma once

#include <map>
#include <memory>
#include <optional>

#include "interfaces/ComPtr.h"
#include "simulators/common/LocalServer.h"
#include "simulators/host/ClientFile.h"

namespace kandora::simulators {

/// The running accounting program behind all "FibuNT.Mandant" objects: which client was used last and whether
/// it is open.
class Accounting {
public:
    /// Takes the client as the one used last. Objects that were logged in to another client are logged out.
    void OpenClient(ClientFile client);

    /// Logs every object out. The client stays the one used last, so a later login finds it again.
    void CloseClient();

    /// Null when no client was ever opened.
    ClientFile* Client() { return client_ ? &*client_ : nullptr; }

    /// Another client than the one used last, which stays what it is: an object may open any client by the
    /// path of its file. Null when there is no such file, or it cannot be read.
    ClientFile* Other(const std::wstring& path);

    /// The path of the client used last; empty when there is none.
    [[nodiscard]] std::wstring LastClient() const { return client_ ? client_->Mandant() : std::wstring(); }

    /// Changes whenever a client is opened or closed: a login is good for one session.
    [[nodiscard]] unsigned Session() const { return session_; }

private:
    std::optional<ClientFile> client_;
    std::map<std::wstring, ClientFile> others_;
    unsigned session_ = 1;
};

/// "FibuNT.Mandant" as the registry knows it.
const ServerClass& MandantClass();

/// A new "FibuNT.Mandant" object, not logged in.
ComPtr<IDispatch> MakeMandant(std::shared_ptr<Accounting> accounting);

}  // namespace kandora::simulators
