#include "tools/forkzip/edit/ArchiveEdit.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "platform/base/LittleEndian.h"
#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/FileBytes.h"
#include "tools/forkzip/cli/Interruption.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/cli/StandardStreams.h"
#include "tools/forkzip/edit/MemberRecords.h"
#include "tools/forkzip/edit/MovingMembers.h"
#include "tools/forkzip/edit/Preflight.h"
#include "tools/forkzip/read/OpenArchive.h"
#include "zip/records/FormatError.h"
#include "zip/records/MemberExtents.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

[[noreturn]] void FailAsChanged() {
  throw Failure(ExitCode::kFileError, "was changed by another program meanwhile; nothing is done");
}

void CheckWritten(int file, const RawDirectory& expected) {
  const std::string bytes = expected.Bytes();
  struct stat status {};
  const bool whole = fstat(file, &status) == 0 &&
                     static_cast<std::uint64_t>(status.st_size) == expected.start + bytes.size() &&
                     ReadAt(file, expected.start, bytes.size()) == bytes &&
                     (expected.start == 0 || Get32(ReadAt(file, 0, 4), 0) == LocalHeader::kMagic);
  if (!whole) throw Failure(ExitCode::kFileError, "the new archive does not read back as it was written");
}

// Where the last member ends. As a rule that is where the directory begins, and one look is enough.
std::uint32_t EndOfMembers(int file, const RawDirectory& directory) {
  const auto last = std::max_element(directory.records.begin(), directory.records.end(),
                                     [](const auto& a, const auto& b) { return a.Offset() < b.Offset(); });
  if (last == directory.records.end()) return 0;
  RawDirectory of_last;
  of_last.start = directory.start;
  of_last.records = {*last};
  try {
    if (ExtentsOf(file, of_last).back().end == directory.start) return directory.start;
    return ExtentsOf(file, directory).back().end;
  } catch (const FormatError&) {
    return directory.start;  // of damaged members it cannot be told
  }
}

void Run(ArchiveEdit& edit, const Change& change) {
  try {
    if (const std::optional<RawDirectory> after = change(edit)) edit.Commit(*after);
  } catch (...) {
    edit.Undo();
    throw;
  }
}

}  // namespace

ArchiveEdit::ArchiveEdit(const Options& options, Target target)
    : options_(options),
      path_(options.archive == kStandardStream ? options.archive : RealPath(options.archive)) {
  if (target == Target::kExisting) {
    if (path_ == kStandardStream)
      throw Failure(ExitCode::kUsage, "is not to be changed; `./-` would be a file of that name");
    original_ = OpenLocked(path_);
    fstat(original_.Number(), &original_status_);
  }
  // Also so that a stray is not among what is added.
  if (!options.dry_run) Draft::RemoveStray(path_);
  if (target == Target::kExisting) Open();
}

void ArchiveEdit::Open() {
  // The engine tells best why something is no archive.
  archive_ = OpenForEditing(original_.Number(), path_, options_.encoding);
  before_ = RawDirectory::Read(original_.Number());
  Preflight::CheckDirectory(original_.Number(), before_);
  CheckSameMembersSeen();
}

// Other runs of the tool keep off a locked archive, other programs need not; and a disk that gives way may
// answer differently the second time. Of the records, companions are held by the entries that they belong to,
// and the folders of their tree are dropped, each with a companion of its own at most.
void ArchiveEdit::CheckSameMembersSeen() const {
  std::ptrdiff_t unheld = 0;
  std::ptrdiff_t folders = 0;
  std::int32_t seen = 0;
  std::string_view name;  // the one of the record before where there is none
  for (const RawRecord& record : before_.records) {
    if (!record.Name().empty()) name = record.Name();
    const Ref<ZipEntry> entry = seen < archive_->EntryCount() ? archive_->Entry(seen + 1) : nil;
    if (entry && IsOf(record, entry)) {
      ++seen;
      for (Ref<ZipEntry> held = entry->appleDoubleEntry; held; held = held->appleDoubleEntry) --unheld;
    } else {
      ++(IsFolderOfCompanions(name) ? folders : unheld);
    }
  }
  if (seen != archive_->EntryCount() || unheld < 0 || unheld > folders) FailAsChanged();
}

