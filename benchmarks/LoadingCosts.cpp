#include <array>
#include <iostream>
#include <stdexcept>

#include "benchmarks/Figures.h"
#include "interfaces/Apartment.h"

namespace kandora::benchmarks {

void LoadOnce(const std::string& file) {
    const Apartment apartment;
    const double time = Microseconds([&] {
        using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
        const HMODULE module = LoadLibraryA(file.c_str());
        const auto getClassObject = reinterpret_cast<GetClassObject>(
            reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
        ComPtr<IClassFactory> factory;
        ComPtr<IUnknown> object;
        if (getClassObject == nullptr ||
            FAILED(getClassObject(CLSID_ELOProvider, IID_IClassFactory, factory.ReceiveVoid())) ||
            FAILED(factory->CreateInstance(nullptr, IID_IUnknown, object.ReceiveVoid()))) {
            throw std::runtime_error("the DLL gives no object");
        }
    });
    std::cout << time << '\n' << std::flush;
}

void MeasureLoading(Figures& figures) {
    std::array<char, 1024> self{};
    GetModuleFileNameA(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const auto loading = [&](const std::string& file) {
        return [command = "\"\"" + std::string(self.data()) + "\" --load \"" + file + "\"\""] {
            return NumberToldBy(command);
        };
    };
    figures.Add(ComparedTimes("load, class object, create, release / empty DLL",
                              figures.Rounds(figures.Given().rounds), loading(figures.Given().component),
                              loading(figures.Given().empty)),
                Row::Aim::AtMost, 1.30);
}

}  // namespace kandora::benchmarks
