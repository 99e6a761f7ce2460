#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/kit/Judge.h"
#include "tools/kit/KitReport.h"
#include "tools/kit/Pledges.h"
#include "tools/kit/Steps.h"

namespace kandora::kit {

/// The parts of a run that are no test programs. Each makes its surroundings, and takes them away again when
/// all goes well; what it leaves behind otherwise, the run gives back. They throw StepFailure and
/// Interrupted.
namespace part {

inline constexpr const wchar_t* year = L"jahr";
inline constexpr const wchar_t* package = L"paket";
inline constexpr const wchar_t* measurements = L"messungen";

}  // namespace part

/// A year of the sample client through the component, what happens to it afterwards, and the comparison of
/// the archive with the client's file. Answers what is worth knowing.
Text FileTheYear(const Kit& kit, const Judge& judge, Steps& steps);

/// Installs the package, uses and checks it, puts the next version over it, repairs and removes it.
Text TryThePackage(const Kit& kit, Pledges& pledges, Steps& steps);

/// The products on this machine that the package would replace.
std::vector<Text> InstalledProducts(const Text& upgradeCode);
/// Takes a product away; answers whether it is gone. Not to be interrupted.
bool RemoveProduct(const Kit& kit, const Text& code);

/// What calls, requests and lookups cost. The figures are in the log.
Text Measure(const Kit& kit, Steps& steps);

/// Where the year changes the user's settings: the form of dates and amounts.
RegistryPlace FormatsOfUser();

}  // namespace kandora::kit
