// The arguments that verbs have in common, and how a verb is put on the command line.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/cli/Progress.h"

namespace vantorel::forkzip {

struct Options {
  std::string archive;
  std::vector<std::string> members;
  std::vector<std::string> excluded;  // patterns
  std::string encoding = "utf-8";
  bool json = false;
  bool quiet = false;
  bool force_progress = false;
  bool in_place = false;
  bool dry_run = false;
  bool allow_overlap = false;
  std::size_t jobs = 0;  // not given

  Progress::When ShowProgress() const;
};

// What a verb does. Raises Failure for what ends it at once.
using Verb = std::function<void(Problems& problems)>;

// Puts the verb's argument ARCHIVE and the option -q to `command`, and has `verb` run when the command is
// given. `options` and `exit_code` must live until then.
void SetUp(CLI::App& command, Options& options, ExitCode& exit_code, Verb verb);
// Raises Failure (kUsage) if `option` is given beside one of the others.
void RefuseTogether(const CLI::App& command, const char* option, std::initializer_list<const char*> others);
void AddProgressOption(CLI::App& command, Options& options);
// Verbs that store no names may guess: "auto".
enum class Guess { kRefused, kAllowed };
void AddEncodingOption(CLI::App& command, Options& options, Guess guess = Guess::kRefused);
void AddJsonOption(CLI::App& command, Options& options);
void AddOverlapOption(CLI::App& command, Options& options);
void AddExcludeOption(CLI::App& command, Options& options);
void AddJobsOption(CLI::App& command, Options& options);
void AddDryRunOption(CLI::App& command, Options& options);
void AddInPlaceOption(CLI::App& command, Options& options);

// What the help of every verb that changes an archive says about the two ways to do so.
extern const char* const kHelpOnEditing;

// Parses the command line, each argument taken as it stands: the parser by itself takes a name in brackets
// for a list.
void Parse(CLI::App& app, int argc, char** argv);

}  // namespace vantorel::forkzip
