#pragma once

#include <cstdint>
#include <functional>

#include <windows.h>

#include <oaidl.h>

#include "automation/LateBound.h"

namespace kandora::test {

/// Counts the calls on all objects behind stand-ins, and says what becomes of one of them.
struct Meddling {
    int next = 0;     ///< calls so far
    int victim = -1;  ///< the call that is meddled with, counted from 0; -1: none
    /// What the caller gets, and then owns, instead of the call's own result.
    std::function<VARIANT()> answer;
    /// The call fails with this after it was carried out, unless S_OK.
    HRESULT failure = S_OK;
    /// The victim's caller asked for a result.
    bool hadResult = false;

    void Begin() { next = 0; }
};

/// Puts a stand-in before the object that passes every call on and counts it. Objects in its answers get a
/// stand-in, too. `meddling` must outlive it.
LateBound Meddled(const LateBound& object, Meddling& meddling);

}  // namespace kandora::test
