#pragma once

#include <memory>

#include "provider/MGlobals.h"

namespace kandora {

/// The calling thread's state, made on first use. It ends when the thread's last leaving of COM is about to
/// happen, because its end logs out of the archive; what the returned pointer keeps alive after that is an
/// empty shell without connections. A thread that dies without leaving COM leaks its state.
std::shared_ptr<MGlobals> CurrentThreadState();

}  // namespace kandora
