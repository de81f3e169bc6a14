#include <unistd.h>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/read/ByteSinks.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/MemberSelection.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "tools/forkzip/read/Verification.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "Examples:\n"
    "  forkzip cat site.zip index.html | less\n"
    "  forkzip cat logs.zip mon.log tue.log  one after the other\n"
    "  forkzip cat mac.zip 'Read Me'         the data fork, if the member is wrapped in MacBinary\n"
    "  forkzip cat --raw mac.zip 'Read Me'   the member as it stands, wrapping included";

struct CatOptions : Options {
  bool raw = false;
};

class OutputSink : public SummingSink {
 public:
  explicit OutputSink(Output& output) : output_(output) {}
  bool Write(const String& data) override {
    output_.Write(data.view());
    return SummingSink::Write(data);
  }

 private:
  Output& output_;
};

Ref<ZipEntry> FileIn(const Ref<ZipArchive>& archive, const std::string& argument) {
  Ref<ZipEntry> entry = archive->Entry(SelectOneMember(archive, argument));
  if (entry->IsDirectory()) throw Failure(ExitCode::kBadArchive, Utf8(entry->RawPath()) + ": is a folder");
  if (const std::string why = WhyNotUnpacked(entry); !why.empty()) {
    throw Failure(ExitCode::kBadArchive, Utf8(entry->RawPath()) + ": " + why);
  }
  return entry;
}

void Write(const Ref<ZipEntry>& entry, const CatOptions& options, Output& output, Problems& problems) {
  const auto sink = New<OutputSink>(output);
  Ref<MemoryBlock> header_block;
  const bool good = entry->Extract(!options.raw, sink, nil, header_block);
  output.Flush();
  try {
    const bool unwrapped = header_block && !entry->appleDoubleEntry;
    CheckStreamed(entry, good, unwrapped ? std::nullopt : std::optional(sink->Crc()));
  } catch (const Failure& failure) {
    problems.Add(failure.Code(), Utf8(entry->RawPath()), failure.what());
  }
}

// Writes nothing unless all arguments mean a file.
void Cat(const CatOptions& options, Problems& problems) {
  const Ref<ZipArchive> archive = OpenForReading(options.archive, options.encoding);
  std::vector<Ref<ZipEntry>> entries;
  for (const std::string& argument : options.members) entries.push_back(FileIn(archive, argument));
  Output output;
  for (const Ref<ZipEntry>& entry : entries) Write(entry, options, output, problems);
}

}  // namespace

void AddCatVerb(CLI::App& app, ExitCode& exit_code) {
  static CatOptions options;
  CLI::App& command = *app.add_subcommand("cat", "Writes members to standard output");
  SetUp(command, options, exit_code, [](Problems& problems) { Cat(options, problems); });
  command.add_option("MEMBER", options.members, "Names, or patterns that only one member matches")
      ->required();
  command.add_flag("--raw", options.raw, "Leave MacBinary as it is");
  AddReadingEncodingOption(command, options);
  command.footer(kHelp);
}

}  // namespace vantorel::forkzip
