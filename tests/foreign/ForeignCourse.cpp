#include "tests/foreign/ForeignCourse.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iomanip>
#include <sstream>
#include <utility>

#include "Kandora.h"
#include "interfaces/CodePages.h"
#include "interfaces/ComPtr.h"
#include "tests/support/ForwardingDispatch.h"
#include "tests/support/Unique.h"

namespace kandora::foreign_tests {

using component_tests::Bstr;
using component_tests::Value;
using model_tests::Booking;

namespace {

// In the metadata; how they look as text depends on the user's settings alone.
constexpr double number = 1234.5;
constexpr DATE date = 46027.25;

void Replace(std::string& text, const std::string& from, const std::string& to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

/// As the platform writes the value for this user.
std::string PlatformText(VARTYPE type, double given) {
    Value value;
    value.Place()->vt = type;
    value.Place()->dblVal = given;
    Value text;
    EXPECT_EQ(VariantChangeTypeEx(text.Receive(), value.Place(), LOCALE_USER_DEFAULT, 0, VT_BSTR), S_OK);
    return Utf8FromText(text.AsText());
}

/// The time in an answer is another one each time.
std::string WithoutDigits(std::string text) {
    std::ranges::replace_if(text, [](unsigned char unit) { return std::isdigit(unit) != 0; }, '#');
    return text;
}

std::string TextOf(const Value& value) {
    if (value.Type() != (VT_ARRAY | VT_VARIANT)) {
        return "(Typ " + std::to_string(value.Type()) + ")";
    }
    std::string text;
    LONG last = -1;
    SafeArrayGetUBound(value.Raw().parray, 1, &last);
    for (LONG at = 0; at <= last; ++at) {
        Value element;
        SafeArrayGetElement(value.Raw().parray, &at, element.Receive());
        text += WithoutDigits(Utf8FromText(element.AsText())) + ";";
    }
    return text;
}

Value DataOf(const Booking& booking) {
    Value data = Value::Texts({L"", L"", booking.number, booking.index, booking.barcode});
    Value first = Value::Double(number);
    Value second = Value::Double(date);
    second.Place()->vt = VT_DATE;
    LONG at = 0;
    SafeArrayPutElement(data.Raw().parray, &at, first.Place());
    SafeArrayPutElement(data.Raw().parray, &++at, second.Place());
    return data;
}

/// A request as it is about to be sent: nothing is left to be done but the call.
struct Prepared {
    explicit Prepared(const Booking& booking) : id(booking.docId), data(DataOf(booking)) {}

    Bstr id;
    Value data;
    Value nothing;
    Bstr text;
    Value answer;
};

struct Request {
    const char* name;
    HRESULT (*send)(DMSProvider*, Prepared&);
};

constexpr auto requests = std::to_array<Request>({
    {"StartProvider", [](DMSProvider* host, Prepared& with) { return host->StartProvider(with.data.Raw()); }},
    {"FibuVersion", [](DMSProvider* host, Prepared& with) { return host->FibuVersion(with.data.Raw()); }},
    {"CreateDocID", [](DMSProvider* host,
                       Prepared& with) { return host->CreateDocID(with.data.Raw(), with.text.Receive()); }},
    {"GetOpenDocInfo",
     [](DMSProvider* host, Prepared& with) { return host->GetOpenDocInfo(with.answer.Receive()); }},
    {"GetVirtualPrinterName",
     [](DMSProvider* host, Prepared& with) { return host->GetVirtualPrinterName(with.text.Receive()); }},
    {"SaveDocument",
     [](DMSProvider* host, Prepared& with) { return host->SaveDocument(with.id.Get(), with.data.Raw()); }},
    {"SavePendingDocument",
     [](DMSProvider* host, Prepared& with) {
         return host->SavePendingDocument(with.nothing.Raw(), with.id.Get(), with.data.Raw());
     }},
    {"DocumentChanged",
     [](DMSProvider* host, Prepared& with) { return host->DocumentChanged(with.id.Get(), with.data.Raw()); }},
    {"SetDocumentStatus",
     [](DMSProvider* host, Prepared& with) {
         return host->SetDocumentStatus(with.id.Get(), with.data.Raw());
     }},
    {"ShowDocument",
     [](DMSProvider* host, Prepared& with) { return host->ShowDocument(with.id.Get(), with.data.Raw()); }},
    {"PrintDocument",
     [](DMSProvider* host, Prepared& with) { return host->PrintDocument(with.id.Get(), with.data.Raw()); }},
    {"DeleteDocument",
     [](DMSProvider* host, Prepared& with) { return host->DeleteDocument(with.id.Get(), with.data.Raw()); }},
    // The last one: after it has failed, no other request does anything.
    {"InitProvider",
     [](DMSProvider* host, Prepared& with) {
         return host->InitProvider(with.data.Raw(), with.answer.Receive());
     }},
});
constexpr std::size_t saveDocument = 5;
constexpr std::size_t initProvider = requests.size() - 1;

void WriteSettings(const fs::path& folder, const std::string& from, const std::string& to) {
    const fs::path file = folder / L"Kandora.ini";
    std::string text = test::BytesOf(file);
    EXPECT_NE(text.find(from), std::string::npos);
    Replace(text, from, to);
    test::WriteBytes(file, text);
    // The system keeps INI files in memory for a while; this makes it read the file again.
    WritePrivateProfileStringW(nullptr, nullptr, nullptr, file.c_str());
}

/// Nobody else opens the file for as long as it lives.
class Occupied : test::Unique {
public:
    explicit Occupied(const fs::path& file)
        : handle_(CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)) {
        EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
    }
    ~Occupied() { CloseHandle(handle_); }

private:
    HANDLE handle_;
};

std::vector<fs::path> LogsIn(const fs::path& folder) {
    std::vector<fs::path> logs;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == L".log") {
            logs.push_back(entry.path());
        }
    }
    return logs;
}

