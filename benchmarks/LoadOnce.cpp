// Loads a DLL once, has it make an object, and tells how many microseconds that took: load_once FILE.
#include <chrono>
#include <exception>
#include <iostream>
#include <stdexcept>

#include <windows.h>

#include <oleauto.h>

#include "Kandora.h"
#include "interfaces/Apartment.h"
#include "interfaces/ComPtr.h"

namespace kandora::benchmarks {

namespace {

void MakeAndRelease(const char* file) {
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const HMODULE module = LoadLibraryA(file);
    const auto getClassObject = reinterpret_cast<GetClassObject>(
        reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
    ComPtr<IClassFactory> factory;
    ComPtr<IUnknown> object;
    if (getClassObject == nullptr ||
        FAILED(getClassObject(CLSID_ELOProvider, IID_IClassFactory, factory.ReceiveVoid())) ||
        FAILED(factory->CreateInstance(nullptr, IID_IUnknown, object.ReceiveVoid()))) {
        throw std::runtime_error("the DLL gives no object");
    }
}

void TellTimeOf(const char* file) {
    using Clock = std::chrono::steady_clock;
    const Apartment apartment;
    SysFreeString(nullptr);  // every host of the component has the library of automation's texts and values
    const Clock::time_point begin = Clock::now();
    MakeAndRelease(file);
    std::cout << std::chrono::duration<double, std::micro>(Clock::now() - begin).count() << '\n';
}

}  // namespace

}  // namespace kandora::benchmarks

int main(int count, char** arguments) try {
    if (count != 2) {
        throw std::runtime_error("usage: load_once FILE");
    }
    kandora::benchmarks::TellTimeOf(arguments[1]);
    return 0;
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
