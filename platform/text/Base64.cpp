#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Appends the four characters of the first three bytes of `bytes`, or of what is left of them.
void AppendQuantum(std::string_view bytes, std::string& out) {
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    bits = bits << 8 | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0);
  }
  for (std::size_t i = 0; i < 4; ++i) {
    out += i <= bytes.size() ? kAlphabet[bits >> (18 - 6 * i) & 0x3F] : '=';
  }
}

}  // namespace

String EncodeBase64(const String& data, std::int32_t line_wrap) {
  std::string text;
  text.reserve((data.size() + 2) / 3 * 4);
  const std::string_view bytes = data.view();
  for (std::size_t at = 0; at < bytes.size(); at += 3) AppendQuantum(bytes.substr(at), text);
  if (line_wrap <= 0) return String::Adopt(std::move(text), Encodings::UTF8());
  std::string lines;
  for (std::size_t at = 0; at < text.size(); at += static_cast<std::size_t>(line_wrap)) {
    if (at > 0) lines += "\r\n ";
    lines.append(text, at, static_cast<std::size_t>(line_wrap));
  }
  return String::Adopt(std::move(lines), Encodings::UTF8());
}

}  // namespace vantorel
