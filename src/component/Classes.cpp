#include "component/Classes.h"

#include <array>

#include "Kandora.h"
#include "component/ProviderObject.h"
#include "component/RecordObjects.h"
#include "component/ServiceObjects.h"

namespace kandora {

namespace {

template <class Object>
IUnknown* Create() {
    return static_cast<IDispatch*>(new Object);
}

/// The provider comes first: its key carries the host interface's identifier.
const auto classes = std::to_array<PublicClass>({
    {CLSID_ELOProvider, L"ELOProvider", L"Kandora: Archivanbindung der Finanzbuchhaltung",
     Create<ELOProviderObject>},
    {CLSID_ELODMS, L"ELODMS", L"Kandora: Zugang zum Archiv", Create<ELODMSObject>},
    {CLSID_OrigELODMS, L"OrigELODMS", L"Kandora: Älterer Zugang zum Archiv", Create<OrigELODMSObject>},
    {CLSID_SOKInterface, L"SOKInterface", L"Kandora: Zugang zur Finanzbuchhaltung",
     Create<SOKInterfaceObject>},
    {CLSID_cUser, L"cUser", L"Kandora: Benutzer des Archivs", Create<cUserObject>},
    {CLSID_cBeleg, L"cBeleg", L"Kandora: Beleg", Create<cBelegObject>},
    {CLSID_cDebiBeleg, L"cDebiBeleg", L"Kandora: Debitorenbeleg", Create<cDebiBelegObject>},
    {CLSID_cKrediBeleg, L"cKrediBeleg", L"Kandora: Kreditorenbeleg", Create<cKrediBelegObject>},
    {CLSID_cAuswertung, L"cAuswertung", L"Kandora: Auswertung", Create<cAuswertungObject>},
});

}  // namespace

std::span<const PublicClass> PublicClasses() noexcept {
    return classes;
}

}  // namespace kandora