fs::path FolderOf(const Component& component) {
    std::array<wchar_t, 1024> file{};
    GetModuleFileNameW(component.Module(), file.data(), static_cast<DWORD>(file.size()));
    return fs::path(file.data()).parent_path();
}

/// An object of another program that does something more in each call.
class Meddler final : public test::ForwardingDispatch {
public:
    Meddler(IDispatch* object, std::function<void()> action)
        : ForwardingDispatch(object), action_(std::move(action)) {}

    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID iid, LCID locale, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* wrongArgument) override {
        const HRESULT outcome = ForwardingDispatch::Invoke(member, iid, locale, flags, parameters, result,
                                                           exception, wrongArgument);
        action_();
        return outcome;
    }

private:
    std::function<void()> action_;
};

ComPtr<IDispatch> Meddling(ComPtr<IDispatch> object, const std::function<void()>& action) {
    if (!action) {
        return object;
    }
    return ComPtr<IDispatch>::Adopt(new Meddler(object.Get(), action));
}

/// Both programs' classes in this apartment.
class Programs {
public:
    explicit Programs(stress_tests::Place& place, const std::function<void()>& inside = nullptr)
        : archive_(
              place.archiveName.id,
              [&place, inside] { return Meddling(model_tests::NewSession(place.archive), inside); },
              CLSCTX_INPROC_SERVER),
          accounting_(
              place.accountingName.id,
              [&place, inside] { return Meddling(model_tests::NewClient(place.accounting), inside); },
              CLSCTX_INPROC_SERVER) {}

private:
    simulators::ClassObject archive_;
    simulators::ClassObject accounting_;
};

class Course {
public:
    Course(Installation& installation, const Component& component, Boxes& boxes, const Around& around)
        : place_(installation.place), component_(component), folder_(FolderOf(component)), boxes_(boxes),
          around_(around), programs_(place_, around.inside) {
        place_.archive.entries.clear();
        place_.archive.nextId = 1000;
        const std::vector<fs::path> logs = LogsIn(folder_);
        std::ranges::for_each(logs, [](const fs::path& log) { fs::remove(log); });
    }

    std::string Play() {
        ComPtr<_ELOProvider> own;
        Tell("new ELOProvider", [&](auto&) { return Create(CLSID_ELOProvider, IID__ELOProvider, own); });
        provider_ = own.As<DMSProvider>(IID_DMSProvider);
        Send(initProvider);
        lines_ << "-- as it should be\n";
        SendAll();
        Send(saveDocument);
        PlayOutside();
        for (const std::uint32_t call : {1U, 12U}) {
            lines_ << "-- the other programs fail from call " << call << " on\n";
            firstFailure_ = call;
            SendAll();
            firstFailure_ = 0;
            Send(initProvider);
            firstFailure_ = call;
            PlayOutside();
            firstFailure_ = 0;
        }
        PlayWithoutLog();
        // Without regard to case.
        WriteSettings(folder_, "ArchivAktiv=True", "ArchivAktiv=fALSe");
        Send(initProvider);
        WriteSettings(folder_, "ArchivAktiv=fALSe", "ArchivAktiv=True");
        Tell("end of ELOProvider", [&](auto&) {
            provider_.Reset();
            own.Reset();
            return S_OK;
        });
        TellFiled();
        TellLogged();
        return lines_.str();
    }

private:
    template <class Call>
    void Tell(const std::string& name, Call&& call) {
        std::string answer;
        place_.faults.Begin(firstFailure_ == 0 ? std::nullopt
                                               : std::optional(model_tests::Fault{
                                                     model_tests::FaultKind::Error, firstFailure_, true}));
        around_.before();
        const HRESULT outcome = call(answer);
        around_.after();
        place_.faults.End();
        lines_ << name << " " << std::hex << static_cast<std::uint32_t>(outcome) << std::dec << " " << answer
               << "\n";
        TellError();
        for (const std::wstring& box : boxes_.Take()) {
            lines_ << "    " << Utf8FromText(box) << "\n";
        }
    }

