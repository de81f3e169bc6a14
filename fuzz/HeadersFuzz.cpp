// Header collections: a block is parsed, edited by a script of bytes and formatted, side by side with a plain
// table that takes every operation at its word.
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "http/InternetHeaders.h"

namespace {

using namespace vantorel;  // NOLINT(google-build-using-namespace): the harness is about nothing else

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

// The collection as its description has it, without a thought for time.
class Model {
 public:
  void Append(const std::string& name, const std::string& value) {
    std::string key = Lower(name);
    for (int count = 1; table_.count(key) != 0; ++count) {
      key = key.substr(0, key.find(':')) + ":" + std::to_string(count);
    }
    table_[key] = value;
  }
  int NameCount(const std::string& name) const {
    int count = 0;
    while (table_.count(Key(name, count)) != 0) ++count;
    return count;
  }
  void Set(const std::string& name, const std::string& value) {
    if (NameCount(name) >= 2) Delete(name);
    table_[Key(name, 0)] = value;
  }
  void Set(const std::string& name, const std::string& value, int index) {
    if (table_.count(Key(name, index)) != 0) {
      table_[Key(name, index)] = value;
    } else {
      Append(Key(name, index), value);
    }
  }
  void Delete(const std::string& name) {
    const int count = NameCount(name);
    for (int i = 0; i < count; ++i) table_.erase(Key(name, i));
  }
  void Delete(const std::string& name, int index) {
    if (table_.erase(Key(name, index)) == 0) return;
    for (int k = index + 1; table_.count(Key(name, k)) != 0; ++k) {
      table_[Key(name, k - 1)] = table_[Key(name, k)];
      table_.erase(Key(name, k));
    }
  }
  bool Matches(const InternetHeaders& headers) const {
    if (headers.Count() != static_cast<std::int32_t>(table_.size())) return false;
    for (std::int32_t i = 0; i < headers.Count(); ++i) {
      const auto found = table_.find(Lower(headers._Headers->Key(i).view()));
      if (found == table_.end() || found->second != headers.Value(i).view()) return false;
    }
    return true;
  }

 private:
  static std::string Key(const std::string& name, int index) {
    return Lower(name) + (index == 0 ? "" : ":" + std::to_string(index));
  }
  std::map<std::string, std::string> table_;
};

std::string Replaced(std::string text, const std::string& old_text) {
  for (std::size_t at = 0; (at = text.find(old_text, at)) != std::string::npos; ++at) {
    text.replace(at, old_text.size(), " ");
  }
  return text;
}

void Parse(const std::string& block, Model& model) {
  const bool lf = block.find('\n') != std::string::npos;
  const bool cr = block.find('\r') != std::string::npos;
  const bool both = block.find("\r\n") != std::string::npos;
  const std::string eol = both || (!lf && !cr) ? "\r\n" : lf ? "\n" : "\r";
  std::string rest = Replaced(Replaced(block, eol + " "), eol + "\t") + eol;
  for (std::size_t end; (end = rest.find(eol)) != std::string::npos; rest.erase(0, end + eol.size())) {
    const std::string line = rest.substr(0, end);
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    const std::size_t value = line.find_first_not_of(" \t\n\v\f\r", colon + 1);
    model.Append(line.substr(0, colon), value == std::string::npos ? "" : line.substr(value));
  }
}

// One edit: a byte for what and whom, one for the index.
void Edit(std::uint8_t what, int index, InternetHeaders& headers, Model& model) {
  constexpr const char* kNames[] = {"a", "A", "b", ""};
  const char* const name = kNames[what >> 3 & 3];
  const std::string value = std::to_string(index);
  const String text = String::Bytes(value);
  switch (what & 7) {
    case 0:
    case 1:
      headers.AppendHeader(name, text);
      return model.Append(name, value);
    case 2:
      headers.SetHeader(name, text);
      return model.Set(name, value);
    case 3:
    case 4:
      headers.SetHeader(name, text, index);
      return model.Set(name, value, index);
    case 5:
      headers.Delete(name);
      return model.Delete(name);
    default:
      headers.Delete(name, index);
      return model.Delete(name, index);
  }
}

void Require(bool held) {
  if (!held) __builtin_trap();
}

}  // namespace

// The first byte is the length of the script, in edits.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t edits = std::min<std::size_t>(data[0], (size - 1) / 2);
  const std::string block(reinterpret_cast<const char*>(data) + 1 + 2 * edits, size - 1 - 2 * edits);
  const auto headers = New<InternetHeaders>();
  Model model;
  headers->_ParseHeaders(String::Bytes(block));
  Parse(block, model);
  Require(model.Matches(*headers));
  for (std::size_t i = 0; i < edits; ++i) Edit(data[1 + 2 * i], data[2 + 2 * i] & 7, *headers, model);
  Require(model.Matches(*headers));
  std::size_t formatted = headers->Count() == 0 ? 0 : static_cast<std::size_t>(headers->Count()) * 4 - 2;
  for (std::int32_t i = 0; i < headers->Count(); ++i) {
    formatted += headers->Name(i).size() + headers->Value(i).size();
    Require(headers->NameCount(headers->Name(i)) <= headers->Count());
  }
  Require(headers->_FormatHTTPHeaders().size() == formatted);
  headers->_FormatEmailHeaders();
  return 0;
}
