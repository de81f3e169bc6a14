#include "tools/forkzip/cli/Options.h"

#include <utility>

#include "tools/forkzip/cli/Interruption.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelpOnEditing =
    R"(The change is made in a new file beside the archive, which is checked, synced and renamed over it: whenever the
run ends, even by a power cut, the old archive or the new one is there whole. It needs room for a second copy.
With --in-place the archive itself is changed. What fails for want of room or is interrupted is taken back, but a run
that is killed can leave it damaged: other programs may then not be able to open it.
)";

ExitCode outcome = ExitCode::kDone;  // of the verb that was carried out

}  // namespace

Progress::When Options::ShowProgress() const {
  if (force_progress) return Progress::When::kAlways;
  return quiet ? Progress::When::kNever : Progress::When::kOnTerminal;
}

void SetUp(CLI::App& command, Options& options, std::function<void(Problems&)> run) {
  command.add_option("ARCHIVE", options.archive, "The Zip archive")
      ->required()
      ->check([](const std::string& path) { return path.empty() ? "an empty name is no file's" : ""; });
  command.add_flag("-q,--quiet", options.quiet, "Leave out counts and summaries");
  command.callback([&command, &options, run = std::move(run)] {
    options.command = &command;
    Problems problems(options.archive);
    try {
      run(problems);
    } catch (const Interrupted&) {
      // The process ends by the signal.
    } catch (...) {
      const Failure failure = FailureInFlight();
      if (!Interruption::Requested()) problems.Add(failure.Code(), failure.what());
    }
    problems.AddUp();
    outcome = problems.Code();
  });
}

void RefuseTogether(const Options& options, const char* option, std::initializer_list<const char*> others) {
  for (const char* other : others) {
    if (options.command->count(option) != 0 && options.command->count(other) != 0)
      throw Failure(ExitCode::kUsage, std::string(other) + " has no meaning with " + option);
  }
}

void AddProgressOption(CLI::App& command, Options& options) {
  command.add_flag("--progress", options.force_progress,
                   "Show a progress bar even if standard error is no terminal");
}

void AddEncodingOption(CLI::App& command, Options& options, Guess guess) {
  std::vector<std::string> encodings = {"utf-8", "windows-1252", "cp437", "mac-roman"};
  if (guess == Guess::kAllowed) encodings.emplace_back("auto");
  command
      .add_option("--encoding", options.encoding,
                  std::string("How the archive's names are encoded") +
                      (guess == Guess::kAllowed ? "; auto: the most plausible" : ""))
      ->check(CLI::IsMember(encodings))
      ->default_str("utf-8");
}

void AddJsonOption(CLI::App& command, Options& options) {
  command.add_flag("--json", options.json, "Print JSON");
}

void AddExcludeOption(CLI::App& command, Options& options) {
  command
      .add_option("-x,--exclude", options.excluded,
                  "Leave out members of this name, folder or shell pattern; may be given again")
      ->type_name("PATTERN")
      ->allow_extra_args(false);
}

void AddJobsOption(CLI::App& command, Options& options) {
  constexpr std::size_t kMost = 1024;
  command
      .add_option(
          "-j,--jobs", options.jobs,
          "Number of parallel jobs; by default one for each processor, and one if there is little to do")
      ->check(CLI::Range(std::size_t{1}, kMost))
      ->type_name("N");
}

void AddReadingOptions(CLI::App& command, Options& options) {
  AddProgressOption(command, options);
  command.add_flag("--allow-overlap", options.allow_overlap,
                   "Accept members whose data overlaps, which is the mark of a zip bomb");
  AddJobsOption(command, options);
  command.add_option("MEMBER", options.members,
                     "Names, folders or shell patterns; all members if none is given");
}

void AddDryRunOption(CLI::App& command, Options& options) {
  command.add_flag("-n,--dry-run", options.dry_run, "Say what would be done, and change nothing");
}

void AddInPlaceOption(CLI::App& command, Options& options) {
  command.add_flag("--in-place", options.in_place, "Change the archive itself: faster, but see below");
  command.footer(kHelpOnEditing + command.get_footer());
}

ExitCode Parse(CLI::App& app, int argc, char** argv) {
  constexpr char kMark = '\x01';
  const auto take_mark_off = [](const std::string& value) {
    return value.substr(value.starts_with(kMark) ? 1 : 0);
  };
  for (CLI::App* verb : app.get_subcommands([](CLI::App*) { return true; })) {
    for (CLI::Option* option : verb->get_options()) option->transform(take_mark_off);
  }
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) {  // the parser takes them from the back
    const std::string argument = argv[i];
    const bool marked = !argument.empty() && (argument.front() == '[' || argument.front() == kMark);
    arguments.push_back(marked ? kMark + argument : argument);
  }
  app.parse(std::move(arguments));
  return outcome;
}

}  // namespace vantorel::forkzip
