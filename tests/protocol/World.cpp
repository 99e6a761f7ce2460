#include "tests/protocol/World.h"

namespace kandora::test {

namespace {

IndexPositions PositionsFrom(std::int16_t first) {
    IndexPositions positions;
    std::int16_t next = first;
    for (const IndexField& field : partnerIndexFields) {
        positions.*field.position = next++;
    }
    return positions;
}

}  // namespace

Settings SampleSettings() {
    Settings settings;
    settings.gbArchivAktiv = true;
    settings.gsEloPrinterFile = L"C:\\Druck\\Liste.pdf";
    settings.gsArchivname = L"Hauptarchiv";
    settings.gsSagePfad = L"Sesam";
    settings.glMaskeStruktur = 1;
    settings.glMaskeBelege = 2;
    settings.glMaskeAuswertung = 3;
    settings.glMaskeDebi = 4;
    settings.glMaskeKredi = 5;
    settings.giIdxBeleg = PositionsFrom(11);
    settings.giIdxAuswertung = {21, 22, 23};
    settings.giIdxDebi = PositionsFrom(31);
    settings.giIdxKredi = PositionsFrom(51);
    settings.gsEloUserName = L"anna";
    settings.gsEloPasswort = L"geheim";
    settings.gsEloKuerzel = L"an";
    return settings;
}

ClientFolders SampleFolders() {
    return {L"C:\\Kandora\\Platzhalter.pdf", L"/Sesam/Muster/Buchungen", L"/Sesam/Muster/Auswertungen",
            L"/Sesam/Muster/Debi", L"/Sesam/Muster/Kredi"};
}

Lines Probed(const Lines& lines) {
    Lines probed;
    for (const std::string& line : lines) {
        if (line.starts_with("archive.")) {
            probed.push_back(probe);
        }
        probed.push_back(line);
    }
    return probed;
}

World::World() {
    machine.files.insert(SampleFolders().strPlatzhalterDatei);
    archive = NewArchive();
    machine.Makes(archiveProgId, [this] { return archive; });
    machine.Makes(hostProgId, [this] { return NewHost("fibu"); });

    options = {{100, Variant(L"true")},
               {105, Variant(SampleFolders().strPlatzhalterDatei)},
               {109, Variant(SampleFolders().strPfadBuchungen)},
               {110, Variant(SampleFolders().strPfadAuswertungen)},
               {111, Variant(SampleFolders().strPfadDebi)},
               {112, Variant(SampleFolders().strPfadKredi)}};

    booking = Fake("booking", &talk);
    booking->Answers(L"lesen", 0);
    booking->Answers(L"ursprung", 0);
    booking->Answers(L"Text", L"Miete Büro");
    booking->Answers(L"Datum", L"15.11.2026");
    booking->Answers(L"Betrag", L"1200.50");
    booking->Answers(L"OPNr", L"77");
    openItem = Fake("openItem", &talk);
    openItem->Answers(L"lesen", 0);
    openItem->Answers(L"Datum", L"01.11.2026");
    openItem->Answers(L"BetragFaktura", L"1234.55");
    openItem->Answers(L"PKNr", L"1100");
    account = Fake("account", &talk);
    account->Answers(L"lesen");
    account->Answers(L"AdressID", L"42");
    address = Fake("address", &talk);
    address->Answers(L"lesen", 0);
    address->Answers(L"Firma", L"Muster & Co");
    address->Answers(L"PLZ", L"8000");
    address->Answers(L"Ort", L"Zürich");
}

void World::TearDown() {
    Expect({});
    ReleaseComponent();
    talk.Take();
    for (const Fake& fake : made_) {
        for (const Text& member : fake->AskedRepeatedly()) {
            ADD_FAILURE() << "the id of " << fake->Name() << "." << Spelled(member) << " was asked "
                          << fake->TimesAsked(member) << " times";
        }
    }
}

Fake World::NewObject(const std::string& name) {
    return made_.emplace_back(name, &talk);
}

Fake World::NewArchive(const std::string& name) {
    Fake fake = NewObject(name);
    for (const wchar_t* const statement :
         {L"EloWindow", L"BringToFront", L"ObjMaskNo", L"ObjShort", L"clickon"}) {
        fake->Answers(statement);
    }
    for (const wchar_t* const succeeds : {L"SelectView", L"PrepareObjectEx", L"AddPostboxFile",
                                          L"MoveToArchive", L"GotoId", L"DeleteObj", L"PrintDocument"}) {
        fake->Answers(succeeds, 1);
    }
    for (const wchar_t* const quiet :
         {L"Login", L"ReadObjMask", L"DoInvisibleSearch", L"setobjAttrib", L"InsertRef"}) {
        fake->Answers(quiet, 0);
    }
    fake->Answers(L"LookupDelimiter", L"¶");
    fake->Answers(L"LookupIndex", 800);
    fake->Answers(L"CreateStructure", L"17");
    fake->Answers(L"UpdateObject", 3);
    fake->Answers(L"ObjMainParent", 600);
    fake->Answers(L"getobjAttrib", L"");
    fake->Answers(L"GetEntryId", [this](Call& call) {
        const std::int32_t which = call.LongAt(0);
        if (which == -1) {
            return Variant(std::int32_t{0});
        }
        if (which == -2) {
            return Variant(std::int32_t{4711});
        }
        const auto hit = static_cast<std::size_t>(which - firstHit);
        return Variant(hit < hits.size() ? hits[hit] : std::int32_t{0});
    });
    return fake;
}

Fake World::NewHost(const std::string& name) {
    Fake fake = NewObject(name);
    OpensAndCloses(fake, client);
    fake->Answers(L"IniLesen", [this](Call& call) { return options[call.LongAt(1)]; });
    fake->Answers(L"Inischreiben", [this](Call& call) {
        options[call.LongAt(1)] = call.arguments.at(2);
        return Variant(true);
    });
    fake->Answers(L"neubuchung", booking);
    fake->Answers(L"neuOP", openItem);
    fake->Answers(L"neuPK", account);
    fake->Answers(L"neuAdresse", address);
    return fake;
}

Text FakeVouchers::GetBuchungsType(const Text& strBelegNr, const Text& strBelegIndex) {
    const std::size_t place = conversation_.Add("vouchers.GetBuchungsType(" + Quoted(strBelegNr) + ", " +
                                                Quoted(strBelegIndex) + ")");
    if (kindFailure) {
        conversation_.Complete(place, " !! " + std::to_string(kindFailure->Number()));
        throw RuntimeError(*kindFailure);
    }
    conversation_.Complete(place, " -> " + Quoted(kind));
    return kind;
}

void FakeVouchers::GetDebiDaten(const Text& strBelegNr, const Text& strIndex) {
    Fill("GetDebiDaten", state_.records.cDebiBeleg, strBelegNr, strIndex);
}

void FakeVouchers::GetKrediDaten(const Text& strBelegNr, const Text& strIndex) {
    Fill("GetKrediDaten", state_.records.cKrediBeleg, strBelegNr, strIndex);
}

void FakeVouchers::GetBelegDaten(const Text& strBelegNr, const Text& strIndex) {
    Fill("GetBelegDaten", state_.records.cBeleg, strBelegNr, strIndex);
}

void FakeVouchers::Fill(const char* operation, DocumentRecord& record, const Text& number,
                        const Text& index) {
    const std::size_t place = conversation_.Add(std::string("vouchers.") + operation + "(" + Quoted(number) +
                                                ", " + Quoted(index) + ")");
    if (dataFailure) {
        conversation_.Complete(place, " !! " + std::to_string(dataFailure->Number()));
        throw RuntimeError(*dataFailure);
    }
    record.Kurzbezeichnung = L"Miete Büro";
    record.Valutadatum = L"15.11.2026";
    record.Betrag = L"1200.50";
    if (&record != &state_.records.cBeleg) {
        record.Rechnungsdatum = L"01.11.2026";
        record.OPNr = L"77";
        record.PKNr = L"1100";
        record.AdressNr = L"42";
        record.Kundenname = L"Muster & Co";
        record.Kundenort = L"8000 Zürich";
    }
}

std::shared_ptr<const bool> OpensAndCloses(Fake& host, const Text& client) {
    const auto open = std::make_shared<bool>(false);
    host->Answers(L"letztermandant", [&client](Call&) { return Variant(client); });
    host->Answers(L"istoffen", [open](Call&) { return Variant(*open); });
    host->Answers(L"Login", [open](Call&) {
        *open = true;
        return Variant(std::int32_t{0});
    });
    host->Answers(L"Logout", [open](Call&) {
        *open = false;
        return Variant(std::int32_t{0});
    });
    return open;
}

std::string Shown(std::int32_t number, const std::string& description, const std::string& frames) {
    return "[" + std::to_string(number) + "] " + description + " | ON LINE 0 | CALLSTACK: " + frames;
}

}  // namespace kandora::test
