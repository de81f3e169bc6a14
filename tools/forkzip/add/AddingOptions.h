// The arguments that `create` and `add` share.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/forkzip/cli/Options.h"

namespace vantorel::forkzip {

// Which files are wrapped in MacBinary: none, those with a resource fork, all.
enum class MacBinary { kNever, kSmart, kAlways };

struct AddingOptions : Options {
  std::vector<std::string> paths;
  std::string files_from;           // a file that names more paths, "-" for standard input
  std::optional<std::string> name;  // of the one path, in the archive
  MacBinary mac_binary = MacBinary::kSmart;
  bool follow_links = false;
  bool no_permissions = false;
  bool newer = false;        // leave out what is no newer than its member
  std::optional<int> level;  // of compression; with one, what does not shrink is stored
};

// The paths given, and those that --files-from names. Raises Failure if there are none or it cannot be read.
std::vector<std::string> PathsOf(const AddingOptions& options);

void DefineAddingOptions(CLI::App& command, AddingOptions& options);

}  // namespace vantorel::forkzip
