#include <array>
#include <filesystem>

#include "benchmarks/Figures.h"

namespace kandora::benchmarks {

void MeasureLoading(Figures& figures) {
    std::array<char, 1024> self{};
    GetModuleFileNameA(nullptr, self.data(), static_cast<DWORD>(self.size()));
    const auto beside = [&](const char* file) {
        return std::filesystem::path(self.data()).replace_filename(file).string();
    };
    const auto loading = [&](const std::string& file) {
        return [command = "\"\"" + beside("load_once.exe") + "\" \"" + file + "\"\""] {
            return NumberToldBy(command);
        };
    };
    const auto compare = [&](const std::string& floor, const std::string& file, Row::Aim aim) {
        figures.Add(ComparedTimes("load, class object, create, release / " + floor,
                                  figures.Rounds(figures.Given().rounds), loading(figures.Given().component),
                                  loading(file)),
                    aim, 1.30);
    };
    compare("empty DLL", figures.Given().empty, Row::Aim::AtMost);
    compare("empty DLL in which nothing runs", beside("bare_server.dll"), Row::Aim::Shown);
}

}  // namespace kandora::benchmarks
