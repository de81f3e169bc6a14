// The text functions that compare, and that look for one text in another.
#include <algorithm>
#include <limits>
#include <utility>

#include "platform/text/CaseFolding.h"
#include "platform/text/CharacterUnits.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// Walks over the fields of a text from left to right.
class Fields {
 public:
  Fields(const String& text, const String& separator)
      : text_(text), separator_(separator.view()), units_(UnitsOf(text)) {}

  // Finds the next field. False behind the last; there is always a first.
  bool Next() {
    if (end_ == text_.size() && !first_) return false;
    begin_ = first_ ? 0 : end_ + separator_.size();
    first_ = false;
    const std::size_t found =
        separator_.empty() ? kNone : FindCharacters(text_.view(), units_, separator_, begin_);
    end_ = std::min(found, text_.size());
    return true;
  }

  String Field() const { return text_.Slice(begin_, end_ - begin_); }

 private:
  const String& text_;
  std::string_view separator_;
  TextEncoding::Units units_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool first_ = true;
};

}  // namespace

bool SameText(const String& a, const String& b) {
  return EqualIgnoringCase(a.view(), b.view());
}

bool SameText(const String& a, const char* literal) {
  return EqualIgnoringCase(a.view(), literal);
}

std::int32_t StrComp(const String& a, const String& b, std::int32_t /*mode*/) {
  return std::clamp(a.view().compare(b.view()), -1, 1);
}

std::size_t CaselessHash(const String& text) {
  return HashIgnoringCase(text.view());
}

std::int32_t InStr(std::int32_t start, const String& text, const String& pattern) {
  if (pattern.empty()) return 0;
  const std::string_view bytes = text.view();
  const TextEncoding::Units units = UnitsOf(text);
  const auto skipped = static_cast<std::size_t>(std::max(start, 1)) - 1;
  const std::size_t from = BytesOfCharacters(bytes, units, skipped);
  const std::size_t found = FindCharacters(bytes, units, pattern.view(), from);
  if (found == kNone) return 0;
  const std::size_t position = skipped + CharacterCount(bytes.substr(from, found - from), units) + 1;
  return position > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())
             ? 0
             : static_cast<std::int32_t>(position);
}

std::int32_t InStr(const String& text, const String& pattern) {
  return InStr(0, text, pattern);
}

String NthField(const String& text, const String& separator, std::int32_t n) {
  Fields fields(text, separator);
  for (std::int32_t i = 0; i < n; ++i) {
    if (!fields.Next()) return {};
  }
  return n > 0 ? fields.Field() : String();
}

std::vector<String> Split(const String& text, const String& separator) {
  std::vector<String> result;
  for (Fields fields(text, separator); fields.Next();) result.push_back(fields.Field());
  return result;
}

String ReplaceAll(const String& text, const String& old_text, const String& new_text) {
  const std::string_view bytes = text.view();
  const TextEncoding::Units units = UnitsOf(text);
  std::size_t found = old_text.empty() ? kNone : FindCharacters(bytes, units, old_text.view(), 0);
  if (found == kNone) return text;
  std::string result;
  result.reserve(bytes.size());
  std::size_t done = 0;
  for (; found != kNone; found = FindCharacters(bytes, units, old_text.view(), done)) {
    result.append(bytes.substr(done, found - done)).append(new_text.view());
    done = found + old_text.size();
  }
  result.append(bytes.substr(done));
  return String::Adopt(std::move(result), Encoding(text));
}

}  // namespace vantorel
