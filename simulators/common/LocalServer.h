#pragma once

#include <windows.h>

#include <oaidl.h>
#include <objbase.h>

#include <functional>
#include <string>

#include "interfaces/ComPtr.h"

/// What an out-of-process automation server needs: registration, class factory, class object.
namespace kandora::simulators {

/// A class as the registry knows it.
struct ServerClass {
    CLSID id;
    std::wstring progId;
    std::wstring description;  ///< German, for people who browse the registry
};

/// Writes ProgID, CLSID and LocalServer32 below HKEY_LOCAL_MACHINE\Software\Classes or, where that is not
/// allowed, HKEY_CURRENT_USER\Software\Classes; on 64-bit systems for clients of both bitnesses. `command` is
/// the whole command line with the program's path quoted. Throws Failure; nothing half-written is left
/// behind.
void RegisterServer(const ServerClass& serverClass, const std::wstring& command);

/// Removes whatever RegisterServer wrote, at both places. Registrations of the name for another class stay.
/// Throws Failure when something exists and may not be removed.
void UnregisterServer(const ServerClass& serverClass);

/// Lets COM hold an object of its own for other processes for as long as it lives.
///
/// When the last object of an interface that other processes use is released, wine takes the interface back
/// and waits for the calls to it that have not quite ended. If the last one ends at that very moment, nobody
/// tells the waiting thread, and the program hangs for good. With this object there is no last one.
class LastingStub {
public:
    /// For callers by name. Throws Failure when COM refuses.
    LastingStub();
    ~LastingStub();
    LastingStub(const LastingStub&) = delete;
    LastingStub& operator=(const LastingStub&) = delete;

private:
    ComPtr<IStream> marshalled_;
};

/// Makes the class available to COM for as long as it lives.
class ClassObject {
public:
    /// Called on the thread that made the class object, once for every object that a client creates. It may
    /// throw.
    using Maker = std::function<ComPtr<IDispatch>()>;

    /// Throws Failure when COM refuses. `context` is CLSCTX_LOCAL_SERVER for a server of other processes; add
    /// CLSCTX_INPROC_SERVER for callers in the same process.
    ClassObject(const CLSID& id, Maker maker, DWORD context = CLSCTX_LOCAL_SERVER);
    ~ClassObject();
    ClassObject(const ClassObject&) = delete;
    ClassObject& operator=(const ClassObject&) = delete;

    /// True while a client holds the server by IClassFactory::LockServer.
    static bool IsLocked() noexcept;

private:
    LastingStub stub_;
    DWORD cookie_ = 0;
};

/// The text form "{...}" of a class id.
std::wstring ToText(const CLSID& id);

}  // namespace kandora::simulators
