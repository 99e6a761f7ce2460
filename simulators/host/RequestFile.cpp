#include "simulators/host/RequestFile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "simulators/common/Failure.h"

namespace kandora::simulators {

namespace {

struct RequestName {
    RequestKind kind;
    std::wstring_view name;
    bool sent;
};

constexpr std::array requestNames{
    RequestName{RequestKind::InitProvider, L"InitProvider", true},
    RequestName{RequestKind::StartProvider, L"StartProvider", true},
    RequestName{RequestKind::FibuVersion, L"FibuVersion", true},
    RequestName{RequestKind::CreateDocID, L"CreateDocID", true},
    RequestName{RequestKind::GetOpenDocInfo, L"GetOpenDocInfo", true},
    RequestName{RequestKind::GetVirtualPrinterName, L"GetVirtualPrinterName", true},
    RequestName{RequestKind::SaveDocument, L"SaveDocument", true},
    RequestName{RequestKind::DocumentChanged, L"DocumentChanged", true},
    RequestName{RequestKind::DeleteDocument, L"DeleteDocument", true},
    RequestName{RequestKind::ShowDocument, L"ShowDocument", true},
    RequestName{RequestKind::PrintDocument, L"PrintDocument", true},
    RequestName{RequestKind::SetDocumentStatus, L"SetDocumentStatus", true},
    RequestName{RequestKind::SavePendingDocument, L"SavePendingDocument", true},
    RequestName{RequestKind::OpenClient, L"openclient", false},
    RequestName{RequestKind::CloseClient, L"closeclient", false},
    RequestName{RequestKind::ChangeBooking, L"change", false},
    RequestName{RequestKind::SetOption, L"option", false},
    RequestName{RequestKind::DescribeReport, L"describe", false},
};

constexpr std::array<std::wstring_view, 9> bookingFields{
    L"belegNr", L"belegIndex", L"text", L"datum", L"betrag", L"opNr", L"barcode", L"ursprung", L"docId"};

/// What a user can fill in when a report is filed.
constexpr std::array<std::wstring_view, 4> reportFields{L"kurzbezeichnung", L"von", L"bis", L"beschreibung"};

struct Token {
    std::wstring text;
    std::size_t column = 0;
    bool quoted = false;
};

class LineParser {
public:
    LineParser(std::wstring_view line, std::size_t number, const std::wstring& fileName)
        : line_(line), number_(number), fileName_(fileName) {}

    std::optional<Request> Parse() {
        Split();
        if (tokens_.empty()) {
            return std::nullopt;
        }
        const RequestName& name = Lookup(tokens_.front());
        Request request;
        request.kind = name.kind;
        request.place = PlaceOf(tokens_.front());
        const std::size_t start = tokens_.front().column - 1;
        request.source = line_.substr(start, line_.find_last_not_of(L" \t\r") + 1 - start);
        ReadArguments(request);
        if (next_ < tokens_.size()) {
            Fail(tokens_[next_].column, L"Angabe zu viel: " + Guillemets(tokens_[next_].text) + L".");
        }
        return request;
    }

private:
    [[noreturn]] void Fail(std::size_t column, const std::wstring& text) const {
        throw Failure(AtPlace(fileName_, {number_, column}, text));
    }

    Place PlaceOf(const Token& token) const { return {number_, token.column}; }

    static bool IsBlank(wchar_t unit) { return unit == L' ' || unit == L'\t' || unit == L'\r'; }

    void Split() {
        std::size_t at = 0;
        while (true) {
            while (at < line_.size() && IsBlank(line_[at])) {
                ++at;
            }
            if (at == line_.size() || line_[at] == L'#') {
                return;
            }
            at = ReadToken(at);
        }
    }

    /// Blanks separate tokens except between double quotes; a doubled quote stands for one. A backslash is an
    /// ordinary character, since texts are often Windows paths.
    std::size_t ReadToken(std::size_t at) {
        Token token;
        token.column = at + 1;
        while (at < line_.size() && !IsBlank(line_[at])) {
            if (line_[at] != L'"') {
                token.text += line_[at++];
                continue;
            }
            token.quoted = true;
            const std::size_t opening = at++;
            while (true) {
                if (at == line_.size()) {
                    Fail(opening + 1, L"Das Anführungszeichen wird nicht geschlossen.");
                }
                if (line_[at] == L'"') {
                    ++at;
                    if (at == line_.size() || line_[at] != L'"') {
                        break;
                    }
                }
                token.text += line_[at++];
            }
        }
        tokens_.push_back(std::move(token));
        return at;
    }

    const RequestName& Lookup(const Token& token) const {
        const auto* found = std::ranges::find_if(
            requestNames, [&](const RequestName& name) { return name.name == token.text; });
        if (found == requestNames.end()) {
            Fail(token.column, L"Unbekannte Anfrage " + Guillemets(token.text) + L".");
        }
        return *found;
    }

    bool HasMore() const { return next_ < tokens_.size(); }

