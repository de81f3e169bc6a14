// Text functions. Positions count from 1. Functions whose name ends in B count bytes, the
// others count characters of the string's encoding. None of them fails: what is out of range is cut.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/text/String.h"

namespace vantorel {

std::int32_t Len(const String& text);
String Left(const String& text, std::int32_t count);
String Right(const String& text, std::int32_t count);
String Mid(const String& text, std::int32_t start);
String Mid(const String& text, std::int32_t start, std::int32_t count);

std::int32_t LenB(const String& text);
String LeftB(const String& text, std::int32_t count);
String MidB(const String& text, std::int32_t start);
String MidB(const String& text, std::int32_t start, std::int32_t count);

// Position of the first match at or after `start` (0: from the beginning), ignoring ASCII case; 0 if there is
// none. An empty pattern is found nowhere.
std::int32_t InStr(std::int32_t start, const String& text, const String& pattern);
std::int32_t InStr(const String& text, const String& pattern);
// The n-th field (from 1) between occurrences of `separator`, found as InStr finds it; empty if there are
// fewer.
String NthField(const String& text, const String& separator, std::int32_t n);
std::vector<String> Split(const String& text, const String& separator);
String ReplaceAll(const String& text, const String& old_text, const String& new_text);
String LTrim(const String& text);

String Str(std::int64_t number);
// The number at the start of the text after white space, 0 if there is none.
double Val(const String& text);
// The one pattern in use is "0": a whole number in plain digits.
String Format(double number, const String& pattern);
String Hex(std::int64_t number);
// Code of the first character, of a UTF-8 text its code point; 0 if the text is empty.
std::int32_t Asc(const String& text);
// The character of a code point, in UTF-8.
String Chr(std::int32_t code);

// The same text, ignoring ASCII letter case; labels play no part.
bool SameText(const String& a, const String& b);
// The same with a text of the program's own, for loops in which making a String of it each time would tell.
bool SameText(const String& a, const char* literal);
// Compares bytes, minding case: negative, 0 or positive. `mode` is always 0.
std::int32_t StrComp(const String& a, const String& b, std::int32_t mode);
// A hash under which all strings that are SameText collide, for tables keyed by name.
std::size_t CaselessHash(const String& text);

Ref<TextEncoding> Encoding(const String& text);
// The same bytes with another label (nil: none).
String DefineEncoding(const String& text, const Ref<TextEncoding>& encoding);
// The text re-expressed in `encoding`, with that label; '?' takes the place of what it cannot express. A text
// without a label counts as being in the system's default encoding.
String ConvertEncoding(const String& text, const Ref<TextEncoding>& encoding);
// Best guess among the Japanese encodings for bytes that are not plain ASCII; nil if none fits.
Ref<TextEncoding> GuessJapaneseEncoding(const String& text);
// Standard Base64 with a line break after each `line_wrap` output characters but not at the end (0: none).
// The break is CR LF and a blank, the folded form, so that a long text can stand in a message header.
String EncodeBase64(const String& data, std::int32_t line_wrap);

// A negative 32-bit argument is widened by sign.
inline std::uint64_t BitwiseAnd(std::uint64_t a, std::uint64_t b) {
  return a & b;
}
inline std::uint64_t BitwiseOr(std::uint64_t a, std::uint64_t b) {
  return a | b;
}
inline double Min(double a, double b) {
  return std::min(a, b);
}
inline double Max(double a, double b) {
  return std::max(a, b);
}
inline double Pow(double a, double b) {
  return std::pow(a, b);
}

}  // namespace vantorel
