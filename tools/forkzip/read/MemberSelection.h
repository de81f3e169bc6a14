// From what a user types to the members that are meant.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Problems.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

// Whether a name in other letter case than the one asked for is meant too, where no member bears that one.
// What changes an archive means exactly what it is told, and knows members by their stored names too.
enum class LetterCase { kExact, kLenient };

// The names of an archive, sorted, for many look-ups. Names are in UTF-8. The archive must outlive the index:
// members that share a name in it share it here too.
class MemberIndex {
 public:
  MemberIndex(const Ref<ZipArchive>& archive, LetterCase letter_case);

  // The members that `argument` means, in ascending order: those of that name, and what lies in the folder of
  // that name. If there are none, the same in other letter case if that may be. If there are none either,
  // those that match it as a shell pattern, in which "*" also stands for "/".
  std::vector<std::int32_t> Find(const std::string& argument) const;
  // The one member of that name, the first where there are several, with letter case as above; else all that
  // the pattern matches.
  std::vector<std::int32_t> FindItself(const std::string& argument) const;

 private:
  using Named = std::pair<std::string_view, std::int32_t>;

  static bool IsBefore(const Named& a, const Named& b);

  void AddNamed(const std::string& name, std::vector<std::int32_t>& found) const;
  void AddInside(const std::string& folder, std::vector<std::int32_t>& found) const;
  void AddCaseless(const std::string& argument, bool inside, std::vector<std::int32_t>& found) const;
  void AddMatching(const std::string& pattern, std::vector<std::int32_t>& found) const;

  LetterCase letter_case_;
  std::deque<std::string> converted_;  // names that are not in UTF-8 in the archive
  std::vector<Named> names_;
};

struct MemberSelection {
  std::vector<std::int32_t> members;
  std::vector<std::string> missing;  // arguments that mean no member
};

// The members that `options` asks for, each once, in the archive's order: those that its arguments mean, or
// all if it has none, less those that are excluded. An argument that means none is a problem.
MemberSelection SelectMembers(const Ref<ZipArchive>& archive, const Options& options, Problems& problems,
                              LetterCase letter_case = LetterCase::kLenient);

// Whether a name in an archive is excluded by one of the patterns: it is the pattern itself, matches it, or
// lies in a folder that does.
bool IsExcluded(const std::string& name, const std::vector<std::string>& patterns);

// The one member that the argument means. Raises Failure if there is none or more than one.
std::int32_t SelectOneMember(const Ref<ZipArchive>& archive, const std::string& argument,
                             LetterCase letter_case = LetterCase::kLenient);

}  // namespace vantorel::forkzip
