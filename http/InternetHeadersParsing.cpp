// From a raw header block to the collection.
#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "http/InternetHeaders.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

// A header that is continued on a line beginning with a blank or a tab becomes one line.
String Unfold(const String& text, const String& eol) {
  return ReplaceAll(ReplaceAll(text, eol + " ", " "), eol + Chr(9), " ");
}

void AppendLine(const String& line, InternetHeaders& headers) {
  const std::int32_t colon = InStr(line, ":");
  if (colon == 0) return;  // a status line, as a rule
  headers.AppendHeader(NthField(line, ":", 1), LTrim(Mid(line, colon + 1)));
}

struct HashName {
  std::size_t operator()(const String& name) const { return CaselessHash(name); }
};
struct SameName {
  bool operator()(const String& a, const String& b) const { return SameText(a, b); }
};

}  // namespace

struct InternetHeaders::LastNumbers : std::unordered_map<String, std::int32_t, HashName, SameName> {};

InternetHeaders::InternetHeaders() {
  InternetHeaders::Constructor();
}

InternetHeaders::~InternetHeaders() = default;

void InternetHeaders::AppendHeader(const String& name, const String& value) {
  const auto key = [&](std::int32_t number) {
    return number == 0 ? name : NthField(name, ":", 1) + ":" + Str(number);
  };
  std::int32_t first = 0;
  std::int32_t& number = last_numbers_ ? (*last_numbers_)[name] : first;
  if (!_Headers->HasKey(key(number))) number = 0;  // deleted since it was added
  for (; _Headers->HasKey(key(number)); ++number) RuntimeBackgroundTask();
  _Headers->SetValue(key(number), value);
}

String InternetHeaders::_DetermineEOLCharacter(const String& text) const {
  const std::string_view bytes = text.view();
  if (bytes.find("\r\n") != std::string_view::npos) return "\r\n";
  if (bytes.find('\n') != std::string_view::npos) return "\n";
  if (bytes.find('\r') != std::string_view::npos) return "\r";
  return "\r\n";
}

void InternetHeaders::_ParseHeaders(const String& text) {
  _rawHeaders = text;
  const String eol = _DetermineEOLCharacter(text);
  _Headers = New<Dictionary>();
  const String block = Unfold(text, eol);
  last_numbers_ = std::make_unique<LastNumbers>();
  // Line by line, as a list of all lines could need far more memory than the block.
  for (std::size_t begin = 0; begin < block.size();) {
    const std::size_t end = std::min(block.view().find(eol.view(), begin), block.size());
    AppendLine(block.Slice(begin, end - begin), *this);
    begin = end + eol.size();
    RuntimeBackgroundTask();
  }
  last_numbers_.reset();
}

}  // namespace vantorel
