// What the operations that add a member answer beside the index of the new entry, which is 1 or more.
#pragma once

#include <cstdint>

namespace vantorel::AddResult {

inline constexpr std::int32_t kNotStored = 0;      // aborted, nothing given, or the archive is read-only
inline constexpr std::int32_t kItemFault = -1;     // an unexpected fault while an item was looked at
inline constexpr std::int32_t kWalkEnded = -1;     // the walk through a folder did not get to its end
inline constexpr std::int32_t kStoreFailed = -2;   // the data could not be stored whole
inline constexpr std::int32_t kNotOpened = -38;    // a source stream would not open
inline constexpr std::int32_t kBadArgument = -50;  // there is no name

// The message that goes with kItemFault, and with kStoreFailed for a fault that nothing else tells of.
inline constexpr const char* kUnexpectedFault = "An unexpected error occured while storing an item";

}  // namespace vantorel::AddResult
