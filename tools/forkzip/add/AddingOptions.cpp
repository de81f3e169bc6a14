#include "tools/forkzip/add/AddingOptions.h"

namespace vantorel::forkzip {

// Only who asks for a level gets members that are stored: without one all is as it always was.
DeflateWays AddingOptions::Deflating() const {
  return {level.value_or(kDefaultDeflateLevel), level.has_value()};
}

void DefineAddingOptions(CLI::App& command, AddingOptions& options) {
  command.add_option("PATH", options.paths, "Files and folders; folders with all that is in them")
      ->required();
  command
      .add_option_function<std::string>(
          "--macbinary",
          [&options](const std::string& mode) {
            options.mac_binary = mode == "never"    ? MacBinary::kNever
                                 : mode == "always" ? MacBinary::kAlways
                                                    : MacBinary::kSmart;
          },
          "Wrap files in MacBinary: never, smart (those with a resource fork), always")
      ->check(CLI::IsMember({"never", "smart", "always"}))
      ->default_str("smart");
  command
      .add_option("--level", options.level,
                  "Compression from 1 (quick) to 9 (small), 0 for none; what does not shrink is stored")
      ->check(CLI::Range(0, 9))
      ->type_name("0...9");
  command.add_flag(
      "--follow-links", options.follow_links,
      "Add the files that symbolic links point to, not the links; links to folders are left out");
  AddExcludeOption(command, options);
  command.add_flag("--no-permissions", options.no_permissions, "Record no Unix modes");
}

}  // namespace vantorel::forkzip
