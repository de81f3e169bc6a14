#include "tools/forkzip/read/MemberSelection.h"

#include <fnmatch.h>

#include <algorithm>
#include <numeric>

#include "platform/text/TextFunctions.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/read/CorrectedArchive.h"
#include "zip/archive/CarriedName.h"

namespace vantorel::forkzip {

namespace {

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

}  // namespace

MemberIndex::MemberIndex(const Ref<ZipArchive>& archive, LetterCase letter_case) : letter_case_(letter_case) {
  const std::int32_t count = archive->EntryCount();
  names_.reserve(static_cast<std::size_t>(count));
  String previous;
  for (std::int32_t i = 1; i <= count; ++i) {
    const String name = archive->Entry(i)->RawPath();
    if (i > 1 && IsCarriedOver(name, previous)) {
      names_.emplace_back(names_.back().first, i);
    } else if (IsInUtf8(name)) {
      names_.emplace_back(name.view(), i);
    } else {
      names_.emplace_back(converted_.emplace_back(Utf8(name)), i);
    }
    previous = name;
    if (letter_case_ == LetterCase::kLenient) continue;
    if (const auto other = CorrectedName(*archive->Entry(i))) {
      names_.emplace_back(converted_.emplace_back(*other), i);
    }
  }
  std::sort(names_.begin(), names_.end(), IsBefore);
}

bool MemberIndex::IsBefore(const Named& a, const Named& b) {
  const bool same = a.first.data() == b.first.data() && a.first.size() == b.first.size();
  const int order = same ? 0 : a.first.compare(b.first);
  return order < 0 || (order == 0 && a.second < b.second);
}

std::vector<std::int32_t> MemberIndex::Find(const std::string& argument) const {
  std::vector<std::int32_t> found;
  AddNamed(argument, found);
  AddInside(WithoutSlash(argument) + "/", found);
  if (found.empty()) AddCaseless(argument, true, found);
  if (found.empty()) AddMatching(argument, found);
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

std::vector<std::int32_t> MemberIndex::FindItself(const std::string& argument) const {
  std::vector<std::int32_t> found;
  AddNamed(argument, found);
  if (found.empty()) AddNamed(argument + "/", found);
  if (found.empty()) AddCaseless(argument, false, found);
  if (!found.empty()) return {*std::min_element(found.begin(), found.end())};
  AddMatching(argument, found);
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

void MemberIndex::AddNamed(const std::string& name, std::vector<std::int32_t>& found) const {
  auto at = std::lower_bound(names_.begin(), names_.end(), Named(name, 0), IsBefore);
  for (; at != names_.end() && at->first == name; ++at) found.push_back(at->second);
}

void MemberIndex::AddInside(const std::string& folder, std::vector<std::int32_t>& found) const {
  auto at = std::lower_bound(names_.begin(), names_.end(), Named(folder, 0), IsBefore);
  for (; at != names_.end() && at->first.starts_with(folder); ++at) found.push_back(at->second);
}

void MemberIndex::AddCaseless(const std::string& argument, bool inside,
                              std::vector<std::int32_t>& found) const {
  if (letter_case_ == LetterCase::kExact) return;
  const std::string name = WithoutSlash(argument);
  for (const auto& [candidate, index] : names_) {
    const std::size_t end = std::min(candidate.find('/', name.size()), candidate.size());
    const bool fits = end == name.size() && (inside || candidate.size() <= end + 1);
    if (fits && SameText(String::Bytes(name), String::Bytes(candidate.substr(0, end))))
      found.push_back(index);
  }
}

void MemberIndex::AddMatching(const std::string& pattern, std::vector<std::int32_t>& found) const {
  if (!IsPattern(pattern)) return;
  std::string_view previous;
  bool matches = false;
  for (const auto& [candidate, index] : names_) {
    if (candidate.data() != previous.data() || candidate.size() != previous.size()) {
      matches = fnmatch(pattern.c_str(), std::string(candidate).c_str(), 0) == 0;
    }
    previous = candidate;
    if (matches) found.push_back(index);
  }
}

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
    const std::vector<std::int32_t> found = index.Find(argument);
    if (found.empty()) {
      problems.Add(ExitCode::kBadArchive, argument, "no such member");
      selected.missing.push_back(argument);
    }
    for (const std::int32_t i : found) wanted[static_cast<std::size_t>(i)] = true;
  }
  for (const std::string& pattern : options.excluded) {
    for (const std::string& each : {pattern, InsideOf(pattern)}) {
      for (const std::int32_t i : index.Find(each)) wanted[static_cast<std::size_t>(i)] = false;
    }
  }
  for (std::int32_t i = 1; i <= count; ++i) {
    if (wanted[static_cast<std::size_t>(i)]) selected.members.push_back(i);
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

std::int32_t SelectOneMember(const Ref<ZipArchive>& archive, const std::string& argument,
                             LetterCase letter_case) {
  const std::vector<std::int32_t> found = MemberIndex(archive, letter_case).FindItself(argument);
  if (found.empty()) throw Failure(ExitCode::kBadArchive, argument + ": no such member");
  if (found.size() > 1) {
    throw Failure(ExitCode::kBadArchive, argument + ": means " + Count(found.size(), "member") + ", not one");
  }
  return found.front();
}

}  // namespace vantorel::forkzip
