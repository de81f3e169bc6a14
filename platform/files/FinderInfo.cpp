#include "platform/files/FinderInfo.h"

#include <algorithm>

#include "platform/base/ByteOrder.h"
#include "platform/files/AppleDouble.h"

namespace vantorel {

namespace Finder = AppleDouble::Finder;

String FinderInfo::CodeText(const std::array<char, 4>& code) {
  return code == std::array<char, 4>{} ? String() : String::Bytes({code.data(), code.size()});
}

FinderInfo FinderInfo::Load(const char* bytes) {
  FinderInfo info;
  std::copy_n(bytes + Finder::kType, info.type.size(), info.type.begin());
  std::copy_n(bytes + Finder::kCreator, info.creator.size(), info.creator.begin());
  info.flags = Load16(bytes + Finder::kFlags, ByteOrder::kBig);
  info.location_v = static_cast<std::int16_t>(Load16(bytes + Finder::kLocationV, ByteOrder::kBig));
  info.location_h = static_cast<std::int16_t>(Load16(bytes + Finder::kLocationH, ByteOrder::kBig));
  info.folder = static_cast<std::int16_t>(Load16(bytes + Finder::kFolder, ByteOrder::kBig));
  info.script = static_cast<std::uint8_t>(bytes[Finder::kScript]);
  info.extended_flags = static_cast<std::uint8_t>(bytes[Finder::kExtendedFlags]);
  return info;
}

void FinderInfo::Store(char* bytes) const {
  std::copy_n(type.begin(), type.size(), bytes + Finder::kType);
  std::copy_n(creator.begin(), creator.size(), bytes + Finder::kCreator);
  Store16(bytes + Finder::kFlags, flags, ByteOrder::kBig);
  Store16(bytes + Finder::kLocationV, static_cast<std::uint16_t>(location_v), ByteOrder::kBig);
  Store16(bytes + Finder::kLocationH, static_cast<std::uint16_t>(location_h), ByteOrder::kBig);
  Store16(bytes + Finder::kFolder, static_cast<std::uint16_t>(folder), ByteOrder::kBig);
  bytes[Finder::kScript] = static_cast<char>(script);
  bytes[Finder::kExtendedFlags] = static_cast<char>(extended_flags);
}

}  // namespace vantorel
