#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/edit/ArchiveCopy.h"
#include "tools/forkzip/edit/InPlaceEdit.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/edit/Rebuild.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "zip/records/MemberExtents.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "Bytes that belong to no member are given back: what deleted and replaced members left. Nothing is "
    "written if there\n"
    "are none.\n"
    "Examples:\n"
    "  forkzip compact backup.zip\n"
    "  forkzip compact --in-place big.zip               moves only what lies behind the first gap";

// Bytes that were given back.
std::uint64_t CompactByCopy(const Options& options) {
  ArchiveCopy copy(options.archive);
  OpenForReading(options.archive, "utf-8");  // says why if it is no archive
  const RawDirectory before = RawDirectory::Read(copy.Original());
  Preflight::CheckDirectory(copy.Original(), before);
  const std::uint64_t unused = UnusedBytes(before, ExtentsOf(copy.Original(), before));
  if (unused == 0) return 0;
  copy.Begin();
  copy.Commit(Rebuild(copy.Original(), before, copy.File()));
  return unused;
}

std::uint64_t CompactInPlace(const Options& options) {
  InPlaceEdit edit(options.archive, options.encoding);
  const std::vector<MemberExtent> extents = ExtentsOf(edit.File(), edit.Before());
  const std::uint64_t unused = UnusedBytes(edit.Before(), extents);
  if (unused == 0) return 0;
  Preflight::CheckCompactable(edit.File(), edit.Before(), extents);
  const std::uint64_t first_gap = BeginOfGaps(extents);
  FillHoles(edit.File(), first_gap, edit.Before().start - first_gap);
  const bool compacted = edit.Archive()->Compact();
  const std::string message = Utf8(edit.Archive()->ErrorMessage());
  edit.FinishMoved();
  if (!compacted) throw Failure(ExitCode::kBadArchive, message);
  return unused;
}

void Compact(const Options& options) {
  Interruption::Watch();
  const std::uint64_t unused = options.in_place ? CompactInPlace(options) : CompactByCopy(options);
  if (options.quiet) return;
  Output output;
  output.Write(unused == 0 ? "nothing to give back\n" : HumanSize(unused) + " given back\n");
  output.Flush();
}

}  // namespace

void AddCompactVerb(CLI::App& app, ExitCode& exit_code) {
  static Options options;
  CLI::App& command = *app.add_subcommand("compact", "Gives back the space of deleted members");
  SetUp(command, options, exit_code, [](Problems&) { Compact(options); });
  AddInPlaceOption(command, options);
  command.footer(std::string(kHelpOnEditing) + kHelp);
}

}  // namespace vantorel::forkzip
