#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/extract/Extraction.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/MemberSelection.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "Files that are there already are kept, unless --overwrite is given; then each is replaced once its new\n"
    "content is whole. Members whose names lead out of the destination, or through a symbolic link, are\n"
    "refused; the others are extracted all the same. Nothing half-written stays behind.\n"
    "The resource fork and Finder data of `name` go to the AppleDouble file `._name` beside it. One that is\n"
    "there already is kept too, and the member with it, unless --overwrite is given; any other file of that\n"
    "name is always kept.\n"
    "Examples:\n"
    "  forkzip extract site.zip                    all of it, into the present folder\n"
    "  forkzip extract site.zip -d /tmp/site       into a folder, which is made if it is missing\n"
    "  forkzip extract site.zip css 'img/*.png'    a folder, and what matches a pattern (`*` passes `/`)\n"
    "  forkzip extract --raw mac.zip               MacBinary wrapping and companions left as they are";

struct ExtractOptions : Options {
  std::string destination = ".";
  ExtractionWays ways;
};

void Extract(const ExtractOptions& options, Problems& problems) {
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  const std::vector<std::int32_t> members = SelectMembers(archive, options.members, problems).members;
  std::uint64_t total = 0;
  for (const std::int32_t i : members) total += SizeOf(archive->Entry(i));
  Interruption::Watch();
  const auto progress = New<Progress>(options.ShowProgress(), total);
  archive->SetProgressMonitor(progress);
  Extraction extraction(options.destination, options.ways, problems);
  for (const std::int32_t i : members) {
    const Ref<ZipEntry> entry = archive->Entry(i);
    progress->Begin(entry);
    extraction.Extract(entry);
    if (Interruption::Requested()) return;
    progress->End(SizeOf(entry));
  }
  extraction.Finish();
  Progress::ClearLine();
  if (options.quiet) return;
  Output output;
  output.Write(Count(extraction.Extracted(), "member") + " extracted\n");
  output.Flush();
}

}  // namespace

void AddExtractVerb(CLI::App& app, ExitCode& exit_code) {
  static ExtractOptions options;
  CLI::App& command = *app.add_subcommand("extract", "Brings members to disk");
  SetUp(command, options, exit_code, [](Problems& problems) { Extract(options, problems); });
  AddProgressOption(command, options);
  command.add_option("MEMBER", options.members,
                     "Names, folders or shell patterns; all members if none is given");
  command.add_option("-d,--destination", options.destination, "The folder to extract to")->default_str(".");
  command.add_flag("--overwrite", options.ways.overwrite, "Replace files that are there already");
  command.add_flag("--raw", options.ways.raw, "Leave MacBinary and companions as they are");
  AddEncodingOption(command, options);
  command.footer(kHelp);
}

}  // namespace vantorel::forkzip
