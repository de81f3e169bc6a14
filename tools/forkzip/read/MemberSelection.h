// From what a user types to the members that are meant.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Problems.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

// Whether a name in other letter case than the one asked for is meant too, where no member bears that one.
// What changes an archive means exactly what it is told, and knows members by their stored names too.
enum class LetterCase { kExact, kLenient };

struct MemberSelection {
  std::vector<std::int32_t> members;
  std::vector<std::string> missing;  // arguments that mean no member
};

// The members that `options` asks for, each once, in the archive's order: those that its arguments mean, or
// all if it has none, less those that are excluded. An argument that means none is a problem. Each means the
// members of that name and what lies in the folder of that name, else what matches it as a shell pattern.
// For reading, a companion that is excluded leaves its member.
MemberSelection SelectMembers(const Ref<ZipArchive>& archive, const Options& options, Problems& problems,
                              LetterCase letter_case = LetterCase::kLenient);

// Whether a name in an archive is excluded by one of the patterns: it is the pattern itself, matches it, or
// lies in a folder that does.
bool IsExcluded(const std::string& name, const std::vector<std::string>& patterns);

// The members of the one name that the argument means, in order: that name, or the one member that it matches
// as a pattern. Raises Failure if there is none, or a pattern matches more than one member.
std::vector<std::int32_t> SelectOneName(const Ref<ZipArchive>& archive, const std::string& argument,
                                        LetterCase letter_case = LetterCase::kLenient);

}  // namespace vantorel::forkzip
