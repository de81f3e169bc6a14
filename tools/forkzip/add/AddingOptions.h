// The arguments that `create` and `add` share.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/compress/MemberDeflater.h"
#include "tools/forkzip/cli/Options.h"

namespace vantorel::forkzip {

// Which files are wrapped in MacBinary: none, those with a resource fork, all.
enum class MacBinary { kNever, kSmart, kAlways };

struct AddingOptions : Options {
  std::vector<std::string> paths;
  std::optional<std::string> name;  // of the one path, in the archive
  MacBinary mac_binary = MacBinary::kSmart;
  bool follow_links = false;
  bool no_permissions = false;
  std::optional<int> level;

  DeflateWays Deflating() const;
};

void DefineAddingOptions(CLI::App& command, AddingOptions& options);

}  // namespace vantorel::forkzip
