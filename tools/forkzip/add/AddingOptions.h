// The arguments that `create` and `add` share.
#pragma once

#include <string>
#include <vector>

#include "tools/forkzip/add/AddPlan.h"
#include "tools/forkzip/cli/Options.h"

namespace vantorel::forkzip {

struct AddingOptions : Options {
  std::vector<std::string> paths;
  std::string mac_binary = "smart";
  bool follow_links = false;
  bool no_permissions = false;

  AddOptions Ways() const;
};

void AddAddingOptions(CLI::App& command, AddingOptions& options);

}  // namespace vantorel::forkzip
