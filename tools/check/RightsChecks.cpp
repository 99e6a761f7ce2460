#include <algorithm>

#include "tools/check/Checks.h"

namespace kandora::check {

namespace {

constexpr const wchar_t* asTheUser =
    L"kandora-check in der Sitzung des Benutzers ohne erhöhte Rechte ausführen";

}  // namespace

void CheckRights(Report& report, const OwnRights& rights) {
    report.Good(area::rights, L"Benutzer", Described(rights));
    if (rights.IsAnothers()) {
        report.Warn(area::rights, L"Sitzung", L"gehört " + rights.loggedOn,
                    L"Dessen Registrierungen, Laufwerke und laufende Programme gelten hier nicht: " +
                        Text(asTheUser));
    }
}

bool WarnOfHiddenServers(Report& report, const wchar_t* area, const wchar_t* programId,
                         const OwnRights& rights) {
    const std::vector<HiddenServer> hidden = HiddenServers(programId, rights);
    if (hidden.empty()) {
        return false;
    }
    std::vector<Text> places;
    for (const HiddenServer& each : hidden) {
        places.push_back(L"für " + each.user + L": " + each.file);
    }
    report.Warn(area, L"Registrierung je Benutzer", programId + Text(L" ") + Joined(places, L"; "),
                L"Das sieht dieser Lauf nicht, die Programme des Benutzers aber schon: " + Text(asTheUser));
    return std::ranges::any_of(hidden, &HiddenServer::isOfThisUser);
}

void WarnOfAnotherInstance(Report& report, const wchar_t* area, const Server& server,
                           const OwnRights& rights) {
    if (!server.inProcess && rights.StartsOthers()) {
        report.Warn(area, L"Laufendes Programm", L"startet für diesen Lauf neu, " + Described(rights),
                    L"Was der Benutzer offen hat, ist für diesen Lauf nicht erreichbar: " + Text(asTheUser));
    }
}

}  // namespace kandora::check
