#pragma once

#include <cstdint>
#include <functional>

#include <windows.h>

#include <oaidl.h>

#include "automation/LateBound.h"

namespace kandora::test {

/// Counts the calls on all objects that it stands before, and meddles with one of them.
struct Meddling {
    int next = 0;     ///< calls so far
    int victim = -1;  ///< the call that is meddled with, counted from 0; -1: none
    /// What the caller gets instead of the call's own result; it owns it.
    std::function<VARIANT()> answer;
    /// The call fails with this after it was carried out, unless S_OK.
    HRESULT failure = S_OK;
    /// The victim's member asked for a result.
    bool hadResult = false;

    void Begin() { next = 0; }
};

/// The object behind a stand-in that passes every call on and counts it. Objects that it answers get a
/// stand-in of their own.
LateBound Meddled(const LateBound& object, Meddling& meddling);

}  // namespace kandora::test
