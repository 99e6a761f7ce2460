#pragma once

#include <windows.h>

#include <oaidl.h>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "interfaces/ComPtr.h"

namespace kandora::benchmarks {

/// What the component said to its archive and host, step by step, to be said again by bare calls with known
/// ids: the least that the same conversation can cost.
class Conversation {
public:
    /// How objects are made when the steps are said again.
    using Maker = std::function<ComPtr<IDispatch>(REFCLSID clsid)>;
    explicit Conversation(Maker maker) : maker_(std::move(maker)) {}
    ~Conversation() = default;
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    /// For Workbench::Watch: an object in the place of the one that was made, which tells this conversation
    /// what is done with it. Takes over the reference.
    IDispatch* Listen(REFCLSID clsid, IDispatch* made);

    /// Number of steps so far.
    [[nodiscard]] std::size_t Steps() const noexcept { return steps_.size(); }
    /// Says the steps again. Objects made in them take the place of earlier ones with the same role and are
    /// let go where the component did so; objects of steps before `begin` must have been made by an earlier
    /// call, and stay. With `askingIds` each id is asked where it was. Throws std::runtime_error when a call
    /// fails.
    void SayAgain(std::size_t begin, std::size_t end, bool askingIds);
    /// How many of the steps are calls, and how many ask for an id.
    [[nodiscard]] std::size_t Calls(std::size_t begin, std::size_t end) const;
    [[nodiscard]] std::size_t Questions(std::size_t begin, std::size_t end) const;
    /// Lets go of the objects that SayAgain holds.
    void Release();

private:
    class Listener;

    /// An argument as the component passed it; a by-reference one with its value.
    struct Passed {
        VARTYPE type = VT_EMPTY;
        LONG number = 0;
        std::wstring text;
    };
    struct Step {
        enum class Kind { Make, Ask, Call, LetGo } kind = Kind::Call;
        std::size_t object = 0;
        CLSID clsid{};
        std::wstring name;
        DISPID id = DISPID_UNKNOWN;
        WORD flags = 0;
        bool wantsResult = false;
        std::vector<Passed> arguments;  ///< last one first
        std::size_t resultObject = none;
    };
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    /// Takes over the reference and hands one out.
    IDispatch* NewListener(IDispatch* object);
    void Call(const Step& step);
    void Hold(std::size_t role, ComPtr<IDispatch> object);

    Maker maker_;
    std::vector<Step> steps_;
    std::size_t roles_ = 0;
    std::vector<std::size_t> madeAt_;  ///< by role: the step
    std::vector<ComPtr<IDispatch>> held_;
};

}  // namespace kandora::benchmarks
