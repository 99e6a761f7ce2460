#include "simulators/host/Menu.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <optional>

#include "interfaces/CodePages.h"
#include "simulators/common/Failure.h"
#include "simulators/common/Output.h"

namespace kandora::simulators {

namespace {

/// The next line of the standard input, which is UTF-8 when it is no console; nothing at its end.
std::optional<std::wstring> ReadLine() {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    std::wstring line;
    if (HasConsole()) {
        std::array<wchar_t, 1024> buffer{};
        DWORD read = 0;
        if (!ReadConsoleW(input, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr) ||
            read == 0) {
            return std::nullopt;
        }
        line.assign(buffer.data(), read);
    } else {
        std::string bytes;
        char unit = 0;
        DWORD read = 0;
        while (ReadFile(input, &unit, 1, &read, nullptr) && read == 1 && unit != '\n') {
            bytes += unit;
        }
        if (bytes.empty() && read == 0) {
            return std::nullopt;
        }
        line = TextFromUtf8(bytes);
    }
    line.erase(line.find_last_not_of(L" \t\r\n\x1A") + 1);
    return line;
}

/// The first booking of the kind that is saved with a barcode.
std::wstring SampleOf(const ClientFile& client, std::int16_t origin) {
    const auto& bookings = client.Bookings();
    const auto found = std::ranges::find_if(bookings, [&](const Booking& booking) {
        return booking.ursprung == origin && !booking.barcode.empty() && !booking.docId.empty();
    });
    if (found == bookings.end()) {
        throw Failure(L"Der Mandant hat keine passende Buchung mit Barcode.");
    }
    return L"\"" + found->belegNr + L"\" \"" + found->belegIndex + L"\"";
}

}  // namespace

bool HasConsole() {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) != 0;
}

void RunMenu(Accounting& accounting, const MenuActions& actions) {
    // Asked each time, since a request file may have opened another client.
    while (const ClientFile* open = accounting.Client()) {
        const ClientFile& client = *open;
        PrintLine(L"");
        PrintLine(L"Mandant " + client.Mandant());
        PrintLine(L"  1  Alle " + std::to_wstring(client.Bookings().size()) +
                  L" Belege des Geschäftsjahrs speichern");
        PrintLine(L"  2  Einen Debitorenbeleg speichern und im Archiv zeigen");
        PrintLine(L"  3  Einen Kreditorenbeleg speichern, ändern und neu melden");
        PrintLine(L"  4  Einen Beleg der Finanzbuchhaltung speichern und wieder löschen");
        PrintLine(L"  5  Eine gedruckte Auswertung ablegen");
        PrintLine(L"  6  Dokument-ID, offenes Dokument und Drucker abfragen");
        PrintLine(L"  7  Eine eigene Anfragedatei ausführen");
        PrintLine(L"  0  Ende");
        PrintLine(L"Ihre Wahl:");
        const auto choice = ReadLine();
        if (!choice || *choice == L"0") {
            return;
        }
        try {
            const std::wstring name = L"Beispiel " + *choice;
            if (*choice == L"1") {
                actions.runYear();
            } else if (*choice == L"2") {
                const std::wstring booking = SampleOf(client, 1);
                actions.run(L"SaveDocument booking " + booking + L"\nShowDocument booking " + booking, name);
            } else if (*choice == L"3") {
                const std::wstring booking = SampleOf(client, 2);
                actions.run(L"SaveDocument booking " + booking + L"\nchange " + booking +
                                L" text=\"Nachträglich korrigierter Text\"\nDocumentChanged booking " +
                                booking,
                            name);
            } else if (*choice == L"4") {
                const std::wstring booking = SampleOf(client, 0);
                actions.run(L"SaveDocument booking " + booking + L"\nDeleteDocument booking " + booking,
                            name);
            } else if (*choice == L"5") {
                actions.run(L"GetVirtualPrinterName\nPrintDocument 20260101000000", name);
            } else if (*choice == L"6") {
                actions.run(L"CreateDocID\nGetOpenDocInfo\nGetVirtualPrinterName", name);
            } else if (*choice == L"7") {
                PrintLine(L"Pfad der Anfragedatei:");
                if (const auto path = ReadLine(); path && !path->empty()) {
                    actions.runFile(*path);
                }
            } else {
                PrintLine(L"Bitte eine Ziffer von 0 bis 7 eingeben.");
            }
        } catch (const Failure& failure) {
            PrintErrorLine(failure.Message());
        }
    }
}

}  // namespace kandora::simulators
