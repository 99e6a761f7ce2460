#include <array>
#include <filesystem>

#include "benchmarks/Figures.h"

namespace kandora::benchmarks {

void MeasureLoading(Figures& figures) {
    std::array<char, 1024> self{};
    GetModuleFileNameA(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const std::filesystem::path loader = std::filesystem::path(self.data()).replace_filename("load_once.exe");
    const auto loading = [&](const std::string& file) {
        return
            [command = "\"\"" + loader.string() + "\" \"" + file + "\"\""] { return NumberToldBy(command); };
    };
    figures.Add(ComparedTimes("load, class object, create, release / empty DLL",
                              figures.Rounds(figures.Given().rounds), loading(figures.Given().component),
                              loading(figures.Given().empty)),
                Row::Aim::AtMost, 1.30);
}

}  // namespace kandora::benchmarks
