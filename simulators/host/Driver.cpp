#include "simulators/host/Driver.h"

#include <algorithm>
#include <optional>

#include "simulators/common/Failure.h"
#include "simulators/common/Files.h"
#include "simulators/host/TrialBalance.h"

namespace kandora::simulators {

namespace {

std::filesystem::path Beside(const std::wstring& requestFile, const std::wstring& path) {
    return std::filesystem::path(requestFile).parent_path() / path;
}

ClientFile LoadClientOf(const Request& request, const std::wstring& requestFile, bool makeCopy) {
    const std::filesystem::path copy =
        makeCopy && !request.copy.empty() ? Beside(requestFile, request.copy) : std::filesystem::path();
    return LoadClient(Beside(requestFile, request.text), copy);
}

Booking& BookingOf(const Request& request, const std::wstring& requestFile, ClientFile* client) {
    if (!client) {
        throw Failure(AtPlace(requestFile, request.place, L"Es ist kein Mandant geöffnet."));
    }
    Booking* booking = client->FindBooking(request.belegNr, request.belegIndex);
    if (!booking) {
        throw Failure(AtPlace(requestFile, request.place,
                              L"Die Buchung " + request.belegNr + L"/" + request.belegIndex +
                                  L" gibt es im Mandanten " + Guillemets(client->Mandant()) + L" nicht."));
    }
    return *booking;
}

void RequireDocId(const Request& request, const std::wstring& requestFile, const Booking& booking) {
    if (booking.docId.empty()) {
        throw Failure(AtPlace(requestFile, request.place,
                              L"Die Buchung " + booking.belegNr + L"/" + booking.belegIndex +
                                  L" hat keine Dokument-ID."));
    }
}

Booking& Apply(const Request& request, const std::wstring& requestFile, ClientFile* client) {
    Booking& booking = BookingOf(request, requestFile, client);
    const auto isOther = [&](const Booking& candidate) {
        return &candidate != &booking && candidate.belegNr == booking.belegNr &&
               candidate.belegIndex == booking.belegIndex;
    };
    for (const FieldChange& change : request.changes) {
        const std::wstring complaint = SetBookingField(booking, change.field, change.value);
        if (!complaint.empty()) {
            throw Failure(AtPlace(requestFile, change.place, complaint));
        }
    }
    if (std::ranges::any_of(client->Bookings(), isOther)) {
        throw Failure(
            AtPlace(requestFile, request.place,
                    L"Die Buchung " + booking.belegNr + L"/" + booking.belegIndex + L" gibt es schon."));
    }
    return booking;
}

ReportDescription DescriptionIn(const Request& request) {
    ReportDescription description;
    for (const FieldChange& change : request.changes) {
        if (change.field == L"kurzbezeichnung") {
            description.shortName = change.value;
        } else if (change.field == L"von") {
            description.from = change.value;
        } else if (change.field == L"bis") {
            description.to = change.value;
        } else {
            description.description = change.value;
        }
    }
    return description;
}

/// Out-of-process objects and windows of the component live on this thread's messages.
void HandleMessages() {
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

}  // namespace

ClientFile LoadClient(const std::filesystem::path& path, const std::filesystem::path& copy) {
    if (copy.empty()) {
        return ClientFile::Load(path);
    }
    WriteFileAtomically(copy.wstring(), ReadWholeFile(path.wstring()));
    ClientFile client = ClientFile::Load(copy);
    client.KeepChanges();
    return client;
}

Outcome Driver::Run(const Request& request, const std::wstring& requestFile) {
    Outcome outcome;
    outcome.kind = request.kind;
    outcome.source = request.source;
    outcome.belegNr = request.belegNr;
    outcome.belegIndex = request.belegIndex;
    switch (request.kind) {
    case RequestKind::OpenClient:
        accounting_.OpenClient(LoadClientOf(request, requestFile, true));
        break;
    case RequestKind::CloseClient:
        accounting_.CloseClient();
        break;
    case RequestKind::ChangeBooking: {
        const Booking& booking = Apply(request, requestFile, accounting_.Client());
        accounting_.Client()->Keep(booking, request.changes);
        break;
    }
    case RequestKind::SetOption:
        if (!accounting_.Client()) {
            throw Failure(AtPlace(requestFile, request.place, L"Es ist kein Mandant geöffnet."));
        }
        accounting_.Client()->SetOption(optionGroup, request.optionKey, request.text);
        break;
    case RequestKind::DescribeReport:
        if (boxes_) {
            boxes_->DescribeNextReport(DescriptionIn(request));
        }
        break;
    default:
        Send(request, requestFile, outcome);
        break;
    }
    return outcome;
}

void Driver::Send(const Request& request, const std::wstring& requestFile, Outcome& outcome) {
    outcome.docId = request.docId;
    outcome.barcode = request.barcode;
    if (request.fromBooking) {
        const Booking& booking = BookingOf(request, requestFile, accounting_.Client());
        RequireDocId(request, requestFile, booking);
        outcome.docId = booking.docId;
        outcome.barcode = booking.barcode;
    }
    if (request.kind == RequestKind::PrintDocument && !printerFile_.empty() && accounting_.Client()) {
        WriteFileAtomically(printerFile_.wstring(),
                            RenderTrialBalance(ComputeTrialBalance(*accounting_.Client())));
    }
    ProviderCall call;
    call.kind = request.kind;
    call.docId = outcome.docId;
    call.argument = Value::Text(request.text);
    call.metaData =
        MakeMetaData(accounting_.LastClient(), outcome.belegNr, outcome.belegIndex, outcome.barcode);
    if (request.kind == RequestKind::CreateDocID || request.kind == RequestKind::SavePendingDocument) {
        call.argument = call.metaData;
    }
    ProviderAnswer answer = provider_.Send(call);
    HandleMessages();
    outcome.code = answer.code;
    outcome.result = std::move(answer.result);
    if (boxes_) {
        outcome.boxes = boxes_->TakeAnswered();
    }
}

void CheckRequests(const std::vector<Request>& requests, const std::wstring& requestFile,
                   const ClientFile* client) {
    std::optional<ClientFile> open;
    if (client) {
        open = *client;
    }
    for (const Request& request : requests) {
        ClientFile* current = open ? &*open : nullptr;
        if (request.kind == RequestKind::OpenClient) {
            try {
                open = LoadClientOf(request, requestFile, false);
            } catch (const Failure& failure) {
                throw Failure(AtPlace(requestFile, request.place, failure.Message()));
            }
        } else if (request.kind == RequestKind::ChangeBooking) {
            Apply(request, requestFile, current);
        } else if (request.fromBooking) {
            RequireDocId(request, requestFile, BookingOf(request, requestFile, current));
        } else if (request.kind == RequestKind::SetOption && !current) {
            throw Failure(AtPlace(requestFile, request.place, L"Es ist kein Mandant geöffnet."));
        }
    }
}

std::vector<Request> YearRequests(const ClientFile& client) {
    std::vector<Request> requests(2);
    requests[0].kind = RequestKind::InitProvider;
    requests[1].kind = RequestKind::StartProvider;
    for (const Booking& booking : client.Bookings()) {
        if (booking.docId.empty()) {
            throw Failure(client.Path().wstring() + L": Die Buchung " + booking.belegNr + L"/" +
                          booking.belegIndex + L" hat keine Dokument-ID.");
        }
        Request request;
        request.kind = RequestKind::SaveDocument;
        request.belegNr = booking.belegNr;
        request.belegIndex = booking.belegIndex;
        request.fromBooking = true;
        requests.push_back(std::move(request));
    }
    return requests;
}

}  // namespace kandora::simulators
