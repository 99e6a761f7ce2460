#pragma once

#include "benchmarks/Recorder.h"
#include "tests/cost/Workbench.h"

namespace kandora::benchmarks {

/// A new object of a class that is registered. Throws std::runtime_error.
ComPtr<IDispatch> Registered(REFCLSID clsid);
/// Throws std::runtime_error when there is no such class.
CLSID ClassOf(const wchar_t* progId);

/// How the objects of a conversation are made when it is said again. `bench` must outlive it.
Conversation::Maker MakerFor(cost_tests::Workbench& bench, cost_tests::Surroundings surroundings);
/// For the figure's name.
const char* PlaceOf(cost_tests::Surroundings surroundings);
void Init(DMSProvider& provider);

}  // namespace kandora::benchmarks
