// The classic Finder attributes of a file, as they lie in the 32 bytes of FInfo and FXInfo.
#pragma once

#include <array>
#include <cstdint>

#include "platform/text/String.h"

namespace vantorel {

struct FinderInfo {
  std::array<char, 4> type{};
  std::array<char, 4> creator{};
  std::uint16_t flags = 0;
  std::int16_t location_v = 0;
  std::int16_t location_h = 0;
  std::int16_t folder = 0;
  std::uint8_t script = 0;          // fdScript
  std::uint8_t extended_flags = 0;  // fdXFlags

  bool operator==(const FinderInfo&) const = default;
  // The 4 bytes, or the empty string where none is set.
  String TypeText() const { return CodeText(type); }
  String CreatorText() const { return CodeText(creator); }

  // True if nothing is set, so that nothing need be stored.
  bool IsEmpty() const { return *this == FinderInfo{}; }

  // From and to the 32 bytes of AppleDouble's Finder info entry. Storing leaves the bytes that no field here
  // stands for as they are.
  static FinderInfo Load(const char* bytes);
  void Store(char* bytes) const;

 private:
  static String CodeText(const std::array<char, 4>& code);
};

}  // namespace vantorel
