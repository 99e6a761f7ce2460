#include "component/TypeLibraries.h"

#include <vector>

#include "automation/Errors.h"
#include "automation/WindowsPlatform.h"
#include "interfaces/ComPtr.h"

namespace kandora {

namespace {

struct Description {
    IID iid;
    ITypeInfo* info;
};

/// Lives as long as the process: the module is never unloaded once it has handed out a class.
struct Cache {
    SRWLOCK lock = SRWLOCK_INIT;
    std::vector<Description> descriptions;
};

class Lock {
public:
    explicit Lock(Cache& cache) : cache_(cache) { AcquireSRWLockExclusive(&cache_.lock); }
    ~Lock() { ReleaseSRWLockExclusive(&cache_.lock); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    Cache& cache_;
};

Cache& TheCache() {
    static auto* const cache = new Cache;
    return *cache;
}

}  // namespace

HRESULT LoadLibraryOf(int resource, ITypeLib** library) noexcept {
    *library = nullptr;
    try {
        const Text path = WindowsPlatform().ComponentFile() + L"\\" + Decimal(resource);
        return LoadTypeLibEx(path.c_str(), REGKIND_NONE, library);
    } catch (...) {
        return HresultOf(CurrentNumber());
    }
}

HRESULT DescriptionOf(REFIID iid, int resource, ITypeInfo** description) noexcept {
    *description = nullptr;
    try {
        Cache& cache = TheCache();
        const Lock lock(cache);
        for (const Description& known : cache.descriptions) {
            if (known.iid == iid) {
                *description = known.info;
                return S_OK;
            }
        }
        ComPtr<ITypeLib> library;
        if (const HRESULT loaded = LoadLibraryOf(resource, library.Receive()); FAILED(loaded)) {
            return loaded;
        }
        ITypeInfo* info = nullptr;
        const HRESULT found = library->GetTypeInfoOfGuid(iid, &info);
        if (FAILED(found)) {
            return found;
        }
        cache.descriptions.push_back({iid, info});
        *description = info;
        return S_OK;
    } catch (...) {
        return HresultOf(CurrentNumber());
    }
}

}  // namespace kandora
