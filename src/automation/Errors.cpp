#include "automation/Errors.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include <windows.h>

#include "interfaces/CodePages.h"

namespace kandora {

namespace {

struct NumberRow {
    std::int32_t hresult;
    std::int32_t number;
};

constexpr std::int32_t Code(std::uint32_t hresult) {
    return static_cast<std::int32_t>(hresult);
}

constexpr std::int32_t FromWin32(std::uint32_t code) {
    return Code(0x80070000U | code);
}

constexpr auto numberRows = std::to_array<NumberRow>({
    {DISP_E_TYPEMISMATCH, errors::typeMismatch},
    {DISP_E_BADVARTYPE, errors::typeMismatch},
    {DISP_E_OVERFLOW, errors::overflow},
    {DISP_E_BADINDEX, errors::subscript},
    {DISP_E_ARRAYISLOCKED, errors::arrayLocked},
    {DISP_E_DIVBYZERO, errors::divisionByZero},
    {DISP_E_UNKNOWNNAME, errors::unknownMember},
    {DISP_E_MEMBERNOTFOUND, errors::unknownMember},
    {DISP_E_BADPARAMCOUNT, errors::argumentCount},
    {DISP_E_PARAMNOTFOUND, errors::argumentMissing},
    {DISP_E_PARAMNOTOPTIONAL, errors::argumentNotOptional},
    {DISP_E_NONAMEDARGS, errors::namedArguments},
    {E_INVALIDARG, errors::invalidArgument},
    {E_OUTOFMEMORY, errors::outOfMemory},
    {E_POINTER, errors::objectMissing},
    {E_NOINTERFACE, errors::noAutomation},
    {REGDB_E_CLASSNOTREG, errors::cannotCreateObject},
    {CO_E_CLASSSTRING, errors::cannotCreateObject},
    {CO_E_APPNOTFOUND, errors::cannotCreateObject},
    {RPC_E_DISCONNECTED, errors::serverGone},
    {RPC_E_SERVER_DIED, errors::serverGone},
    {RPC_E_SERVER_DIED_DNE, errors::serverGone},
    {CO_E_OBJNOTCONNECTED, errors::serverGone},
    {FromWin32(RPC_S_SERVER_UNAVAILABLE), errors::serverGone},
    {FromWin32(RPC_S_CALL_FAILED), errors::serverGone},
    {FromWin32(RPC_S_CALL_FAILED_DNE), errors::serverGone},
    {STG_E_FILENOTFOUND, errors::fileNotFound},
    {FromWin32(ERROR_FILE_NOT_FOUND), errors::fileNotFound},
    {FromWin32(ERROR_PATH_NOT_FOUND), errors::pathNotFound},
    {FromWin32(ERROR_ACCESS_DENIED), errors::permissionDenied},
    {FromWin32(ERROR_SHARING_VIOLATION), errors::permissionDenied},
    {FromWin32(ERROR_LOCK_VIOLATION), errors::permissionDenied},
    {FromWin32(ERROR_WRITE_PROTECT), errors::permissionDenied},
    {FromWin32(ERROR_DISK_FULL), errors::diskFull},
    {FromWin32(ERROR_HANDLE_DISK_FULL), errors::diskFull},
    {FromWin32(ERROR_INVALID_NAME), errors::badFileName},
    {FromWin32(ERROR_BAD_PATHNAME), errors::badFileName},
});

struct DescriptionRow {
    std::int32_t number;
    const wchar_t* description;
};

constexpr auto descriptionRows = std::to_array<DescriptionRow>({
    {0, L""},
    {errors::invalidArgument, L"Ungültiger Aufruf oder ungültiges Argument"},
    {errors::overflow, L"Der Wert liegt ausserhalb des zulässigen Bereichs"},
    {errors::outOfMemory, L"Nicht genügend Arbeitsspeicher"},
    {errors::subscript, L"Der Index liegt ausserhalb des gültigen Bereichs"},
    {errors::arrayLocked, L"Das Array ist gesperrt und kann nicht geändert werden"},
    {errors::divisionByZero, L"Division durch null"},
    {errors::typeMismatch, L"Der Wert hat nicht den erwarteten Typ"},
    {errors::outOfStack, L"Nicht genügend Stapelspeicher"},
    {errors::internal, L"Interner Fehler"},
    {errors::badFileName, L"Der Dateiname ist ungültig"},
    {errors::fileNotFound, L"Die Datei wurde nicht gefunden"},
    {errors::fileAlreadyOpen, L"Die Datei ist bereits geöffnet"},
    {errors::deviceInput, L"Fehler beim Lesen oder Schreiben der Datei"},
    {errors::diskFull, L"Der Datenträger ist voll"},
    {errors::permissionDenied, L"Der Zugriff wurde verweigert"},
    {errors::pathFileAccess, L"Auf die Datei oder den Pfad kann nicht zugegriffen werden"},
    {errors::pathNotFound, L"Der Pfad wurde nicht gefunden"},
    {errors::objectMissing, L"Das benötigte Objekt ist nicht vorhanden"},
    {errors::invalidUseOfNull, L"Der Wert Null ist hier nicht zulässig"},
    {errors::cannotCreateObject, L"Das Automatisierungsobjekt kann nicht erstellt werden"},
    {errors::noAutomation, L"Das Objekt unterstützt die benötigte Schnittstelle nicht"},
    {errors::unknownMember, L"Das Objekt kennt diese Eigenschaft oder Methode nicht"},
    {errors::namedArguments, L"Das Objekt unterstützt keine benannten Argumente"},
    {errors::argumentMissing, L"Das benannte Argument wurde nicht gefunden"},
    {errors::argumentNotOptional, L"Ein erforderliches Argument fehlt"},
    {errors::argumentCount, L"Die Anzahl der Argumente ist falsch"},
    {errors::duplicateKey, L"Der Schlüssel ist bereits vorhanden"},
    {errors::serverGone, L"Das Programm, mit dem gearbeitet wird, ist beendet oder nicht erreichbar"},
});

}  // namespace

RuntimeError::RuntimeError(std::int32_t number) : RuntimeError(number, DescriptionOf(number)) {}

RuntimeError::RuntimeError(std::int32_t number, Text description, Text source, std::int32_t line)
    : number_(number), description_(std::move(description)), source_(std::move(source)), line_(line),
      what_(Utf8FromText(Decimal(number) + L": " + description_)) {}

// Inline, every place that raises or handles an error would carry a copy of these.
RuntimeError::RuntimeError(const RuntimeError&) = default;
RuntimeError& RuntimeError::operator=(const RuntimeError&) = default;
RuntimeError::~RuntimeError() = default;

Text DescriptionOf(std::int32_t number) {
    const auto* const row = std::ranges::find(descriptionRows, number, &DescriptionRow::number);
    if (row != descriptionRows.end()) {
        return row->description;
    }
    return number < 0 ? L"Automatisierungsfehler " + Decimal(number)
                      : L"Anwendungsdefinierter Fehler " + Decimal(number);
}

std::int32_t NumberOf(std::int32_t hresult) noexcept {
    const auto code = static_cast<std::uint32_t>(hresult);
    if ((code & 0xFFFF0000U) == 0x800A0000U) {
        return static_cast<std::int32_t>(code & 0xFFFFU);
    }
    const auto* const row = std::ranges::find(numberRows, hresult, &NumberRow::hresult);
    return row != numberRows.end() ? row->number : hresult;
}

std::int32_t NumberOfFileError(std::uint32_t windowsError) noexcept {
    const std::int32_t number = NumberOf(FromWin32(windowsError & 0xFFFFU));
    return number < 0 ? errors::pathFileAccess : number;
}

std::int32_t HresultOf(std::int32_t number) noexcept {
    if (number < 0) {
        return number;
    }
    return Code(0x800A0000U | (static_cast<std::uint32_t>(number) & 0xFFFFU));
}

void RequireSuccess(std::int32_t hresult) {
    if (hresult < 0) {
        throw RuntimeError(NumberOf(hresult));
    }
}

RuntimeError CurrentError() {
    try {
        throw;
    } catch (const RuntimeError& error) {
        return error;
    } catch (...) {
        return RuntimeError(CurrentNumber());
    }
}

std::int32_t CurrentNumber() noexcept {
    try {
        throw;
    } catch (const RuntimeError& error) {
        return error.Number();
    } catch (const std::bad_alloc&) {
        return errors::outOfMemory;
    } catch (...) {
        return errors::internal;
    }
}

}  // namespace kandora
