#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/read/MemberOutput.h"
#include "tools/forkzip/read/MemberSelection.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp = R"(Examples:
  forkzip cat site.zip index.html | less
  forkzip cat logs.zip mon.log tue.log  one after the other
  forkzip cat mac.zip 'Read Me'         the data fork, if the member is wrapped in MacBinary
  forkzip cat --raw mac.zip 'Read Me'   the member as it stands, wrapping included)";

struct CatOptions : Options {
  bool raw = false;
};

// All files of the name that is meant; none is a problem.
std::vector<Ref<ZipEntry>> FilesIn(const Ref<ZipArchive>& archive, const std::string& argument,
                                   Problems& problems) {
  std::vector<Ref<ZipEntry>> files;
  try {
    for (const std::int32_t i : SelectOneName(archive, argument)) {
      if (archive->Entry(i)->IsDirectory()) throw Failure(ExitCode::kBadArchive, argument + ": is a folder");
      files.push_back(archive->Entry(i));
    }
  } catch (const Failure& failure) {
    problems.Add(failure.Code(), failure.what());
  }
  return files;
}

void Cat(const CatOptions& options, Problems& problems) {
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  Output output;
  for (const std::string& argument : options.members) {
    for (const Ref<ZipEntry>& entry : FilesIn(archive, argument, problems)) {
      WriteMember(entry, options.raw, output, problems);
    }
  }
}

}  // namespace

void AddCatVerb(CLI::App& app) {
  const auto [command, options] = AddVerb(app, "cat", "Writes members to standard output", kHelp, Cat);
  command.add_option("MEMBER", options.members, "Names, or patterns that only one member matches")
      ->required();
  command.add_flag("--raw", options.raw, "Leave MacBinary as it is");
  AddEncodingOption(command, options, Guess::kAllowed);
}

}  // namespace vantorel::forkzip