void ArchiveEdit::KeepMembers() {
  begun_ = true;
  if (options_.in_place) return;
  draft_.emplace(path_);
  if (original_.IsOpen()) CopyBytes(original_.Number(), 0, draft_->File(), 0, before_.start);
}

void ArchiveEdit::MakeRoomBehindMembers() {
  // Left in the middle, bytes that belong to no member would keep other programs from reading the archive.
  before_.start = EndOfMembers(original_.Number(), before_);
  KeepMembers();
}

void ArchiveEdit::MoveTogether(RawDirectory& kept) {
  begun_ = true;
  const std::vector<MemberExtent> extents = ExtentsOf(original_.Number(), kept);
  if (options_.in_place) {
    // Holes in the file take room once they are written to.
    const std::uint64_t gap = BeginOfGaps(extents);
    FillHoles(original_.Number(), gap, before_.start - gap);
    // The offsets of what has been moved are those of the old directory too, if the rest fails.
    kept.start = CloseGaps(original_.Number(), extents, before_.records);
    kept.records = before_.records;
  } else {
    draft_.emplace(path_);
    kept.start = CopyTogether(original_.Number(), extents, draft_->File(), kept.records);
  }
}

void ArchiveEdit::Commit(const RawDirectory& after) {
  after.Write(To());
  CheckWritten(To(), after);
  if (!draft_) return Sync(To());
  if (original_.IsOpen()) {
    CheckOriginalIsUnchanged();
    TakeOverModeAndOwner();
  }
  draft_->PutInPlace(original_.IsOpen());
}

void ArchiveEdit::Undo() {
  if (!options_.in_place || !begun_) return;
  try {
    if (DirectoryIsThere()) return;
    before_.Write(original_.Number());
    Sync(original_.Number());
  } catch (const std::exception& fault) {
    throw Failure(ExitCode::kFileError, "its old directory cannot be put back: " + std::string(fault.what()));
  }
}

bool ArchiveEdit::DirectoryIsThere() const {
  struct stat status {};
  const std::string bytes = before_.Bytes();
  return fstat(original_.Number(), &status) == 0 &&
         static_cast<std::uint64_t>(status.st_size) >= before_.start + bytes.size() &&
         ReadAt(original_.Number(), before_.start, bytes.size()) == bytes;
}

void ArchiveEdit::CheckOriginalIsUnchanged() const {
  struct stat now {};
  const bool same = IsNamed(original_.Number(), path_) && fstat(original_.Number(), &now) == 0 &&
                    now.st_size == original_status_.st_size &&
                    now.st_mtim.tv_sec == original_status_.st_mtim.tv_sec &&
                    now.st_mtim.tv_nsec == original_status_.st_mtim.tv_nsec;
  if (!same) FailAsChanged();
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
    throw Failure(ExitCode::kFileError, WithCause("the new file's mode cannot be set", errno));
  }
  const Problems problems(options_.archive);
  if (!owner_kept) problems.Note("its owner cannot be kept; --in-place would keep it");
  if (!group_kept) problems.Note("its group cannot be kept and loses its rights; --in-place would keep them");
}

void EditArchive(const Options& options, const Change& change) {
  Interruption::Watch();
  ArchiveEdit edit(options, ArchiveEdit::Target::kExisting);
  Run(edit, change);
}

void MakeArchive(const Options& options, const Change& change) {
  Interruption::Watch();
  ArchiveEdit edit(options, ArchiveEdit::Target::kNew);
  Run(edit, change);
}

}  // namespace vantorel::forkzip
