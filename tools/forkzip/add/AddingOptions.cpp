#include "tools/forkzip/add/AddingOptions.h"

#include <map>

namespace vantorel::forkzip {

AddOptions AddingOptions::Ways() const {
  static const std::map<std::string, std::int32_t> modes = {
      {"never", kMacBinaryNever}, {"smart", kMacBinarySmart}, {"always", kMacBinaryAlways}};
  return {modes.at(mac_binary), follow_links, !no_permissions};
}

void AddAddingOptions(CLI::App& command, AddingOptions& options) {
  command.add_option("PATH", options.paths, "Files and folders; folders with all that is in them")
      ->required();
  command
      .add_option("--macbinary", options.mac_binary,
                  "Wrap files in MacBinary: never, smart (those with a resource fork), always")
      ->check(CLI::IsMember({"never", "smart", "always"}))
      ->default_str("smart");
  command.add_flag(
      "--follow-links", options.follow_links,
      "Add the files that symbolic links point to, not the links; links to folders are left out");
  command.add_flag("--no-permissions", options.no_permissions, "Record no Unix modes");
}

}  // namespace vantorel::forkzip
