// From a raw header block to the collection.
#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "http/InternetHeaders.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

struct HashName {
  std::size_t operator()(const String& name) const { return CaselessHash(name); }
};
struct SameName {
  bool operator()(const String& a, const String& b) const { return SameText(a, b); }
};

// Fills a new collection line by line. Does what AppendHeader would do for each, but counts the values of a
// name instead of walking over them, so that a block of one name many times takes no longer than another. In
// a block no name holds a ":", so the count always is the first free number.
class Collector {
 public:
  explicit Collector(Dictionary& headers) : headers_(headers) {}

  void Append(const String& name, const String& value) {
    const std::int32_t count = counts_[name]++;
    headers_.SetValue(count == 0 ? name : name + ":" + Str(count), value);
  }

 private:
  Dictionary& headers_;
  std::unordered_map<String, std::int32_t, HashName, SameName> counts_;
};

// A header that is continued on a line beginning with a blank or a tab becomes one line.
String Unfold(const String& text, const String& eol) {
  return ReplaceAll(ReplaceAll(text, eol + " ", " "), eol + Chr(9), " ");
}

void CollectLine(const String& line, Collector& headers) {
  const std::int32_t colon = InStr(line, ":");
  if (colon == 0) return;  // a status line, as a rule
  headers.Append(NthField(line, ":", 1), LTrim(Mid(line, colon + 1)));
}

}  // namespace

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
  Collector headers(*_Headers);
  // Line by line, as a list of all lines could need far more memory than the block.
  for (std::size_t begin = 0; begin < block.size();) {
    const std::size_t end = std::min(block.view().find(eol.view(), begin), block.size());
    CollectLine(block.Slice(begin, end - begin), headers);
    begin = end + eol.size();
    RuntimeBackgroundTask();
  }
}

}  // namespace vantorel
