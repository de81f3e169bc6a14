#include "zip/archive/ZipPath.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/text/TextFunctions.h"

namespace vantorel {

namespace {

String WithoutColons(const String& text) {
  if (text.view().find(':') == std::string_view::npos) return text;
  std::string kept(text.view());
  std::erase(kept, ':');
  return String::Adopt(std::move(kept), Encoding(text));
}

}  // namespace

ZipPath::ZipPath(const String& raw_path) {
  const Ref<Parts> parts = New<Parts>();
  parts->text = WithoutColons(raw_path);
  const std::string_view text = parts->text.view();
  parts->spans.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '/')) + 1);

  std::size_t begin = 0;
  for (std::size_t slash = text.find('/'); slash != std::string_view::npos; slash = text.find('/', begin)) {
    if (text.substr(begin, slash - begin) != ".") parts->Add(begin, slash);
    begin = slash + 1;
  }
  parts->leaf_begin = begin;
  if (begin < text.size()) parts->Add(begin, text.size());
  parts_ = parts;
}

void ZipPath::Parts::Add(std::size_t begin, std::size_t end) {
  spans.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end - begin)});
}

String ZipPath::operator[](std::size_t index) const {
  if (index >= size()) RaiseOutOfBoundsException();
  const Span& span = parts_->spans[index];
  return parts_->text.Slice(span.begin, span.length);
}

String ZipPath::Leaf() const {
  return parts_ ? parts_->text.Slice(parts_->leaf_begin) : String();
}

}  // namespace vantorel
