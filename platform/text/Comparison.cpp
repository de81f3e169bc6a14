// The text functions that compare.
#include <algorithm>

#include "platform/text/CaseFolding.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

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

}  // namespace vantorel