    void TellError() {
        ComPtr<IErrorInfo> error;
        if (GetErrorInfo(0, error.Receive()) == S_OK) {
            Bstr description;
            Bstr source;
            error->GetDescription(description.Receive());
            error->GetSource(source.Receive());
            lines_ << "    " << Utf8FromText(description.Text()) << " (" << Utf8FromText(source.Text())
                   << ")\n";
        }
    }

    template <class Interface>
    HRESULT Create(REFCLSID clsid, REFIID iid, ComPtr<Interface>& object) {
        object = component_.Create<Interface>(clsid, iid);
        return object ? S_OK : E_FAIL;
    }

    void Send(std::size_t which) {
        const Booking& booking = place_.ledger.Current().bookings[1];
        Prepared with(booking);
        Tell(requests[which].name, [&](std::string& answer) {
            const HRESULT outcome = requests[which].send(provider_.Get(), with);
            answer = "'" + WithoutDigits(Utf8FromText(with.text.Text())) + "' " + TextOf(with.answer);
            return outcome;
        });
    }

    void SendAll() {
        for (std::size_t which = 0; which < requests.size(); ++which) {
            Send(which);
        }
    }

    void PlayOutside() {
        ComPtr<_ELODMS> client;
        ComPtr<_OrigELODMS> older;
        ComPtr<_SOKInterface> accounting;
        ComPtr<_cUser> user;
        Tell("new ELODMS", [&](auto&) { return Create(CLSID_ELODMS, IID__ELODMS, client); });
        Tell("new OrigELODMS", [&](auto&) { return Create(CLSID_OrigELODMS, IID__OrigELODMS, older); });
        Tell("new SOKInterface",
             [&](auto&) { return Create(CLSID_SOKInterface, IID__SOKInterface, accounting); });
        Tell("new cUser", [&](auto&) { return Create(CLSID_cUser, IID__cUser, user); });
        Bstr text;
        Bstr path(L"/Straße/İSTANBUL ısı/Größe");
        Tell("PFadErstellen", [&](std::string& answer) {
            const HRESULT outcome = client->PFadErstellen(path.Place(), text.Receive());
            answer = Utf8FromText(path.Text()) + " " + Utf8FromText(text.Text());
            return outcome;
        });
        Tell("CheckLogin", [&](std::string& answer) {
            const HRESULT outcome = client->CheckLogin(text.Receive());
            answer = Utf8FromText(text.Text());
            return outcome;
        });
        // The name in capitals, and a number that becomes a text on its way.
        Tell("FINDSAGEDOCUMENTBYID", [&](std::string& answer) {
            const auto called = component_tests::Call(client.Get(), L"FINDSAGEDOCUMENTBYID",
                                                      component_tests::List(Value::Double(number)));
            answer = std::to_string(called.result.Raw().lVal) + " " + Utf8FromText(called.description);
            return called.outcome;
        });
        VARIANT_BOOL answered = VARIANT_FALSE;
        Tell("OrigELODMS.IsDokumentVorhanden", [&](std::string& answer) {
            const HRESULT outcome = older->IsDokumentVorhanden(1000, &answered);
            answer = std::to_string(answered);
            return outcome;
        });
        DATE registered = 0;
        Tell("OrigELODMS.CurrentRegisterDate", [&](std::string& answer) {
            const HRESULT outcome = older->CurrentRegisterDate(1000, &registered);
            answer = std::to_string(static_cast<long>(registered));
            return outcome;
        });
        Tell("SOKInterface.EinstellungenLesen", [&](std::string& answer) {
            const HRESULT outcome = accounting->EinstellungenLesen(&answered);
            answer = std::to_string(answered);
            return outcome;
        });
        Bstr name(L"Müller");
        Tell("cUser.sName", [&](std::string& answer) {
            const HRESULT outcome = user->put_sName(name.Get());
            user->get_sName(text.Receive());
            answer = Utf8FromText(text.Text());
            return outcome;
        });
        Tell("end", [&](auto&) {
            client.Reset();
            older.Reset();
            accounting.Reset();
            user.Reset();
            return S_OK;
        });
    }

