#include "benchmarks/RecordedRequests.h"

#include <stdexcept>
#include <string>

namespace kandora::benchmarks {

using cost_tests::Surroundings;
using cost_tests::Workbench;

ComPtr<IDispatch> Registered(REFCLSID clsid) {
    ComPtr<IDispatch> object;
    const HRESULT made = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                                          IID_IDispatch, object.ReceiveVoid());
    if (FAILED(made)) {
        throw std::runtime_error("no object of a registered class: " + std::to_string(made));
    }
    return object;
}

CLSID ClassOf(const wchar_t* progId) {
    CLSID clsid{};
    if (FAILED(CLSIDFromProgID(progId, &clsid))) {
        throw std::runtime_error("the archive or the host is not registered");
    }
    return clsid;
}

Conversation::Maker MakerFor(Workbench& bench, Surroundings surroundings) {
    if (surroundings != Surroundings::Quiet) {
        return &Registered;
    }
    return [&bench](REFCLSID clsid) {
        const bool isArchive = clsid == cost_tests::ArchiveClass();
        return ComPtr<IDispatch>(isArchive ? &bench.world.archive : &bench.world.NewHost());
    };
}

const char* PlaceOf(Surroundings surroundings) {
    return surroundings == Surroundings::Quiet ? " (in process)" : " (out of process)";
}

void Init(DMSProvider& provider) {
    VARIANT result{};
    provider.InitProvider(VARIANT{}, &result);
}

}  // namespace kandora::benchmarks
