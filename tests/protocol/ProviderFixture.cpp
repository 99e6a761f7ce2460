#include "tests/protocol/ProviderFixture.h"

namespace kandora::test {

const std::vector<IniKey>& IniKeys() {
    static const std::vector<IniKey> keys{
        {"Debug", "Test", "False"},
        {"Archiv", "ArchivAktiv", "True"},
        {"Archiv", "EloPrinterFile", "C:\\Druck\\Liste.pdf"},
        {"Archiv", "Archivname", "Hauptarchiv"},
        {"Archiv", "Treuhand", "False"},
        {"Archiv", "SagePFad", "Sesam"},
        {"Maske", "Struktur", "1"},
        {"Maske", "Belege", "2"},
        {"Maske", "Auswertung", "3"},
        {"Maske", "Debi", "4"},
        {"Maske", "Kredi", "5"},
        {"IndexBelege", "Barcode", "11"},
        {"IndexBelege", "BelegNr", "12"},
        {"IndexBelege", "BelegIndex", "13"},
        {"IndexBelege", "Belegstatus", "14"},
        {"IndexBelege", "SesamDocID", "15"},
        {"IndexBelege", "Valutadatum", "16"},
        {"IndexBelege", "Betrag", "17"},
        {"IndexAuswertungen", "Listenbeschreibung", "21"},
        {"IndexAuswertungen", "DatumVon", "22"},
        {"IndexAuswertungen", "DatumBis", "23"},
        {"IndexDebi", "Barcode", "31"},
        {"IndexDebi", "BelegNr", "32"},
        {"IndexDebi", "BelegIndex", "33"},
        {"IndexDebi", "Belegstatus", "34"},
        {"IndexDebi", "SesamDocID", "35"},
        {"IndexDebi", "Valutadatum", "36"},
        {"IndexDebi", "Betrag", "37"},
        {"IndexDebi", "Rechnungsdatum", "38"},
        {"IndexDebi", "OPNr", "39"},
        {"IndexDebi", "PKNr", "40"},
        {"IndexDebi", "AdressNr", "41"},
        {"IndexDebi", "Kundenname", "42"},
        {"IndexDebi", "Kundenort", "43"},
        {"IndexKredi", "Barcode", "51"},
        {"IndexKredi", "BelegNr", "52"},
        {"IndexKredi", "BelegIndex", "53"},
        {"IndexKredi", "Belegstatus", "54"},
        {"IndexKredi", "SesamDocID", "55"},
        {"IndexKredi", "Valutadatum", "56"},
        {"IndexKredi", "Betrag", "57"},
        {"IndexKredi", "Rechnungsdatum", "58"},
        {"IndexKredi", "OPNr", "59"},
        {"IndexKredi", "PKNr", "60"},
        {"IndexKredi", "AdressNr", "61"},
        {"IndexKredi", "Kundenname", "62"},
        {"IndexKredi", "Kundenort", "63"},
        {"Login", "ELOUSERNAME", "anna"},
        {"Login", "ELOPW", "geheim"},
        {"Login", "ELOKUERZEL", "an"},
    };
    return keys;
}

Lines ProviderTest::ArchiveChecked() {
    return Together({{
                         "create ELO.professional",
                         R"(archive.Login(BSTR& "anna", BSTR& "geheim", BSTR& "Hauptarchiv") -> I4 0)",
                         R"(archive.EloWindow(BSTR "MINIMIZE"))",
                         "archive.SelectView(I2 3) -> I4 1",
                     },
                     Probed({
                         "archive.ReadObjMask(I4& 1) -> I4 0",
                         "archive.ReadObjMask(I4& 2) -> I4 0",
                         "archive.ReadObjMask(I4& 3) -> I4 0",
                         "archive.ReadObjMask(I4& 4) -> I4 0",
                         "archive.ReadObjMask(I4& 5) -> I4 0",
                     })});
}

Lines ProviderTest::ClientAsked() {
    const auto folder = [](int option, const std::string& name) -> Lines {
        return {
            "fibu.istoffen -> BOOL True",
            "fibu.IniLesen(I2 600, I2 " + std::to_string(option) + ") -> BSTR \"/Sesam/Muster/" + name + "\"",
            R"(archive.LookupDelimiter -> BSTR "¶")",
            "archive.LookupIndex(BSTR& \"¶Sesam¶Muster¶" + name + "\") -> I4 800",
        };
    };
    return Probed(Together({{
                                "create FibuNT.Mandant",
                                R"(fibu.letztermandant -> BSTR "C:\Daten\Muster")",
                                "fibu.istoffen -> BOOL False",
                                R"(fibu.Login(I2 1, BSTR& "C:\Daten\Muster") -> I4 0)",
                                R"(fibu.IniLesen(I2 600, I2 100) -> BSTR "true")",
                                "fibu.istoffen -> BOOL True",
                                R"(fibu.IniLesen(I2 600, I2 105) -> BSTR "C:\Kandora\Platzhalter.pdf")",
                                R"(file "C:\Kandora\Platzhalter.pdf" -> True)",
                            },
                            folder(109, "Buchungen"),
                            folder(110, "Auswertungen"),
                            folder(111, "Debi"),
                            folder(112, "Kredi")}));
}

}  // namespace kandora::test
