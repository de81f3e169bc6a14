#include <sys/stat.h>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/add/AddingOptions.h"
#include "tools/forkzip/add/MemberWriter.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/edit/ArchiveCopy.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "The archive appears under its name only when it is whole. One that exists already is left alone. What "
    "cannot be\n"
    "read is told and left out (exit code 3); the rest is archived. Names are stored as given, less a "
    "leading `/` or\n"
    "`../`.\n"
    "Examples:\n"
    "  forkzip create photos.zip beach.jpg mountains/\n"
    "  cd site && forkzip create ../site.zip .          without a folder in front of the names\n"
    "  forkzip create --macbinary always mac.zip Icon   type, creator and dates of classic Mac files as well";

void Create(const AddingOptions& options, Problems& problems) {
  struct stat status {};
  if (lstat(options.archive.c_str(), &status) == 0) {
    throw Failure(ExitCode::kFileError, "exists already; `forkzip add` puts members into it");
  }
  Interruption::Watch();
  ArchiveCopy copy = ArchiveCopy::ForNewArchive(options.archive);
  AddPlan plan(options.Ways(), problems);
  for (const std::string& path : options.paths) plan.Add(path, "");
  if (plan.Items().empty()) throw Failure(ExitCode::kFileError, "there is nothing to put into it");
  Preflight::CheckCount(plan.Items().size());

  const auto progress = New<Progress>(options.ShowProgress(), plan.TotalSize());
  const Ref<ZipArchive> archive = copy.BeginByEngine();
  archive->SetProgressMonitor(progress);
  MemberWriter(archive, options.Ways(), problems).Add(plan, progress);
  const std::int32_t members = archive->EntryCount();
  if (members == 0) throw Failure(ExitCode::kFileError, "there is nothing to put into it");
  CloseWritten(archive);
  std::vector<std::string_view> names;
  for (const PlannedItem& item : plan.Items()) names.emplace_back(item.name);
  copy.CommitByEngine(names, static_cast<std::size_t>(members));
  Progress::ClearLine();
  if (options.quiet) return;
  Output output;
  output.Write(Count(static_cast<unsigned long long>(members), "member") + " archived\n");
  output.Flush();
}

}  // namespace

void AddCreateVerb(CLI::App& app, ExitCode& exit_code) {
  static AddingOptions options;
  CLI::App& command = *app.add_subcommand("create", "Makes a new archive");
  SetUp(command, options, exit_code, [](Problems& problems) { Create(options, problems); });
  AddProgressOption(command, options);
  AddAddingOptions(command, options);
  command.footer(kHelp);
}

}  // namespace vantorel::forkzip
