#include "tools/forkzip/add/AddingOptions.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

namespace vantorel::forkzip {

std::vector<std::string> PathsOf(const AddingOptions& options) {
  std::vector<std::string> paths = options.paths;
  if (!options.files_from.empty()) {
    std::ifstream file;
    const bool standard_input = options.files_from == "-";
    if (!standard_input) file.open(options.files_from, std::ios::binary);
    std::istream& source = standard_input ? std::cin : file;
    std::ostringstream text;
    if (source.good() && source.peek() != EOF) text << source.rdbuf();
    if (source.bad() || text.fail() || (!standard_input && !file.is_open()))
      throw Failure(ExitCode::kFileError, options.files_from + ": cannot be read");
    std::istringstream names(text.str());
    const char end = text.str().find('\0') == std::string::npos ? '\n' : '\0';
    for (std::string name; std::getline(names, name, end);) {
      if (!name.empty()) paths.push_back(name);
    }
  }
  if (paths.empty()) throw Failure(ExitCode::kUsage, "PATH is required, or --files-from with names in it");
  return paths;
}

void DefineAddingOptions(CLI::App& command, AddingOptions& options) {
  AddProgressOption(command, options);
  AddJobsOption(command, options);
  command.add_option("PATH", options.paths, "Files and folders; folders with all that is in them");
  command
      .add_option(
          "--files-from", options.files_from,
          "Add the paths that FILE names, one a line; `-`: standard input; with zero bytes, between those")
      ->type_name("FILE");
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
