#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kandora::simulators {

enum class RequestKind {
    InitProvider,
    StartProvider,
    FibuVersion,
    CreateDocID,
    GetOpenDocInfo,
    GetVirtualPrinterName,
    SaveDocument,
    DocumentChanged,
    DeleteDocument,
    ShowDocument,
    PrintDocument,
    SetDocumentStatus,
    SavePendingDocument,
    OpenClient,
    CloseClient,
    ChangeBooking,
    SetOption,
    DescribeReport,
};

/// Where in the request file a request or one of its values stands; both count from 1, the column in UTF-16
/// units.
struct Place {
    std::size_t line = 0;
    std::size_t column = 0;
};

/// One assignment of a `change` or `describe` request.
struct FieldChange {
    std::wstring field;
    std::wstring value;
    Place place;
};

/// One line of a request file. Which members carry a value depends on the kind.
struct Request {
    RequestKind kind = RequestKind::InitProvider;
    Place place;
    /// The line as it stands in the file, without the blanks around it.
    std::wstring source;
    std::wstring docId;
    std::wstring belegNr;
    std::wstring belegIndex;
    std::wstring barcode;
    /// Document id and barcode are taken from the open client's booking when the request is sent.
    bool fromBooking = false;
    /// Argument of InitProvider, StartProvider, FibuVersion, CreateDocID; client file of `openclient`; option
    /// value.
    std::wstring text;
    /// File on which `openclient` works instead of the client file itself; empty for none.
    std::wstring copy;
    /// Option key of `option`.
    int optionKey = 0;
    std::vector<FieldChange> changes;
};

/// The name under which a request stands in request files, in the output and in reports.
std::wstring_view NameOf(RequestKind kind);

/// True for the requests that are sent to the component; false for those that change the accounting's own
/// data.
bool IsSentToComponent(RequestKind kind);

/// Reads the text of a request file; `fileName` only names it in messages. Throws Failure at the first
/// mistake.
std::vector<Request> ParseRequests(std::wstring_view text, const std::wstring& fileName);

/// "FILE, Zeile 3, Spalte 7: TEXT".
std::wstring AtPlace(const std::wstring& fileName, const Place& place, const std::wstring& text);

/// `text` in Swiss quotation marks.
std::wstring Guillemets(std::wstring_view text);

}  // namespace kandora::simulators
