#include "tools/forkzip/cli/Printable.h"

#include <array>
#include <cstdio>

#include "platform/text/TextFunctions.h"
#include "platform/text/Utf8.h"

namespace vantorel::forkzip {

namespace {

bool MayBeShown(std::uint32_t code) {
  const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool direction = (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
  const bool line_end = code == 0x2028 || code == 0x2029;
  return !control && !direction && !line_end;
}

}  // namespace

std::string Printable(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const Utf8Character character = FirstUtf8Character(text);
    const std::size_t length = character.length == 0 ? 1 : character.length;
    if (character.length != 0 && MayBeShown(character.code)) {
      shown += text.substr(0, length);
    } else {
      for (const char c : text.substr(0, length)) {
        std::array<char, 5> escape{};
        std::snprintf(escape.data(), escape.size(), "\\x%02X",
                      static_cast<unsigned>(static_cast<std::uint8_t>(c)));
        shown += escape.data();
      }
    }
    text.remove_prefix(length);
  }
  return shown;
}

bool IsInUtf8(const String& text) {
  const Ref<TextEncoding> label = Encoding(text);
  return !label || label->Equals(Encodings::UTF8());
}

std::string Utf8(const String& text) {
  return std::string((IsInUtf8(text) ? text : ConvertEncoding(text, Encodings::UTF8())).view());
}

std::string Count(unsigned long long number, std::string_view singular) {
  return std::to_string(number) + " " + std::string(singular) + (number == 1 ? "" : "s");
}

std::string HumanSize(unsigned long long bytes) {
  if (bytes < 1024) return Count(bytes, "byte");
  constexpr std::array<const char*, 4> kUnits = {"KiB", "MiB", "GiB", "TiB"};
  auto value = static_cast<double>(bytes) / 1024;
  std::size_t unit = 0;
  for (; value >= 1000 && unit + 1 < kUnits.size(); ++unit) value /= 1024;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f %s", value, kUnits.at(unit));
  return text.data();
}

}  // namespace vantorel::forkzip
