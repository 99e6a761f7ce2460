#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "provider/ELOProvider.h"
#include "tests/faults/ArchiveModel.h"
#include "tests/faults/Faults.h"
#include "tests/faults/HostModel.h"
#include "tests/support/Conversation.h"
#include "tests/support/FakePlatform.h"
#include "tests/support/FakeUserInterface.h"
#include "tests/support/Unique.h"
#include "tests/support/VirtualPatience.h"

namespace kandora::test {

/// Where a kind of document has its place.
struct KindRow {
    const wchar_t* name;
    std::int32_t origin;  ///< of its bookings
    std::int32_t mask;
    std::int16_t firstPosition;  ///< of the index fields, which follow each other
    std::size_t fields;
    const wchar_t* folder;  ///< below the client's
};

inline constexpr KindRow voucherKind{L"Beleg", 0, 2, 11, 7, L"Buchungen"};
inline constexpr KindRow debtorKind{L"Debi", 1, 4, 31, 13, L"Debi"};
inline constexpr KindRow creditorKind{L"Kredi", 2, 5, 51, 13, L"Kredi"};

enum class ClientState { On, Off, Undecided };
enum class Begin { Started, First, Again, SwitchedOff, SwitchedOffLater };

/// One request in one of its variants.
struct Variation {
    std::string name;
    std::string request;
    KindRow kind = voucherKind;
    bool barcode = true;
    bool filedBefore = false;  ///< the archive has the voucher's document already
    ClientState client = ClientState::On;
    Begin begin = Begin::Started;  ///< what came before the request
    bool tracing = false;
    bool sessionLost = false;  ///< the archive was restarted since the last request
    bool confirmed = true;     ///< what the user does with the report dialog
};

inline void PrintTo(const Variation& variation, std::ostream* stream) {
    *stream << variation.name;
}

/// All of them.
const std::vector<Variation>& Variations();
const Variation& VariationCalled(const std::string& name);

/// A request as the host makes it.
struct Request {
    std::string name;
    Text docId;
    Variant metadata;
};

struct SentVoucher {
    const wchar_t* docId;
    const wchar_t* number;
    const wchar_t* index;
    const wchar_t* barcode;
};
/// The voucher that all variations are about.
inline constexpr SentVoucher ownVoucher{L"20261115011258", L"17", L"2", L"BC-17"};
/// A second one, for requests that enter during another one. It has no document before.
inline constexpr SentVoucher otherVoucher{L"20261115011300", L"18", L"1", L"BC-18"};

Request RequestOf(const Variation& variation);
Request RequestFor(const std::string& name, const wchar_t* docId, const wchar_t* number, const wchar_t* index,
                   const wchar_t* barcode);

/// The component on the stage; the harness's own tests put a broken one there.
class Player : Unique {
public:
    Player(Platform& platform, UserInterface& userInterface)
        : globals(platform, userInterface), provider(std::make_shared<ELOProvider>(globals)) {}
    virtual ~Player() = default;

    /// The request's result; empty when it has none.
    virtual Variant Carry(const Request& request);

    MGlobals globals;
    std::shared_ptr<ELOProvider> provider;
    /// Knows what belongs to the component and what to the one who asks it.
    Seam* seam = nullptr;

private:
    [[nodiscard]] Variant AsValue(const Text& text) const {
        const OutsideStretch stretch(seam);
        return Variant(text);
    }
};

class Stage;
using Casting = std::function<std::unique_ptr<Player>(Stage& stage)>;
/// The real component.
std::unique_ptr<Player> TheComponent(Stage& stage);

/// The component with everything around it, as it is right before the variation's request.
class Stage {
public:
    explicit Stage(const Variation& theVariation, const Casting& casting = TheComponent);

    Variant Ask(const Request& request) const { return player->Carry(request); }

    /// What the archive must hold after the request, by the rules of the request: worked out from what it
    /// held before.
    [[nodiscard]] Entries After(Entries before) const {
        return After(RequestOf(variation), std::move(before));
    }
    [[nodiscard]] Entries After(const Request& request, Entries before) const;
    /// The same when the archive does not find the voucher's document.
    [[nodiscard]] Entries AfterWhenNotFound(Entries before) const;
    /// The entry that a voucher gets.
    [[nodiscard]] Entry EntryOf(const Request& request) const;
    /// True when the entry belongs to one of the vouchers above, or is a report.
    [[nodiscard]] static bool IsOwn(const Entry& entry);

    const Variation& variation;
    VirtualPatience patience;
    Conductor conductor;
    Conversation talk;
    FakePlatform machine{talk};
    FakeUserInterface screen{talk};
    ArchiveModel archive{&conductor};
    HostModel host{&conductor};
    std::unique_ptr<Player> player;

private:
    void SetUpMachine();
    void SetUpHost();
    void SetUpArchive();

    [[nodiscard]] Entries Found(Entries before, const Request& request, bool findable) const;
};

}  // namespace kandora::test
