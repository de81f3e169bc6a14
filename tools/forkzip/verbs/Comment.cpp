#include <optional>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/edit/ArchiveCopy.h"
#include "tools/forkzip/edit/InPlaceEdit.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "Examples:\n"
    "  forkzip comment photos.zip                       tells the comment\n"
    "  forkzip comment photos.zip 'Summer by the sea'\n"
    "  forkzip comment photos.zip ''                    takes it away";

struct CommentOptions : Options {
  std::optional<std::string> text;
};

void TellComment(const Options& options) {
  const Ref<ZipArchive> archive = OpenForReading(options.archive, "utf-8");
  if (archive->Comment().empty()) return;
  Output output;
  output.WriteText(archive->Comment());
  output.Write("\n");
  output.Flush();
}

void SetByCopy(const Options& options, const std::string& text) {
  ArchiveCopy copy(options.archive);
  OpenForReading(options.archive, "utf-8");  // says why if it is no archive
  RawDirectory directory = RawDirectory::Read(copy.Original());
  Preflight::CheckDirectory(copy.Original(), directory);
  Preflight::CheckComment(text);
  directory.comment = text;
  copy.Begin();
  CopyBytes(copy.Original(), 0, copy.File(), 0, directory.start);
  directory.Write(copy.File());
  copy.Commit(directory);
}

void SetInPlace(const Options& options, const std::string& text) {
  InPlaceEdit edit(options.archive, "utf-8");
  Preflight::CheckComment(text);
  edit.Archive()->SetComment(String::Bytes(text));
  edit.Finish();
}

void Comment(const CommentOptions& options) {
  if (!options.text) return TellComment(options);
  Interruption::Watch();
  if (options.in_place) {
    SetInPlace(options, *options.text);
  } else {
    SetByCopy(options, *options.text);
  }
}

}  // namespace

void AddCommentVerb(CLI::App& app, ExitCode& exit_code) {
  static CommentOptions options;
  CLI::App& command = *app.add_subcommand("comment", "Tells or sets an archive's comment");
  SetUp(command, options, exit_code, [](Problems&) { Comment(options); });
  command.add_option("TEXT", options.text,
                     "The new comment, empty to take it away; without it, the comment is told");
  AddInPlaceOption(command, options);
  command.footer(std::string(kHelpOnEditing) + kHelp);
}

}  // namespace vantorel::forkzip
