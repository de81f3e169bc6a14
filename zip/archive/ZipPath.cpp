#include "zip/archive/ZipPath.h"

#include <string>

#include "platform/text/TextFunctions.h"

namespace vantorel {

namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool IsNothing(std::string_view component) {
  return component.find_first_not_of(':') == kNone;
}

bool IsDot(std::string_view component) {
  const std::size_t dot = component.find_first_not_of(':');
  return dot != kNone && component[dot] == '.' && IsNothing(component.substr(dot + 1));
}

String WithoutColons(const String& text) {
  if (text.view().find(':') == kNone) return text;
  std::string kept(text.view());
  std::erase(kept, ':');
  return String::Adopt(std::move(kept), Encoding(text));
}

}  // namespace

ZipPath::Iterator::Iterator(const String& name, std::size_t begin) : name_(&name), begin_(begin) {
  const std::string_view text = name.view();
  while (begin_ != kNone) {
    end_ = text.find('/', begin_);
    const std::string_view component = text.substr(begin_, end_ - begin_);
    if (end_ == kNone) {
      if (IsNothing(component)) begin_ = kNone;
      return;
    }
    if (!IsDot(component)) return;
    begin_ = end_ + 1;
  }
}

String ZipPath::Iterator::operator*() const {
  return WithoutColons(name_->Slice(begin_, end_ - begin_));
}

ZipPath::Iterator& ZipPath::Iterator::operator++() {
  return *this = Iterator(*name_, end_ == kNone ? kNone : end_ + 1);
}

std::size_t ZipPath::size() const {
  std::size_t count = 0;
  for (Iterator i = begin(); i != end(); ++i) ++count;
  return count;
}

String ZipPath::operator[](std::size_t index) const {
  for (Iterator i = begin(); i != end(); ++i) {
    if (index-- == 0) return *i;
  }
  RaiseOutOfBoundsException();
}

String ZipPath::back() const {
  const std::string_view text = name_.view();
  const auto component_before = [&](std::size_t end) {
    const std::size_t slash = text.substr(0, end).rfind('/');
    return slash == kNone ? 0 : slash + 1;
  };
  std::size_t end = text.size();
  std::size_t begin = component_before(end);
  bool counts = !IsNothing(text.substr(begin));
  while (!counts && begin > 0) {
    end = begin - 1;
    begin = component_before(end);
    counts = !IsDot(text.substr(begin, end - begin));
  }
  if (!counts) RaiseOutOfBoundsException();
  return WithoutColons(name_.Slice(begin, end - begin));
}

String ZipPath::Leaf() const {
  const std::size_t slash = name_.view().rfind('/');
  return WithoutColons(name_.Slice(slash == kNone ? 0 : slash + 1));
}

}  // namespace vantorel
