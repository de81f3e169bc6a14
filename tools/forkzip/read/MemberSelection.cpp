#include "tools/forkzip/read/MemberSelection.h"

#include <fnmatch.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <numeric>
#include <string_view>
#include <utility>

#include "platform/text/TextFunctions.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/read/CorrectedArchive.h"
#include "zip/archive/CarriedName.h"

namespace vantorel::forkzip {

namespace {

using Found = std::vector<std::int32_t>;

bool IsPattern(const std::string& text) {
  return text.find_first_of("*?[") != std::string::npos;
}

std::string WithoutSlash(std::string text) {
  if (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

// The pattern for what lies in the folders that a pattern matches.
std::string InsideOf(const std::string& pattern) {
  return pattern + (pattern.ends_with('/') ? "*" : "/*");
}

// The names of an archive in UTF-8, sorted, for many look-ups. The archive must outlive it: members that
// share a name in it share it here too.
class MemberIndex {
 public:
  MemberIndex(const Ref<ZipArchive>& archive, LetterCase letter_case) : letter_case_(letter_case) {
    const std::int32_t count = archive->EntryCount();
    names_.reserve(static_cast<std::size_t>(count));
    String previous;
    std::string_view stored;
    std::string_view listed;
    for (std::int32_t i = 1; i <= count; ++i) {
      const Ref<ZipEntry> entry = archive->Entry(i);
      const String name = entry->RawPath();
      if (i == 1 || !IsCarriedOver(name, previous)) {
        stored = IsInUtf8(name) ? name.view() : converted_.emplace_back(Utf8(name));
        const auto other = letter_case_ == LetterCase::kExact ? CorrectedName(*entry) : std::nullopt;
        listed = other ? converted_.emplace_back(*other) : stored;
      }
      names_.emplace_back(stored, i);
      if (!IsShared(listed, stored)) names_.emplace_back(listed, i);
      previous = name;
    }
    std::sort(names_.begin(), names_.end(), IsBefore);
  }

  // The members that `argument` means, some of them twice: those of that name, and what lies in the folder of
  // that name. If there are none, the same in other letter case if that may be. If there are none either,
  // those that match it as a shell pattern, in which "*" also stands for "/".
  Found Find(const std::string& argument) const {
    Found found = Named(argument);
    const Found inside = Named(WithoutSlash(argument) + "/", true);
    found.insert(found.end(), inside.begin(), inside.end());
    if (found.empty()) found = Caseless(argument, true);
    return found.empty() ? Matching(argument) : found;
  }

  // All members of that name, in order, with letter case as above, but then the first alone; else the one
  // that the pattern matches. Raises Failure if there is none, or more than one.
  Found FindItself(const std::string& argument) const {
    Found found = Named(argument);
    if (found.empty()) found = Named(argument + "/");
    if (found.empty()) {
      found = Caseless(argument, false);
      if (!found.empty()) found = {*std::min_element(found.begin(), found.end())};
    }
    const bool by_name = !found.empty();
    if (!by_name) found = Matching(argument);
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    if (found.empty()) throw Failure(ExitCode::kBadArchive, argument + ": no such member");
    if (found.size() > 1 && !by_name) {
      throw Failure(ExitCode::kBadArchive,
                    argument + ": means " + Count(found.size(), "member") + ", not one");
    }
    return found;
  }

  // The members whose names are meant.
  Found Where(const std::function<bool(const std::string&)>& is_meant) const {
    Found found;
    std::string_view previous;
    bool meant = false;
    for (const auto& [candidate, index] : names_) {
      if (!IsShared(candidate, previous)) meant = is_meant(std::string(candidate));
      previous = candidate;
      if (meant) found.push_back(index);
    }
    return found;
  }

 private:
  using Entry = std::pair<std::string_view, std::int32_t>;

  // Whether two names are the same bytes in memory, which may be very long ones.
  static bool IsShared(std::string_view a, std::string_view b) {
    return a.data() == b.data() && a.size() == b.size();
  }

  static bool IsBefore(const Entry& a, const Entry& b) {
    const int order = IsShared(a.first, b.first) ? 0 : a.first.compare(b.first);
    return order < 0 || (order == 0 && a.second < b.second);
  }

  // Members of this name; or all whose names begin with it.
  Found Named(const std::string& name, bool and_longer = false) const {
    Found found;
    auto at = std::lower_bound(names_.begin(), names_.end(), Entry(name, 0), IsBefore);
    const auto fits = [&] { return and_longer ? at->first.starts_with(name) : at->first == name; };
    for (; at != names_.end() && fits(); ++at) found.push_back(at->second);
    return found;
  }

  Found Caseless(const std::string& argument, bool and_inside) const {
    Found found;
    if (letter_case_ == LetterCase::kExact) return found;
    const std::string name = WithoutSlash(argument);
    for (const auto& [candidate, index] : names_) {
      const std::size_t end = std::min(candidate.find('/', name.size()), candidate.size());
      const bool fits = end == name.size() && (and_inside || candidate.size() <= end + 1);
      if (fits && SameText(String::Bytes(name), String::Bytes(candidate.substr(0, end))))
        found.push_back(index);
    }
    return found;
  }

  Found Matching(const std::string& pattern) const {
    if (!IsPattern(pattern)) return {};
    return Where([&](const std::string& name) { return fnmatch(pattern.c_str(), name.c_str(), 0) == 0; });
  }

  LetterCase letter_case_;
  std::deque<std::string> converted_;  // names that stand otherwise in the archive
  std::vector<Entry> names_;
};

}  // namespace

MemberSelection SelectMembers(const Ref<ZipArchive>& archive, const Options& options, Problems& problems,
                              LetterCase letter_case) {
  const std::int32_t count = archive->EntryCount();
  MemberSelection selected;
  if (options.members.empty() && options.excluded.empty()) {
    selected.members.resize(static_cast<std::size_t>(count));
    std::iota(selected.members.begin(), selected.members.end(), 1);
    return selected;
  }
  const MemberIndex index(archive, letter_case);
  std::vector<bool> wanted(static_cast<std::size_t>(count) + 1, options.members.empty());
  for (const std::string& argument : options.members) {
    const Found found = index.Find(argument);
    if (found.empty()) {
      problems.Add(ExitCode::kBadArchive, argument, "no such member");
      selected.missing.push_back(argument);
    }
    for (const std::int32_t i : found) wanted[static_cast<std::size_t>(i)] = true;
  }
  const auto is_excluded = [&](const std::string& name) { return IsExcluded(name, options.excluded); };
  for (const std::int32_t i : index.Where(is_excluded)) wanted[static_cast<std::size_t>(i)] = false;
  for (std::int32_t i = 1; i <= count; ++i) {
    if (!wanted[static_cast<std::size_t>(i)]) continue;
    selected.members.push_back(i);
    Ref<ZipEntry>& companion = archive->Entry(i)->appleDoubleEntry;
    const bool reading = letter_case == LetterCase::kLenient;
    if (reading && companion && IsExcluded(Utf8(companion->RawPath()), options.excluded)) companion = nil;
  }
  return selected;
}

bool IsExcluded(const std::string& name, const std::vector<std::string>& patterns) {
  const auto matches = [&](const std::string& pattern) {
    return name == pattern || fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
  };
  return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
    return matches(pattern) || matches(InsideOf(pattern)) ||
           (name.starts_with(WithoutSlash(pattern)) && name[WithoutSlash(pattern).size()] == '/');
  });
}

std::vector<std::int32_t> SelectOneName(const Ref<ZipArchive>& archive, const std::string& argument,
                                        LetterCase letter_case) {
  return MemberIndex(archive, letter_case).FindItself(argument);
}

}  // namespace vantorel::forkzip
