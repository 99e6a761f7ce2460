#include "tests/faults/HostModel.h"

#include "tests/protocol/World.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace kandora::test {

namespace {

constexpr std::int32_t notFound = -1;

}  // namespace

Fake HostModel::NewBooking() {
    Fake object("booking");
    object->GoesThrough(seam_);
    const auto loaded = std::make_shared<Booking>();
    object->Answers(L"lesen", [this, loaded](Call& call) {
        const auto found = bookings.find({call.TextAt(0), call.TextAt(1)});
        if (found == bookings.end()) {
            return Variant(notFound);
        }
        *loaded = found->second;
        return Variant(std::int32_t{0});
    });
    object->Answers(L"ursprung", [loaded](Call&) { return Variant(loaded->origin); });
    for (const auto& [member, value] : {std::pair{L"Text", &Booking::text},
                                        {L"Datum", &Booking::date},
                                        {L"Betrag", &Booking::amount},
                                        {L"OPNr", &Booking::openItem}}) {
        object->Answers(member, [loaded, value = value](Call&) { return Variant((*loaded).*value); });
    }
    return object;
}

Fake HostModel::NewPart(const char* name, const wchar_t* key, Text Booking::* number,
                        std::initializer_list<std::pair<const wchar_t*, Text Booking::*>> values) {
    Fake object(name);
    object->GoesThrough(seam_);
    const auto loaded = std::make_shared<Booking>();
    object->Answers(key, [this, loaded, number](Call& call) {
        // A value that is no text finds nothing, like an unknown number.
        const Text wanted = call.arguments.at(0).Type() == VT_BSTR ? call.TextAt(0) : Text();
        const auto found = std::ranges::find_if(
            bookings, [&](const auto& booking) { return booking.second.*number == wanted; });
        *loaded = found == bookings.end() ? Booking() : found->second;
        return Variant(found == bookings.end() ? notFound : 0);
    });
    for (const auto& [member, value] : values) {
        object->Answers(member, [loaded, value = value](Call&) { return Variant((*loaded).*value); });
    }
    return object;
}

Fake HostModel::NewObject() {
    Fake object("host");
    object->GoesThrough(seam_);
    const auto open = OpensAndCloses(object, client);
    const auto whenOpen = [open](auto answer) {
        return [open, answer](Call& call) -> Variant {
            if (!*open) {
                throw Failure::Exception(clientClosed, L"Es ist kein Mandant geöffnet.");
            }
            return answer(call);
        };
    };
    object->Answers(L"IniLesen", whenOpen([this](Call& call) {
                        const auto found = options.find(call.LongAt(1));
                        return Variant(found == options.end() ? Text() : found->second);
                    }));
    object->Answers(L"Inischreiben", whenOpen([this](Call& call) {
                        options[call.LongAt(1)] = call.TextAt(2);
                        return Variant(true);
                    }));
    object->Answers(L"neubuchung", whenOpen([this](Call&) { return NewBooking().AsVariant(); }));
    object->Answers(L"neuOP", whenOpen([this](Call&) {
                        return NewPart("openItem", L"lesen", &Booking::openItem,
                                       {{L"Datum", &Booking::invoiceDate},
                                        {L"BetragFaktura", &Booking::invoiceAmount},
                                        {L"PKNr", &Booking::account}})
                            .AsVariant();
                    }));
    object->Answers(L"neuPK", whenOpen([this](Call&) {
                        return NewPart("account", L"lesen", &Booking::account,
                                       {{L"AdressID", &Booking::addressId}})
                            .AsVariant();
                    }));
    object->Answers(L"neuAdresse", whenOpen([this](Call&) {
                        return NewPart("address", L"lesen", &Booking::addressId,
                                       {{L"Firma", &Booking::company},
                                        {L"PLZ", &Booking::postcode},
                                        {L"Ort", &Booking::place}})
                            .AsVariant();
                    }));
    return object;
}

}  // namespace kandora::test
