#include <optional>

#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/edit/ArchiveEdit.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/read/OpenArchive.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp = R"(Examples:
  forkzip comment photos.zip                       shows the comment
  forkzip comment photos.zip 'Summer by the sea'
  forkzip comment photos.zip ''                    removes it)";

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

void Comment(const CommentOptions& options, Problems& /*problems*/) {
  if (!options.text) return TellComment(options);
  EditArchive(options, [&](ArchiveEdit& edit) {
    Preflight::CheckComment(*options.text);
    edit.KeepMembers();
    RawDirectory directory = edit.Before();
    directory.comment = *options.text;
    return directory;
  });
}

}  // namespace

void AddCommentVerb(CLI::App& app) {
  const auto [command, options] =
      AddVerb(app, "comment", "Shows or sets an archive's comment", kHelp, Comment);
  command.add_option("TEXT", options.text,
                     "The new comment, or an empty text to remove it; without TEXT the comment is shown");
  AddInPlaceOption(command, options);
}

}  // namespace vantorel::forkzip
