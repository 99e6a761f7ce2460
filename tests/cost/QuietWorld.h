#pragma once

#include <windows.h>

#include <oaidl.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "interfaces/ComObject.h"

namespace kandora::cost_tests {

/// An automation object that answers quickly and keeps no record; it only counts calls. Its owner keeps one
/// reference, so that nobody else deletes it.
class QuietObject final : public Undescribed<ComObject<IDispatch>> {
public:
    /// Gets the arguments, last one first as automation passes them, and an empty result.
    using Answer = std::function<void(const DISPPARAMS&, VARIANT&)>;

    void Answers(std::wstring_view member, Answer answer);
    /// The same number each time.
    void Answers(std::wstring_view member, std::int32_t number);
    void Answers(std::wstring_view member, const wchar_t* text);
    void Answers(std::wstring_view member, QuietObject& object);

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* argument) override;

    /// Calls on all objects since the counts were last set to zero.
    static inline long asked = 0;
    static inline long invoked = 0;

private:
    std::map<std::wstring, DISPID, std::less<>> ids_;
    std::vector<Answer> answers_;
};

/// An archive and an accounting host in which every call succeeds. The archive's separator is "/", every
/// folder has the id 800 and a new entry 4711.
class QuietWorld {
public:
    QuietWorld();

    /// The host's object as it is when a client makes one: nobody is logged in.
    QuietObject& NewHost() {
        isClientOpen_ = false;
        return host;
    }

    QuietObject archive;
    QuietObject host;
    QuietObject booking;
    QuietObject openItem;
    QuietObject account;
    QuietObject address;

    /// How many hits a search of the archive lists, and which of them (from 0) is the one that is looked for;
    /// -1 for none. Its index fields hold `wanted`, those of all others something else.
    std::int32_t hits = 0;
    std::int32_t match = -1;
    std::wstring wanted;
    /// Where the booking comes from.
    std::int32_t origin = 0;
    /// The client's options in group 600.
    std::map<std::int32_t, std::wstring> options;

private:
    bool isClientOpen_ = false;
    std::int32_t prepared_ = 0;
};

/// A number among arguments, by value or by reference.
std::int32_t NumberIn(const VARIANT& argument);

}  // namespace kandora::cost_tests
