#include "tools/forkzip/edit/ArchiveEdit.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "platform/base/ByteOrder.h"
#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/cli/StandardStreams.h"
#include "tools/forkzip/edit/MovingMembers.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "zip/records/FormatError.h"
#include "zip/records/MemberExtents.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

// How much of a file lies behind a directory, if that stands in the file where it should.
std::optional<std::uint64_t> SizeBehind(const RawDirectory& directory, int file) {
  const std::string bytes = directory.Bytes();
  const std::uint64_t end = directory.start + bytes.size();
  struct stat status {};
  if (fstat(file, &status) != 0) return std::nullopt;
  const auto size = static_cast<std::uint64_t>(status.st_size);
  if (size < end || ReadAt(file, directory.start, bytes.size()) != bytes) return std::nullopt;
  return size - end;
}

// Where the last member ends. As a rule that is where the directory begins, and one look is enough.
std::uint32_t EndOfMembers(int file, const RawDirectory& directory) {
  const auto last = std::ranges::max_element(directory.records, {}, &RawRecord::Offset);
  if (last == directory.records.end()) return 0;
  RawDirectory of_last;
  of_last.start = directory.start;
  of_last.records = {*last};
  if (ExtentsOf(file, of_last).back().end == directory.start) return directory.start;
  return ExtentsOf(file, directory).back().end;
}

}  // namespace

ArchiveEdit::ArchiveEdit(const Options& options, Target target)
    : options_(options),
      path_(options.archive == kStandardStream ? options.archive : RealPath(options.archive)) {
  if (target == Target::kExisting) {
    if (path_ == kStandardStream)
      throw Failure(ExitCode::kUsage, "is not to be changed; `./-` would be a file of that name");
    original_ = OpenLocked(path_);
  }
  // Also so that a stray is not among what is added.
  if (!options.dry_run) Draft::RemoveStray(path_);
  if (target == Target::kNew) return;
  fstat(original_.Number(), &original_status_);
  // The engine tells best why something is no archive.
  archive_ = OpenForEditing(original_.Number(), path_, options_.encoding);
  before_ = RawDirectory::Read(original_.Number());
  Preflight::CheckDirectory(original_.Number(), before_);
  // The engine and this directory must be of one archive: other programs need not keep off a locked one.
  CheckOriginalIsUnchanged();
}

void ArchiveEdit::Begin() {
  constexpr mode_t kPrivate = 0600;  // until it gets the mode of the old archive
  constexpr mode_t kOfAnyFile = 0666;
  begun_ = true;
  if (!options_.in_place) draft_.emplace(path_, original_.IsOpen() ? kPrivate : kOfAnyFile);
}

void ArchiveEdit::KeepMembers() {
  Begin();
  if (draft_ && original_.IsOpen()) CopyBytes(From(), 0, To(), 0, before_.start);
}

RawDirectory ArchiveEdit::MakeRoomBehindMembers() {
  RawDirectory all = before_;
  try {
    // Left in the middle, bytes that belong to no member would keep other programs from reading the archive.
    if (!options_.in_place) {
      MoveTogether(all);
      return all;
    }
    before_.start = all.start = EndOfMembers(From(), all);
  } catch (const FormatError&) {
    // Of damaged members it cannot be told where they end.
  }
  KeepMembers();
  return all;
}

void ArchiveEdit::MoveTogether(RawDirectory& kept) {
  const std::vector<MemberExtent> extents = ExtentsOf(From(), kept);
  Begin();
  if (draft_) {
    kept.start = forkzip::MoveTogether(From(), extents, To(), kept);
    return;
  }
  // Of what has been moved, the old directory tells where it is too, if the rest fails.
  kept.start = forkzip::MoveTogether(To(), extents, To(), before_);
  kept.records = before_.records;
}

void ArchiveEdit::Commit(RawDirectory after) {
  after.Write(To());
  const bool whole = SizeBehind(after, To()) == 0 &&
                     (after.start == 0 || Get32(ReadAt(To(), 0, 4), 0) == LocalHeader::kMagic);
  if (!whole) throw Failure(ExitCode::kFileError, "the new archive does not read back as it was written");
  if (draft_) {
    if (original_.IsOpen()) {
      CheckOriginalIsUnchanged();
      TakeOverModeAndOwner();
    }
    return draft_->PutInPlace(original_.IsOpen());
  }
  Sync(To());
  if (!after.records.empty() || after.start == 0) return;
  // Of no members, an archive is nothing but its end record: others take it for damaged with bytes in front.
  begun_ = false;  // once that is written over the first member, there is no way back
  after.start = 0;
  Commit(std::move(after));
}

void ArchiveEdit::Undo() {
  if (!options_.in_place || !begun_) return;
  try {
    if (SizeBehind(before_, To())) return;
    before_.Write(To());
    Sync(To());
  } catch (const std::exception& fault) {
    throw Failure(ExitCode::kFileError, "its old directory cannot be put back: " + std::string(fault.what()));
  }
}

void ArchiveEdit::CheckOriginalIsUnchanged() const {
  struct stat now {};
  const bool same = IsNamed(original_.Number(), path_) && fstat(original_.Number(), &now) == 0 &&
                    now.st_size == original_status_.st_size &&
                    now.st_mtim.tv_sec == original_status_.st_mtim.tv_sec &&
                    now.st_mtim.tv_nsec == original_status_.st_mtim.tv_nsec;
  if (!same) {
    throw Failure(ExitCode::kFileError, "was changed by another program meanwhile; nothing is done");
  }
}

// Whoever may write in the folder may not be allowed to give files away.
void ArchiveEdit::TakeOverModeAndOwner() const {
  constexpr mode_t kSetId = S_ISUID | S_ISGID;
  const struct stat& old = original_status_;
  const int file = draft_->File();
  if (fchown(file, old.st_uid, old.st_gid) != 0 && fchown(file, static_cast<uid_t>(-1), old.st_gid) != 0) {
    // What came of it shows below.
  }
  struct stat now {};
  fstat(file, &now);
  const bool owner_kept = now.st_uid == old.st_uid;
  const bool group_kept = now.st_gid == old.st_gid;
  mode_t mode = old.st_mode & 07777U;
  if (!owner_kept || !group_kept) mode &= ~kSetId;
  if (!group_kept) mode &= ~static_cast<mode_t>(S_IRWXG);
  if (fchmod(file, mode) != 0) {
    throw SystemFailure("the new file's mode cannot be set", errno);
  }
  const Problems problems(options_.archive);
  if (!owner_kept) problems.Note("its owner cannot be kept; --in-place would keep it");
  if (!group_kept) problems.Note("its group cannot be kept and loses its rights; --in-place would keep them");
}

void EditArchive(const Options& options, const Change& change, ArchiveEdit::Target target) {
  Interruption::Watch();
  ArchiveEdit edit(options, target);
  try {
    if (std::optional<RawDirectory> after = change(edit)) edit.Commit(*std::move(after));
  } catch (...) {
    edit.Undo();
    throw;
  }
}

}  // namespace vantorel::forkzip
