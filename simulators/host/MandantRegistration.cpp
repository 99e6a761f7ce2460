#include "simulators/host/MandantRegistration.h"

#include <windows.h>

#include <objbase.h>

#include <string>

#include "simulators/common/Failure.h"
#include "simulators/common/Files.h"
#include "simulators/common/LocalServer.h"
#include "simulators/common/Output.h"
#include "simulators/host/Accounting.h"

namespace kandora::simulators {

namespace {

void RefuseForeignRegistration() {
    CLSID registered{};
    if (SUCCEEDED(CLSIDFromProgID(MandantClass().progId.c_str(), &registered)) &&
        registered != MandantClass().id) {
        throw Failure(L"Auf diesem Rechner ist FibuNT.Mandant schon von einem anderen Programm eingetragen. "
                      L"Die Nachbildung lässt diesen Eintrag unberührt und kann hier nicht laufen.");
    }
}

}  // namespace

void RegisterMandant(const std::filesystem::path& client, unsigned linger) {
    RefuseForeignRegistration();
    std::wstring command = L"\"" + ProgramPath() + L"\"";
    if (!client.empty()) {
        command += L" --client \"" + std::filesystem::absolute(client).wstring() + L"\"";
    }
    if (linger != CommandLine().linger) {
        command += L" --linger " + std::to_wstring(linger);
    }
    RegisterServer(MandantClass(), command);
}

void EnsureMandantRegistered(const std::filesystem::path& client) {
    CLSID registered{};
    if (FAILED(CLSIDFromProgID(MandantClass().progId.c_str(), &registered))) {
        RegisterMandant(client);
        PrintErrorLine(L"FibuNT.Mandant war nicht eingetragen und wurde es jetzt. --unregister nimmt den "
                       L"Eintrag wieder weg.");
    }
    RefuseForeignRegistration();
}

}  // namespace kandora::simulators
