#pragma once

#include "automation/Replaceable.h"
#include "automation/Text.h"

namespace kandora {

/// What filing needs of the accounting side: first the booking's kind, which loads the booking, then exactly
/// one of the data operations, which fills the shared record of that kind from the loaded booking.
class VoucherData : public Replaceable {
public:
    /// "Debi", "Kredi" or "Beleg"; any other answer means that the booking is of no kind that is filed.
    virtual Text GetBuchungsType(const Text& strBelegNr, const Text& strBelegIndex) = 0;
    virtual void GetDebiDaten(const Text& strBelegNr, const Text& strIndex) = 0;
    virtual void GetKrediDaten(const Text& strBelegNr, const Text& strIndex) = 0;
    virtual void GetBelegDaten(const Text& strBelegNr, const Text& strIndex) = 0;
};

}  // namespace kandora
