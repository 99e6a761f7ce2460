#pragma once

#include <filesystem>

namespace kandora::test {

/// The file of the running program.
std::filesystem::path OwnFile();

/// A file or folder of the build, named as seen from its top folder: that of the nearest folder above this
/// program that has one. What lies elsewhere than in the folder where it was built, a kit for instance, is
/// laid out as the build is. The name alone when nobody has it.
std::filesystem::path BuiltFile(const std::filesystem::path& name);

}  // namespace kandora::test
