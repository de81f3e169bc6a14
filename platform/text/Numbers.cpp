// The text functions between numbers and text. None depends on the locale.
#include <array>
#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

String Labelled(std::string text) {
  return String::Adopt(std::move(text), Encodings::UTF8());
}

bool IsDigit(std::string_view text, std::size_t at) {
  return at < text.size() && text[at] >= '0' && text[at] <= '9';
}

}  // namespace

String Str(std::int64_t number) {
  return Labelled(std::to_string(number));
}

double Val(const String& text) {
  const String trimmed = LTrim(text);
  std::string_view rest = trimmed.view();
  const bool negative = rest.substr(0, 1) == "-";
  if (negative || rest.substr(0, 1) == "+") rest.remove_prefix(1);
  // The library's parser would also take words such as "inf" and "nan".
  if (!IsDigit(rest, rest.substr(0, 1) == "." ? 1 : 0)) return 0;
  double number = 0;
  const std::from_chars_result result = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  // Too large or too small: the C library tells which.
  if (result.ec == std::errc::result_out_of_range) number = std::strtod(std::string(rest).c_str(), nullptr);
  return negative ? -number : number;
}

String Format(double number, const String& /*pattern*/) {
  if (!std::isfinite(number)) return "0";
  std::array<char, std::numeric_limits<double>::max_exponent10 + 3> digits;  // sign and all digits
  const double whole = std::round(number) + 0.0;                             // no negative zero
  const std::to_chars_result end =
      std::to_chars(digits.data(), digits.data() + digits.size(), whole, std::chars_format::fixed, 0);
  return Labelled(std::string(digits.data(), end.ptr));
}

String Hex(std::int64_t number) {
  std::array<char, 2 * sizeof number + 1> digits;
  std::snprintf(digits.data(), digits.size(), "%" PRIX64, static_cast<std::uint64_t>(number));
  return Labelled(digits.data());
}

}  // namespace vantorel
