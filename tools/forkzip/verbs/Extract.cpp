#include <algorithm>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/extract/Extraction.h"
#include "tools/forkzip/extract/Rehearsal.h"
#include "tools/forkzip/extract/SafePath.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/MemberOutput.h"
#include "tools/forkzip/read/MemberSelection.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "tools/forkzip/read/Overlaps.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    R"(An existing file is kept, and reported; --overwrite replaces it once the new content is complete. A member
whose name leads out of the destination, or through a symbolic link, is refused; the others are extracted.
Files appear when they are complete. A run that is killed outright (kill -9, power cut) may leave a file
`.forkzip-...`, which the next run with --overwrite removes, or a small file with mode 1000 and part of its
content, which the next run replaces.
The resource fork and Finder data of `name` go to the AppleDouble file `._name` beside it. An existing one is
kept, and the member left out, unless --overwrite is given; any other file of that name is always kept.
Examples:
  forkzip extract site.zip                    all of it, into the present folder
  forkzip extract site.zip -d /tmp/site       into a folder, which is made if it is missing
  forkzip extract site.zip css 'img/*.png'    a folder, and what matches a pattern (`*` passes `/`)
  forkzip extract site.zip -x '*.psd' -x src    but not what matches, and nothing in the folder `src`
  forkzip extract site-1.2.zip --strip-components 1   without the folder that all is in
  forkzip extract --stdout logs.zip '*.log' | grep -i error
  forkzip extract --raw mac.zip               MacBinary wrapping and companions left as they are)";

struct ExtractOptions : Options {
  ExtractionWays ways;
  bool to_stdout = false;
};

void Preview(const std::vector<Ref<ZipEntry>>& entries, const ExtractOptions& options, Problems& problems) {
  const std::vector<bool> extracted = Rehearse(options.ways, entries, problems);
  if (options.quiet) return;
  Output output;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (extracted[i]) output.WriteAction("extract ", entries[i]->RawPath());
  }
  const auto count = static_cast<std::size_t>(std::count(extracted.begin(), extracted.end(), true));
  output.Write(Count(count, "member") + " to be extracted\n");
  output.Flush();
}

void WriteOut(const std::vector<Ref<ZipEntry>>& entries, const ExtractOptions& options, Problems& problems) {
  Output output;
  for (const Ref<ZipEntry>& entry : entries) {
    if (entry->IsDirectory() || IsPassedOver(entry, options.ways.strip)) continue;
    WriteMember(entry, options.ways.raw, output, problems);
  }
}

void Extract(const ExtractOptions& options, Problems& problems) {
  RefuseTogether(options, "--stdout", {"--destination", "--overwrite", "--newer", "--dry-run"});
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  if (!options.allow_overlap) RefuseOverlaps(archive);
  const std::vector<std::int32_t> members = SelectMembers(archive, options, problems).members;
  std::vector<Ref<ZipEntry>> entries;
  entries.reserve(members.size());
  for (const std::int32_t i : members) entries.push_back(archive->Entry(i));
  if (options.to_stdout) return WriteOut(entries, options, problems);
  if (options.dry_run) return Preview(entries, options, problems);
  SharedWork work;
  for (const Ref<ZipEntry>& entry : entries) work.sizes.push_back(SizeOf(entry));
  Interruption::Watch();
  const auto progress = New<Progress>(options.ShowProgress(), work.TotalSize());
  archive->SetProgressMonitor(progress);
  const std::size_t extracted =
      ExtractAll(entries, options.ways, std::move(work), options.jobs, *progress, problems);
  if (Interruption::Requested()) return;
  Progress::ClearLine();
  if (!options.quiet) Print(Count(extracted, "member") + " extracted\n");
}

}  // namespace

void AddExtractVerb(CLI::App& app) {
  const auto [command, options] = AddVerb(app, "extract", "Extracts members to disk", kHelp, Extract);
  AddReadingOptions(command, options);
  command.add_option("-d,--destination", options.ways.root, "The folder to extract to")
      ->default_str(".")
      ->type_name("FOLDER");
  command.add_flag("--overwrite", options.ways.overwrite, "Replace existing files");
  command.add_flag_callback(
      "--newer", [&ways = options.ways] { ways.newer = ways.overwrite = true; },
      "Extract members newer than the file on disk, which is replaced, or not on disk yet");
  command
      .add_option("--strip-components", options.ways.strip,
                  "Leave out the first N components of names; members that have no more are passed over")
      ->check(CLI::Range(std::size_t{0}, std::size_t{65535}))
      ->type_name("N");
  command.add_flag("--raw", options.ways.raw, "Leave MacBinary and companions as they are");
  AddExcludeOption(command, options);
  AddDryRunOption(command, options);
  command.add_flag("--stdout", options.to_stdout,
                   "Write the data to standard output, one member after the other, and no file");
  AddEncodingOption(command, options, Guess::kAllowed);
}

}  // namespace vantorel::forkzip
