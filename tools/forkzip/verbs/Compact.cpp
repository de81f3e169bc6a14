#include "tools/forkzip/Verbs.h"
#include "tools/forkzip/cli/Output.h"
#include "tools/forkzip/cli/Printable.h"
#include "tools/forkzip/edit/ArchiveEdit.h"
#include "zip/records/MemberExtents.h"

namespace vantorel::forkzip {

namespace {

constexpr const char* kHelp =
    "Removes the bytes that belong to no member, as deleted and replaced members leave them. If there are "
    "none, nothing\n"
    "is written.\n"
    "Examples:\n"
    "  forkzip compact backup.zip\n"
    "  forkzip compact --in-place big.zip               moves only what lies behind the first gap";

void Compact(const Options& options, Problems& /*problems*/) {
  std::uint64_t unused = 0;
  EditArchive(options, [&](ArchiveEdit& edit) -> std::optional<RawDirectory> {
    RawDirectory directory = edit.Before();
    unused = UnusedBytes(directory, ExtentsOf(edit.From(), directory));
    if (unused == 0) return std::nullopt;
    edit.MoveTogether(directory);
    return directory;
  });
  if (!options.quiet) Print(unused == 0 ? "nothing to free\n" : HumanSize(unused) + " freed\n");
}

}  // namespace

void AddCompactVerb(CLI::App& app) {
  const auto [command, options] =
      AddVerb(app, "compact", "Frees the space of deleted members", kHelp, Compact);
  AddInPlaceOption(command, options);
}

}  // namespace vantorel::forkzip
