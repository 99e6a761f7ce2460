#include "tests/faults/Stage.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "tests/protocol/ProviderFixture.h"
#include "tests/support/Rendering.h"

namespace kandora::test {

namespace {

constexpr const char* iniFile = "C:\\Kandora\\Kandora.ini";
constexpr std::int32_t reportMask = 3;

/// Offsets of index fields from a kind's first.
namespace field {
constexpr std::int16_t barcode = 0;
constexpr std::int16_t number = 1;
constexpr std::int16_t index = 2;
constexpr std::int16_t docId = 4;
}  // namespace field

const DialogScript report{true, L"Bilanz", L"Bilanz Muster", L"1.1.2026", L"31.12.2026", {}};

Booking BookingOf(const KindRow& kind, const Text& number) {
    return {kind.origin,     L"Miete Büro " + number, L"15.11.2026", L"1200.50",
            L"77-" + number, L"01.11.2026",           L"1234.55",    L"1100-" + number,
            L"42-" + number, L"Muster & Co",          L"8000",       L"Zürich"};
}

/// A voucher's document, or one that merely lies in the same archive.
Entry NewEntry(const KindRow& kind, const Text& docId, const Text& number, const Text& index,
               const Text& barcode) {
    const Booking booking = BookingOf(kind, number);
    const std::array<Text, 13> values{barcode,
                                      number,
                                      index,
                                      L"Pendent",
                                      docId,
                                      booking.date,
                                      kind.fields > 7 ? booking.invoiceAmount : booking.amount,
                                      booking.invoiceDate,
                                      booking.openItem,
                                      booking.account,
                                      booking.addressId,
                                      booking.company,
                                      booking.postcode + L" " + booking.place};
    Entry entry{kind.mask,
                booking.text,
                {},
                Text(L"/Sesam/Muster/") + kind.folder,
                SampleFolders().strPlatzhalterDatei};
    for (std::size_t i = 0; i < kind.fields; ++i) {
        entry.fields[static_cast<std::int16_t>(kind.firstPosition + static_cast<int>(i))] = values[i];
    }
    return entry;
}

Entry NewReport() {
    return {reportMask,
            report.txtKurzbezeichnung,
            {{std::int16_t{21}, report.txtBeschreibung},
             {std::int16_t{22}, report.txtVon},
             {std::int16_t{23}, report.txtBis}},
            L"/Sesam/Muster/Auswertungen",
            L"C:\\Druck\\Liste.pdf"};
}

const std::array<const KindRow*, 3> lookupOrder{&voucherKind, &creditorKind, &debtorKind};

std::int16_t At(const KindRow& kind, std::int16_t offset) {
    return static_cast<std::int16_t>(kind.firstPosition + offset);
}

Text ElementOf(const Request& request, std::int32_t index) {
    return request.metadata.Element(index).ToText();
}

std::vector<Variation> AllVariations() {
    std::vector<Variation> all;
    const auto add = [&](const std::string& name, const std::string& request,
                         const std::function<void(Variation&)>& details = {}) {
        Variation variation;
        variation.name = name;
        variation.request = request;
        if (details) {
            details(variation);
        }
        all.push_back(std::move(variation));
    };
    for (const KindRow& kind : {voucherKind, debtorKind, creditorKind}) {
        const std::string suffix = "Of" + Spelled(kind.name);
        add("Save" + suffix, "SaveDocument", [&](Variation& v) { v.kind = kind; });
        add("Change" + suffix, "DocumentChanged", [&](Variation& v) {
            v.kind = kind;
            v.filedBefore = true;
        });
        add("ChangeUnfiled" + suffix, "DocumentChanged", [&](Variation& v) { v.kind = kind; });
        add("Delete" + suffix, "DeleteDocument", [&](Variation& v) {
            v.kind = kind;
            v.filedBefore = true;
        });
    }
    add("SaveWithoutBarcode", "SaveDocument", [](Variation& v) { v.barcode = false; });
    add("SaveInUndecidedClient", "SaveDocument", [](Variation& v) { v.client = ClientState::Undecided; });
    add("SaveInClientWithoutArchive", "SaveDocument", [](Variation& v) { v.client = ClientState::Off; });
    add("SaveTraced", "SaveDocument", [](Variation& v) { v.tracing = true; });
    add("SaveAfterLostSession", "SaveDocument", [](Variation& v) {
        v.kind = debtorKind;
        v.sessionLost = true;
    });
    add("ChangeWithoutBarcode", "DocumentChanged", [](Variation& v) {
        v.filedBefore = true;
        v.barcode = false;
    });
    add("ChangeUnfiledWithoutBarcode", "DocumentChanged", [](Variation& v) { v.barcode = false; });
    add("ChangeAfterLostSession", "DocumentChanged", [](Variation& v) {
        v.filedBefore = true;
        v.sessionLost = true;
        v.tracing = true;
    });
    add("DeleteUnfiled", "DeleteDocument");
    add("DeleteAfterLostSession", "DeleteDocument", [](Variation& v) {
        v.filedBefore = true;
        v.sessionLost = true;
    });
    add("Show", "ShowDocument", [](Variation& v) { v.filedBefore = true; });
    add("ShowUnfiled", "ShowDocument");
    add("ShowAfterLostSession", "ShowDocument", [](Variation& v) {
        v.filedBefore = true;
        v.sessionLost = true;
        v.kind = debtorKind;
    });
    add("Print", "PrintDocument");
    add("PrintCancelled", "PrintDocument", [](Variation& v) { v.confirmed = false; });
    add("PrintAfterLostSession", "PrintDocument", [](Variation& v) {
        v.sessionLost = true;
        v.tracing = true;
    });
    add("InitFirst", "InitProvider", [](Variation& v) { v.begin = Begin::First; });
    add("InitAgain", "InitProvider", [](Variation& v) {
        v.begin = Begin::Again;
        v.tracing = true;
    });
    add("InitAfterLostSession", "InitProvider", [](Variation& v) {
        v.begin = Begin::Again;
        v.sessionLost = true;
    });
    add("InitSwitchedOff", "InitProvider", [](Variation& v) { v.begin = Begin::SwitchedOff; });
    add("InitSwitchedOffLater", "InitProvider", [](Variation& v) { v.begin = Begin::SwitchedOffLater; });
    add("InitInUndecidedClient", "InitProvider", [](Variation& v) {
        v.begin = Begin::First;
        v.client = ClientState::Undecided;
    });
    add("Start", "StartProvider");
    add("StartAfterLostSession", "StartProvider", [](Variation& v) { v.sessionLost = true; });
    add("StartInClientWithoutArchive", "StartProvider", [](Variation& v) { v.client = ClientState::Off; });
    add("Version", "FibuVersion", [](Variation& v) { v.begin = Begin::First; });
    add("VersionTraced", "FibuVersion", [](Variation& v) { v.tracing = true; });
    add("DocId", "CreateDocID", [](Variation& v) { v.tracing = true; });
    add("DocIdInClientWithoutArchive", "CreateDocID", [](Variation& v) { v.client = ClientState::Off; });
    add("DocInfo", "GetOpenDocInfo", [](Variation& v) { v.tracing = true; });
    add("PrinterName", "GetVirtualPrinterName", [](Variation& v) { v.sessionLost = true; });
    add("Pending", "SavePendingDocument", [](Variation& v) { v.tracing = true; });
    add("Status", "SetDocumentStatus", [](Variation& v) { v.tracing = true; });
    return all;
}

}  // namespace

const std::vector<Variation>& Variations() {
    static const std::vector<Variation> all = AllVariations();
    return all;
}

const Variation& VariationCalled(const std::string& name) {
    const auto found = std::ranges::find(Variations(), name, &Variation::name);
    if (found == Variations().end()) {
        throw std::invalid_argument("no variation " + name);
    }
    return *found;
}

Request RequestFor(const std::string& name, const wchar_t* docId, const wchar_t* number, const wchar_t* index,
                   const wchar_t* barcode) {
    return {name, docId, Variant::ArrayOf(std::vector<Text>{L"", L"", number, index, barcode})};
}

Request RequestOf(const Variation& variation) {
    return RequestFor(variation.request, ownVoucher.docId, ownVoucher.number, ownVoucher.index,
                      variation.barcode ? ownVoucher.barcode : L"");
}

Variant Player::Carry(const Request& request) {
    const auto is = [&](const char* name) { return request.name == name; };
    if (is("InitProvider")) {
        provider->InitProvider(request.metadata);
    } else if (is("StartProvider")) {
        provider->StartProvider(request.metadata);
    } else if (is("FibuVersion")) {
        provider->FibuVersion(request.metadata);
    } else if (is("CreateDocID")) {
        return AsValue(provider->CreateDocID(request.metadata));
    } else if (is("GetOpenDocInfo")) {
        return provider->GetOpenDocInfo();
    } else if (is("GetVirtualPrinterName")) {
        return AsValue(provider->GetVirtualPrinterName());
    } else if (is("SaveDocument")) {
        provider->SaveDocument(request.docId, request.metadata);
    } else if (is("DocumentChanged")) {
        provider->DocumentChanged(request.docId, request.metadata);
    } else if (is("DeleteDocument")) {
        provider->DeleteDocument(request.docId, request.metadata);
    } else if (is("ShowDocument")) {
        provider->ShowDocument(request.docId, request.metadata);
    } else if (is("PrintDocument")) {
        provider->PrintDocument(request.docId, request.metadata);
    } else if (is("SavePendingDocument")) {
        provider->SavePendingDocument(request.metadata, request.docId, request.metadata);
    } else if (is("SetDocumentStatus")) {
        provider->SetDocumentStatus(request.docId, request.metadata);
    } else {
        throw std::invalid_argument("no request " + request.name);
    }
    return {};
}

std::unique_ptr<Player> TheComponent(Stage& stage) {
    return std::make_unique<Player>(stage.machine, stage.screen);
}

Stage::Stage(const Variation& theVariation, const Casting& casting) : variation(theVariation) {
    SetUpMachine();
    SetUpHost();
    SetUpArchive();
    player = casting(*this);
    player->seam = &conductor;
    if (variation.begin != Begin::First && variation.begin != Begin::SwitchedOff) {
        player->provider->InitProvider(Variant());
    }
    // What the request itself is to meet, other than the start before it.
    if (variation.client != ClientState::On) {
        host.options = variation.client == ClientState::Off ? std::map<std::int32_t, Text>{{100, L"false"}}
                                                            : std::map<std::int32_t, Text>{};
    }
    if (variation.begin == Begin::SwitchedOff || variation.begin == Begin::SwitchedOffLater) {
        machine.profile.Set(iniFile, "Archiv", "ArchivAktiv", "False");
    }
    if (variation.sessionLost) {
        archive.Restart();
    }
    screen.dialogs.assign(4, report);
    for (DialogScript& dialog : screen.dialogs) {
        dialog.confirmed = variation.confirmed;
    }
}

void Stage::SetUpMachine() {
    machine.seam = &conductor;
    screen.seam = &conductor;
    machine.files.insert(SampleFolders().strPlatzhalterDatei);
    machine.Makes(archiveProgId, [this] { return archive.NewObject(); });
    machine.Makes(hostProgId, [this] { return host.NewObject(); });
    for (const IniKey& row : IniKeys()) {
        machine.profile.Set(iniFile, row.section, row.key, row.value);
    }
    if (variation.tracing) {
        machine.profile.Set(iniFile, "Debug", "Test", "True");
    }
}

void Stage::SetUpHost() {
    const ClientFolders folders = SampleFolders();
    host.options = {{100, L"true"},
                    {105, folders.strPlatzhalterDatei},
                    {109, folders.strPfadBuchungen},
                    {110, folders.strPfadAuswertungen},
                    {111, folders.strPfadDebi},
                    {112, folders.strPfadKredi}};
    host.bookings[{ownVoucher.number, ownVoucher.index}] = BookingOf(variation.kind, ownVoucher.number);
    host.bookings[{otherVoucher.number, otherVoucher.index}] = BookingOf(variation.kind, otherVoucher.number);
}

void Stage::SetUpArchive() {
    // A client without a decision has no folders yet either.
    if (variation.client != ClientState::Undecided || variation.begin == Begin::Started) {
        for (const wchar_t* const name : {L"Buchungen", L"Auswertungen", L"Debi", L"Kredi"}) {
            archive.AddFolder(Text(L"/Sesam/Muster/") + name);
        }
    }
    for (const KindRow& kind : {voucherKind, debtorKind, creditorKind}) {
        archive.AddEntry(NewEntry(kind, L"20260101000000", L"16", L"2", L"BC-16"));
    }
    archive.AddEntry(
        {reportMask, L"alt", {{std::int16_t{21}, L"alt"}}, L"/Sesam/Muster/Auswertungen", L"alt"});
    if (variation.filedBefore) {
        Entry entry =
            NewEntry(variation.kind, ownVoucher.docId, ownVoucher.number, ownVoucher.index, L"BC-alt");
        entry.shortName = L"alt";
        entry.fields[At(variation.kind, 5)] = L"alt";
        archive.AddEntry(entry);
    }
}

Entry Stage::EntryOf(const Request& request) const {
    return NewEntry(variation.kind, request.docId, ElementOf(request, 2), ElementOf(request, 3),
                    ElementOf(request, 4));
}

bool Stage::IsOwn(const Entry& entry) {
    if (entry.mask == reportMask) {
        return entry.shortName == report.txtKurzbezeichnung;
    }
    return std::ranges::any_of(entry.fields, [](const auto& position) {
        return position.second == ownVoucher.number || position.second == otherVoucher.number ||
               position.second == ownVoucher.docId || position.second == otherVoucher.docId;
    });
}

Entries Stage::After(const Request& request, Entries before) const {
    return Found(std::move(before), request, true);
}

Entries Stage::AfterWhenNotFound(Entries before) const {
    return Found(std::move(before), RequestOf(variation), false);
}

Entries Stage::Found(Entries before, const Request& request, bool findable) const {
    if (variation.client == ClientState::Off) {
        return before;
    }
    const auto add = [&](Entry entry) {
        before[std::max(before.rbegin()->first, 100) + 1] = std::move(entry);
    };
    const auto find = [&](auto&& matches) {
        for (const KindRow* const kind : lookupOrder) {
            for (auto& [id, entry] : before) {
                if (findable && entry.mask == kind->mask && matches(*kind, entry)) {
                    return id;
                }
            }
        }
        return std::int32_t{0};
    };
    const Text barcode = ElementOf(request, 4);
    if (request.name == "SaveDocument") {
        if (!barcode.empty()) {
            add(EntryOf(request));
        }
    } else if (request.name == "DocumentChanged") {
        const std::int32_t id = find([&](const KindRow& kind, Entry& entry) {
            return entry.fields[At(kind, field::number)] == ElementOf(request, 2) &&
                   entry.fields[At(kind, field::index)] == ElementOf(request, 3);
        });
        if (id != 0) {
            Entry& entry = before[id];
            const Entry renewed = EntryOf(request);
            entry.shortName = renewed.shortName;
            for (const auto& [position, value] : renewed.fields) {
                if (position != At(variation.kind, field::barcode) || !barcode.empty()) {
                    entry.fields[position] = value;
                }
            }
        } else if (!barcode.empty()) {
            add(EntryOf(request));
        }
    } else if (request.name == "DeleteDocument") {
        const std::int32_t id = find([&](const KindRow& kind, Entry& entry) {
            return entry.fields[At(kind, field::docId)] == request.docId;
        });
        before.erase(id);
    } else if (request.name == "PrintDocument" && variation.confirmed) {
        add(NewReport());
    }
    return before;
}

}  // namespace kandora::test
