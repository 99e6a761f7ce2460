#pragma once

#include <cstdint>

namespace kandora {

/// Name of the host's automation class.
inline constexpr const wchar_t* hostClass = L"FibuNT.Mandant";

/// The group of the host's options that holds the client's archive settings.
inline constexpr std::int16_t optionGroup = 600;

/// Keys of the client's options in the option group.
namespace option {
inline constexpr std::int16_t archiveOn = 100;
inline constexpr std::int16_t placeholder = 105;
inline constexpr std::int16_t bookings = 109;
inline constexpr std::int16_t reports = 110;
inline constexpr std::int16_t debtors = 111;
inline constexpr std::int16_t creditors = 112;
}  // namespace option

}  // namespace kandora
