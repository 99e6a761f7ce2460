#pragma once

#include <cstdint>

/// Numbers to which the archive's members give a meaning.
namespace kandora::archive {

inline constexpr std::int16_t none = 0;
inline constexpr std::int16_t documentEntry = 254;    ///< "PrepareObjectEx": what is prepared is a document
inline constexpr std::int16_t filedEntry = -2;        ///< "GetEntryId": the entry that was filed last
inline constexpr std::int16_t currentEntry = -1;      ///< "GetEntryId": answered by every living session
inline constexpr std::int32_t firstHit = 0x10000000;  ///< "GetEntryId": the search's first hit; others follow
inline constexpr std::int32_t lowestObjectId = 2;     ///< lower answers are no hit
inline constexpr std::int16_t lastHitExamined = 10000;  ///< counted from 0
inline constexpr std::int16_t searchView = 3;           ///< "SelectView"

}  // namespace kandora::archive
