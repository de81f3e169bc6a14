#include <sys/stat.h>
#include <unistd.h>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/add/MemberWriter.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/cli/StandardStreams.h"
#include "tools/forkzip/edit/ArchiveEdit.h"
#include "tools/forkzip/edit/Preflight.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    R"(The archive appears under its name only when it is whole. One that exists already is left alone. What cannot be
read is reported and left out (exit code 3); the rest is archived. Names are stored as given, less a leading `/` or
`../`.
Examples:
  forkzip create photos.zip beach.jpg mountains/
  cd site && forkzip create ../site.zip .          without a folder in front of the names
  forkzip create src.zip src -x '*.o' -x '*/.git'  without object files, and the folders .git in src
  forkzip create - src | ssh host 'cat >src.zip'    to standard output, when the archive is whole
  forkzip create --macbinary always mac.zip Icon   type, creator and dates of classic Mac files as well)";

void Create(const AddingOptions& options, Problems& problems) {
  struct stat status {};
  const bool streaming = options.archive == kStandardStream;
  if (streaming && isatty(STDOUT_FILENO) == 1)
    throw Failure(ExitCode::kUsage, "an archive is not written to a terminal");
  if (!streaming && lstat(options.archive.c_str(), &status) == 0) {
    throw Failure(ExitCode::kFileError, "exists already; `forkzip add` puts members into it");
  }
  std::size_t members = 0;
  const auto fill = [&](ArchiveEdit& edit) {
    AddPlan plan(options, problems);
    for (const std::string& path : PathsOf(options)) plan.Add(path, "");
    Preflight::CheckCount(plan.Items().size());
    edit.KeepMembers();
    RawDirectory made = WriteMembers(edit.To(), 0, plan, options, problems);
    if (made.records.empty() && problems.Code() != ExitCode::kDone) {
      throw Failure(problems.Code(), "there is nothing to put into it");
    }
    members = made.records.size();
    return made;
  };
  EditArchive(options, fill, ArchiveEdit::Target::kNew);
  Progress::ClearLine();
  if (!options.quiet && !streaming) Print(Count(members, "member") + " archived\n");
}

}  // namespace

void AddCreateVerb(CLI::App& app) {
  const auto [command, options] = AddVerb(app, "create", "Makes a new archive", kHelp, Create);
  DefineAddingOptions(command, options);
}

}  // namespace vantorel::forkzip
