#pragma once

#include "Kandora.h"
#include "archive/cUser.h"
#include "component/AutomationObject.h"
#include "model/Records.h"

namespace kandora {

/// A public class whose properties are the texts of a plain record of its own.
template <class Interface, const IID& iid, class Record>
class RecordObject : public AutomationObject<Interface, iid> {
protected:
    HRESULT Read(BSTR* result, Text Record::* field) {
        return this->Result(result, [&] { return record_.*field; });
    }
    HRESULT Write(BSTR newValue, Text Record::* field) {
        return this->Guarded([&] { record_.*field = TextOf(newValue); });
    }

    Record record_;
};

/// Both halves of a text property.
#define KANDORA_TEXT_PROPERTY(Record, Name)                                                                  \
    HRESULT STDMETHODCALLTYPE get_##Name(BSTR* result) override {                                            \
        return this->Read(result, &Record::Name);                                                            \
    }                                                                                                        \
    HRESULT STDMETHODCALLTYPE put_##Name(BSTR newValue) override {                                           \
        return this->Write(newValue, &Record::Name);                                                         \
    }

/// What every kind of voucher has.
template <class Interface, const IID& iid>
class VoucherObject : public RecordObject<Interface, iid, DocumentRecord> {
public:
    KANDORA_TEXT_PROPERTY(DocumentRecord, Kurzbezeichnung)
    KANDORA_TEXT_PROPERTY(DocumentRecord, Barcode)
    KANDORA_TEXT_PROPERTY(DocumentRecord, BelegNr)
    KANDORA_TEXT_PROPERTY(DocumentRecord, BelegIndex)
    KANDORA_TEXT_PROPERTY(DocumentRecord, BelegStatus)
    KANDORA_TEXT_PROPERTY(DocumentRecord, SesamDocID)
    KANDORA_TEXT_PROPERTY(DocumentRecord, Valutadatum)
    KANDORA_TEXT_PROPERTY(DocumentRecord, Betrag)
};

/// A plain voucher.
class cBelegObject final : public VoucherObject<_cBeleg, IID__cBeleg> {};

/// A document of a business partner; debtors and creditors have a class each with the same members.
template <class Interface, const IID& iid>
class PartnerObject final : public VoucherObject<Interface, iid> {
public:
    KANDORA_TEXT_PROPERTY(DocumentRecord, Rechnungsdatum)
    KANDORA_TEXT_PROPERTY(DocumentRecord, OPNr)
    KANDORA_TEXT_PROPERTY(DocumentRecord, PKNr)
    KANDORA_TEXT_PROPERTY(DocumentRecord, AdressNr)
    KANDORA_TEXT_PROPERTY(DocumentRecord, Kundenname)
    KANDORA_TEXT_PROPERTY(DocumentRecord, Kundenort)
};
using cDebiBelegObject = PartnerObject<_cDebiBeleg, IID__cDebiBeleg>;
using cKrediBelegObject = PartnerObject<_cKrediBeleg, IID__cKrediBeleg>;

/// A report.
class cAuswertungObject final : public RecordObject<_cAuswertung, IID__cAuswertung, ReportRecord> {
public:
    KANDORA_TEXT_PROPERTY(ReportRecord, Kurzbezeichnung)
    KANDORA_TEXT_PROPERTY(ReportRecord, Listenbeschreibung)
    KANDORA_TEXT_PROPERTY(ReportRecord, DatumVon)
    KANDORA_TEXT_PROPERTY(ReportRecord, DatumBis)
};

/// The archive user's credentials.
class cUserObject final : public RecordObject<_cUser, IID__cUser, cUser> {
public:
    KANDORA_TEXT_PROPERTY(cUser, sName)
    KANDORA_TEXT_PROPERTY(cUser, sPasswort)
    KANDORA_TEXT_PROPERTY(cUser, sKuerzel)
    HRESULT STDMETHODCALLTYPE get_bLoggedOn(VARIANT_BOOL* result) override {
        return Result(result, [&] { return record_.bLoggedOn(); });
    }
};

#undef KANDORA_TEXT_PROPERTY

}  // namespace kandora