    void PlayWithoutLog() {
        lines_ << "-- the log cannot be written\n";
        const std::vector<fs::path> logs = LogsIn(folder_);
        ASSERT_EQ(logs.size(), 1U);
        const Occupied log(logs.front());
        SendAll();
    }

    void TellFiled() {
        lines_ << "-- filed\n";
        for (const auto& [id, entry] : place_.archive.entries) {
            lines_ << id << " " << entry.mask << " " << Utf8FromText(entry.title) << " "
                   << Utf8FromText(entry.folder) << " "
                   << Utf8FromText(fs::path(entry.document).filename().wstring());
            for (const auto& [line, text] : entry.fields) {
                lines_ << " | " << line << " " << Utf8FromText(text);
            }
            lines_ << "\n";
        }
        for (const auto& [path, id] : place_.archive.folders) {
            lines_ << Utf8FromText(path) << "\n";
        }
    }

    void TellLogged() {
        lines_ << "-- logged\n";
        for (const fs::path& log : LogsIn(folder_)) {
            std::istringstream stream(test::BytesOf(log));
            constexpr std::size_t timeLength = 19;
            for (std::string line; std::getline(stream, line);) {
                line = line.substr(std::min(timeLength, line.size()));
                Replace(line, PlatformText(VT_R8, number), "<number>");
                Replace(line, PlatformText(VT_DATE, date), "<date>");
                lines_ << line << "\n";
            }
        }
    }

    stress_tests::Place& place_;
    const Component& component_;
    fs::path folder_;
    Boxes& boxes_;
    const Around& around_;
    Programs programs_;
    ComPtr<DMSProvider> provider_;
    std::uint32_t firstFailure_ = 0;  ///< the other programs' calls fail from this one on; 0: none
    std::ostringstream lines_;
};

}  // namespace

Installation::Installation() {
    WriteSettings(Library().parent_path(), "Test=False", "Test=True");
}

fs::path Installation::Copy(const wchar_t* folder) const {
    const fs::path copy = Library().parent_path() / folder;
    fs::create_directory(copy);
    for (const wchar_t* const name : {L"Kandora.dll", L"Kandora.ini"}) {
        fs::copy_file(Library().parent_path() / name, copy / name);
    }
    return copy / L"Kandora.dll";
}

std::string Play(Installation& installation, const Component& component, Boxes& boxes, const Around& around) {
    return Course(installation, component, boxes, around).Play();
}

const std::vector<std::string>& RequestNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const Request& request : requests) {
            all.emplace_back(request.name);
        }
        return all;
    }();
    return names;
}

struct Ready::Parts {
    Parts(Installation& installation, const Component& component)
        : programs(installation.place), with(installation.place.ledger.Current().bookings[1]),
          own(component.Create<_ELOProvider>(CLSID_ELOProvider, IID__ELOProvider)),
          provider(own.As<DMSProvider>(IID_DMSProvider)),
          client(component.Create<_ELODMS>(CLSID_ELODMS, IID__ELODMS)) {}

    static Value Nested() {
        Value nested = Value::Double(number);
        for (int depth = 0; depth < 100; ++depth) {
            Value outer;
            outer.Place()->vt = VT_ARRAY | VT_VARIANT;
            outer.Place()->parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
            LONG first = 0;
            SafeArrayPutElement(outer.Raw().parray, &first, nested.Place());
            nested = std::move(outer);
        }
        return nested;
    }

    Programs programs;
    Prepared with;
    Value nested = Nested();
    ComPtr<_ELOProvider> own;
    ComPtr<DMSProvider> provider;
    ComPtr<_ELODMS> client;
};

Ready::Ready(Installation& installation, const Component& component)
    : parts_(std::make_unique<Parts>(installation, component)) {
    Send(initProvider);
}

Ready::~Ready() = default;

HRESULT Ready::Send(std::size_t request) {
    return requests.at(request).send(parts_->provider.Get(), parts_->with);
}

HRESULT Ready::SendNested() {
    return parts_->provider->FibuVersion(parts_->nested.Raw());
}

HRESULT Ready::CheckLogin() {
    return parts_->client->CheckLogin(parts_->with.text.Receive());
}

}  // namespace kandora::foreign_tests
