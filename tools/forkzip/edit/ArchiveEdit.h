// One change of an archive, from the lock to the rename. By default it is made in a draft beside the archive,
// which takes its place when it is whole; with --in-place in the archive itself. docs/edit-protocol.md has
// the order of the steps and what a crash leaves after each.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <optional>
#include <string>

#include "platform/base/Descriptor.h"
#include "platform/base/Ref.h"
#include "tools/forkzip/cli/Options.h"
#include "tools/forkzip/edit/Draft.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

class ArchiveEdit {
 public:
  // A new archive must not be there yet, or goes to standard output.
  enum class Target { kExisting, kNew };

  // Locks the archive, reads its directory and checks that it can be written back with nothing lost. A
  // symbolic link is followed. Raises Failure, with nothing written. REQUIRES: `options` outlives it.
  ArchiveEdit(const Options& options, Target target);

  // What was there before: the records, and the members as the engine sees them; nil for a new archive.
  const RawDirectory& Before() const { return before_; }
  const Ref<ZipArchive>& Archive() const { return archive_; }
  // The files that the old members lie in and the new ones are written to. In place they are one file.
  int From() const { return original_.Number(); }
  int To() const { return draft_ ? draft_->File() : original_.Number(); }

  bool IsInPlace() const { return options_.in_place; }

  // Before anything is written comes one of these three. All members stay where they are:
  void KeepMembers();
  // The same, and others can be written behind the last one, where the directory that it returns has its
  // start. A copy leaves out what lies between members and belongs to none.
  RawDirectory MakeRoomBehindMembers();
  // The members of `kept` are moved together without gaps; its offsets and its start become the new ones. In
  // place REQUIRES: `kept` has all members.
  void MoveTogether(RawDirectory& kept);

  // Writes the directory, reads it back, syncs the file, and puts a draft in the archive's place. Raises
  // Failure.
  void Commit(RawDirectory after);
  // Where an edit in place has failed: writes the directory that was there before, unless it is still there.
  // Raises Failure if that fails too.
  void Undo();

 private:
  void Begin();
  void CheckOriginalIsUnchanged() const;
  // Says what could not be kept.
  void TakeOverModeAndOwner() const;

  const Options& options_;
  std::string path_;  // with symbolic links followed
  Descriptor original_;
  struct stat original_status_ {};
  Ref<ZipArchive> archive_;
  RawDirectory before_;
  bool begun_ = false;
  std::optional<Draft> draft_;
};

// What a verb does to an archive: returns the directory that it is to have, whose members are in place by
// then, or none if nothing is to be changed.
using Change = std::function<std::optional<RawDirectory>(ArchiveEdit& edit)>;

// Carries out a change. What fails or is interrupted is taken back, and the exception goes on.
void EditArchive(const Options& options, const Change& change,
                 ArchiveEdit::Target target = ArchiveEdit::Target::kExisting);

}  // namespace vantorel::forkzip
