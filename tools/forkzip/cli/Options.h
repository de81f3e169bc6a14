// The arguments that verbs have in common, and how a verb is put on the command line.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/cli/Progress.h"

namespace vantorel::forkzip {

struct Options {
  const CLI::App* command = nullptr;  // that is given
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

// Puts the verb's argument ARCHIVE and the option -q to `command`, and has `run` called when the command is
// given. `options` must live until then.
void SetUp(CLI::App& command, Options& options, std::function<void(Problems&)> run);

// Puts a verb on the command line, with `help` behind its options. They live to the end, and are one object
// for all verbs of that type, of which a run has one: set no defaults there. What `verb` raises as Failure
// ends it at once.
template <typename O>
std::pair<CLI::App&, O&> AddVerb(CLI::App& app, const char* name, const char* about, const char* help,
                                 void (*verb)(const O& options, Problems& problems)) {
  static O options;
  CLI::App& command = *app.add_subcommand(name, about)->group("Verbs");
  command.footer(help);
  SetUp(command, options, [verb](Problems& problems) { verb(options, problems); });
  return {command, options};
}

// Raises Failure (kUsage) if `option` is given beside one of the others.
void RefuseTogether(const Options& options, const char* option, std::initializer_list<const char*> others);
void AddProgressOption(CLI::App& command, Options& options);
// Verbs that store no names may guess: "auto".
enum class Guess { kRefused, kAllowed };
void AddEncodingOption(CLI::App& command, Options& options, Guess guess = Guess::kRefused);
void AddJsonOption(CLI::App& command, Options& options);
void AddExcludeOption(CLI::App& command, Options& options);
void AddJobsOption(CLI::App& command, Options& options);
// What verbs have in common that read the data of many members.
void AddReadingOptions(CLI::App& command, Options& options);
void AddDryRunOption(CLI::App& command, Options& options);
// For verbs that change an archive. Their help says in front what the two ways to do so are.
void AddInPlaceOption(CLI::App& command, Options& options);

// Parses the command line, and carries out the verb that is given. Each argument is taken as it stands: the
// parser by itself takes a name in brackets for a list.
ExitCode Parse(CLI::App& app, int argc, char** argv);

}  // namespace vantorel::forkzip
