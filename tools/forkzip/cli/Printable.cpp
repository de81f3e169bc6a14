#include "tools/forkzip/cli/Printable.h"

#include <unistd.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

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
      for (const char c : text.substr(0, length)) shown += Formatted("\\x%02X", static_cast<std::uint8_t>(c));
    }
    text.remove_prefix(length);
  }
  return shown;
}

bool ShowsColors(int stream) {
  const char* unwanted = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  return isatty(stream) == 1 && (unwanted == nullptr || *unwanted == '\0') && terminal != nullptr &&
         *terminal != '\0' && std::string_view(terminal) != "dumb";
}

std::string Colored(std::string_view text, const char* color) {
  return "\x1B[" + std::string(color) + "m" + std::string(text) + "\x1B[0m";
}

bool IsInUtf8(const String& text) {
  const Ref<TextEncoding> label = Encoding(text);
  return !label || label->Equals(Encodings::UTF8());
}

std::string Utf8(const String& text) {
  return std::string((IsInUtf8(text) ? text : ConvertEncoding(text, Encodings::UTF8())).view());
}

std::string Formatted(const char* format, ...) {
  std::array<char, 120> text{};
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  return text.data();
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
  return Formatted("%.1f %s", value, kUnits.at(unit));
}

}  // namespace vantorel::forkzip