    const Token& Take(const wchar_t* what) {
        if (!HasMore()) {
            Fail(line_.size() + 1, L"Nach " + Guillemets(tokens_.front().text) + L" fehlt: " + what + L".");
        }
        return tokens_[next_++];
    }

    std::wstring TakeOptional() { return HasMore() ? tokens_[next_++].text : std::wstring(); }

    void ReadArguments(Request& request) {
        switch (request.kind) {
        case RequestKind::InitProvider:
        case RequestKind::StartProvider:
        case RequestKind::CreateDocID:
            request.text = TakeOptional();
            break;
        case RequestKind::FibuVersion:
            request.text = Take(L"die Version").text;
            break;
        case RequestKind::GetOpenDocInfo:
        case RequestKind::GetVirtualPrinterName:
        case RequestKind::CloseClient:
            break;
        case RequestKind::SaveDocument:
        case RequestKind::DocumentChanged:
        case RequestKind::DeleteDocument:
        case RequestKind::SetDocumentStatus:
        case RequestKind::SavePendingDocument:
            ReadDocument(request, true);
            break;
        case RequestKind::ShowDocument:
        case RequestKind::PrintDocument:
            ReadDocument(request, false);
            break;
        case RequestKind::OpenClient:
            request.text = Take(L"die Mandantendatei").text;
            request.copy = TakeOptional();
            break;
        case RequestKind::ChangeBooking:
            request.belegNr = Take(L"die Belegnummer").text;
            request.belegIndex = Take(L"der Belegindex").text;
            ReadAssignments(request, bookingFields, L"eine Änderung wie text=\"neuer Text\"",
                            L"Eine Buchung hat kein Feld ");
            break;
        case RequestKind::DescribeReport:
            ReadAssignments(request, reportFields, L"eine Angabe wie beschreibung=\"Saldobilanz\"",
                            L"Eine Auswertung hat keine Angabe ");
            break;
        case RequestKind::SetOption:
            ReadOption(request);
            break;
        }
    }

    void ReadDocument(Request& request, bool voucherRequired) {
        const Token& first = Take(L"die Dokument-ID oder booking");
        request.fromBooking = !first.quoted && first.text == L"booking";
        if (!request.fromBooking) {
            request.docId = first.text;
        }
        if (request.fromBooking || voucherRequired || HasMore()) {
            request.belegNr = Take(L"die Belegnummer").text;
            request.belegIndex = Take(L"der Belegindex").text;
        }
        if (!request.fromBooking) {
            request.barcode = TakeOptional();
        }
    }

    void ReadAssignments(Request& request, std::span<const std::wstring_view> fields, const wchar_t* example,
                         const std::wstring& unknown) {
        do {
            const Token& token = Take(example);
            const std::size_t equals = token.text.find(L'=');
            if (equals == std::wstring::npos) {
                Fail(token.column, L"Erwartet wird Feld=Wert, nicht " + Guillemets(token.text) + L".");
            }
            const std::wstring field = token.text.substr(0, equals);
            if (std::ranges::find(fields, field) == fields.end()) {
                Fail(token.column, unknown + Guillemets(field) + L".");
            }
            request.changes.push_back({field, token.text.substr(equals + 1), PlaceOf(token)});
        } while (HasMore());
    }

    void ReadOption(Request& request) {
        const Token& key = Take(L"der Schlüssel");
        const bool isNumber = !key.text.empty() && key.text.size() <= 5 &&
                              key.text.find_first_not_of(L"0123456789") == std::wstring::npos;
        request.optionKey = isNumber ? std::stoi(key.text) : -1;
        if (request.optionKey < 0 || request.optionKey > INT16_MAX) {
            Fail(key.column,
                 L"Der Schlüssel ist eine Zahl von 0 bis 32767, nicht " + Guillemets(key.text) + L".");
        }
        request.text = Take(L"der Wert").text;
    }

    std::wstring_view line_;
    std::size_t number_;
    const std::wstring& fileName_;
    std::vector<Token> tokens_;
    std::size_t next_ = 1;
};

}  // namespace

std::wstring AtPlace(const std::wstring& fileName, const Place& place, const std::wstring& text) {
    return fileName + L", Zeile " + std::to_wstring(place.line) + L", Spalte " +
           std::to_wstring(place.column) + L": " + text;
}

std::wstring Guillemets(std::wstring_view text) {
    return L"«" + std::wstring(text) + L"»";
}

std::wstring_view NameOf(RequestKind kind) {
    return std::ranges::find_if(requestNames, [&](const auto& name) { return name.kind == kind; })->name;
}

bool IsSentToComponent(RequestKind kind) {
    return std::ranges::find_if(requestNames, [&](const auto& name) { return name.kind == kind; })->sent;
}

std::vector<Request> ParseRequests(std::wstring_view text, const std::wstring& fileName) {
    if (text.starts_with(L'\uFEFF')) {
        text.remove_prefix(1);
    }
    std::vector<Request> requests;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find(L'\n'), text.size());
        LineParser parser(text.substr(0, end), number, fileName);
        if (auto request = parser.Parse()) {
            requests.push_back(std::move(*request));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return requests;
}

}  // namespace kandora::simulators
