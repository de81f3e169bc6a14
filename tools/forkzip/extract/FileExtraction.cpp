#include "tools/forkzip/extract/FileExtraction.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <functional>
#include <utility>

#include "platform/files/SideFile.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/extract/FileSink.h"
#include "tools/forkzip/extract/Provisional.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/Verification.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/extract/RsrcForkWriter.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

// A resource fork that is written once it turns out that a member has one.
class ForkSink : public RsrcForkWriter {
 public:
  // `stage` gives the item whose fork it is. It may raise Failure.
  explicit ForkSink(std::function<Ref<FolderItem>()> stage) : RsrcForkWriter(nil), stage_(std::move(stage)) {}

  bool Open() override {
    f = stage_();
    return RsrcForkWriter::Open();
  }
  // Records what shows only now.
  bool Close() override {
    if (refnum && errCode == 0) errCode = refnum->Close();
    return RsrcForkWriter::Close();
  }

 private:
  std::function<Ref<FolderItem>()> stage_;
};

// Raises Failure (kFileError) if the side file of `item` could not be written: `error` is negative then.
void CheckMacData(std::int32_t error, const std::string& item) {
  if (error == 0) return;
  throw SystemFailure("its Mac data cannot be written to " + SideFile::PathFor(item), -error);
}

// An item may bear its Mac name once it has its attributes.
std::string NameOf(const Ref<FolderItem>& item) {
  return item->Path().substr(item->Path().rfind('/') + 1);
}

class FileExtraction {
 public:
  FileExtraction(const Ref<ZipEntry>& entry, ExtractionTarget& target, std::span<const std::string> path)
      : entry_(entry),
        target_(target),
        folders_(FoldersOf(path)),
        folder_(target.destination.Folder(folders_)),
        name_(path.back()),
        staging_(folder_),
        data_(New<FileSink>(folder_, name_, PermissionsOf(entry), target.WhatIsThere(), SizeOf(entry))) {
    data_->SetSumming(entry->CompressionMethod() == ZipMethod::kStored);
    const bool may_have_fork = entry->appleDoubleEntry || SizeOf(entry) >= MacBinaryHeader::kSize;
    if (!target.ways.raw && may_have_fork) fork_ = New<ForkSink>([this] { return Stage(); });
  }

  // Returns the system's error if the file system did not take the file's mode or time, else 0.
  int Run() {
    const ExtractionWays& ways = target_.ways;
    if (!ways.raw) target_.side_files.CheckMember(folder_, name_);
    try {
      Stream();
    } catch (const Failure&) {  // of a member that would not have got its place the content is no matter
      const mode_t there = KindOf(folder_, name_);
      if (S_ISDIR(there) || (there != 0 && !ways.overwrite)) FailToPlace(folder_, name_, EEXIST, false);
      throw;
    }
    if (!ways.raw && entry_->HasMacAttributes(header_block_)) {
      CheckMacData(entry_->ApplyMacAttributes(Stage(), header_block_), name_);
      TakePlaces();
    } else {
      Expect(data_->Keep(TimeOf(entry_)));
      if (!ways.raw) target_.side_files.NoteMember(folder_, name_);
    }
    return data_->AttributeError();
  }

 private:
  void Stream() {
    const bool good = entry_->Extract(fork_ != nil, data_, fork_, header_block_);
    Expect(data_->Error() == 0);
    if (fork_) CheckMacData(fork_->errCode, name_);
    const bool with_companion = fork_ && entry_->appleDoubleEntry;
    const bool unwrapped = header_block_ && !with_companion;  // the sink did not get the bytes as they stand
    CheckStreamed(entry_, good, unwrapped ? std::nullopt : std::optional(data_->Crc()));
    if (with_companion) CheckCompanions(entry_);
  }

  // Completes the file in a folder of its own, if it is not there yet.
  Ref<FolderItem> Stage() {
    if (staged_) return staged_;
    staging_.Make(target_.destination.PathOf(folders_));
    Expect(data_->Keep(TimeOf(entry_), staging_.Below(name_)));
    staged_ = staging_.Item(name_);
    return staged_;
  }

  void TakePlaces() {
    name_ = NameOf(staged_);
    const std::string side_file = SideFile::PathFor(name_);
    const bool has_side_file = KindOf(folder_, staging_.Below(side_file)) != 0;
    if (has_side_file) {
      target_.side_files.CheckSideFile(folder_, target_.destination.PathOf(folders_), name_);
    }
    if (const int error = Rename(folder_, staging_.Below(name_), name_, target_.WhatIsThere())) {
      FailToPlace(folder_, name_, error, target_.ways.overwrite);
    }
    target_.side_files.NoteMember(folder_, name_);
    if (!has_side_file) return;
    CheckMacData(-Rename(folder_, staging_.Below(side_file), side_file, target_.WhatIsThere()), name_);
    target_.side_files.NoteSideFile(folder_, name_);
  }

  // A fault of the file's sink, told as a Failure.
  void Expect(bool good) const {
    if (!good) FailToPlace(folder_, name_, data_->Error(), target_.ways.overwrite);
  }

  const Ref<ZipEntry>& entry_;
  ExtractionTarget& target_;
  std::span<const std::string> folders_;
  int folder_;
  std::string name_;
  Staging staging_;  // outlives what is in it
  Ref<FolderItem> staged_;
  Ref<FileSink> data_;
  Ref<ForkSink> fork_;
  Ref<MemoryBlock> header_block_;
};

}  // namespace

int ExtractFile(const Ref<ZipEntry>& entry, ExtractionTarget& target, std::span<const std::string> path) {
  return FileExtraction(entry, target, path).Run();
}

// The engine looks at nothing but a header in a folder's data, so the companion is streamed as a member of
// its own here. The side file is made for an empty folder of the same name, and brought to its place whole.
void ExtractFolderData(const Ref<ZipEntry>& entry, ExtractionTarget& target,
                       std::span<const std::string> path) {
  const Ref<ZipEntry>& companion = entry->appleDoubleEntry;
  if (companion || SizeOf(entry) != 0) Verify(entry);
  Ref<MemoryBlock> header_block;
  if (!companion && SizeOf(entry) == MacBinaryHeader::kSize) entry->Extract(true, nil, nil, header_block);
  if (!companion && !entry->HasMacAttributes(header_block)) return;
  const std::string& name = path.back();
  const std::string place = target.destination.PathOf(FoldersOf(path));
  const int parent = target.destination.Folder(FoldersOf(path));
  target.side_files.CheckSideFile(parent, place, name);
  Staging staging(parent);
  staging.Make(place);
  Ref<FolderItem> staged = staging.Item(name);
  staged->CreateAsFolder();
  const auto fork = New<ForkSink>([&] { return staged; });
  const bool good = !companion || companion->z_unzip(nil, fork, true, false, header_block);
  CheckMacData(fork->errCode, name);
  if (!good) CheckStreamed(companion, good);
  CheckMacData(entry->ApplyMacAttributes(staged, header_block), name);

  const Ref<FolderItem> item = GetFolderItem(String::Bytes(target.destination.PathOf(path)));
  const std::string side_file = staging.Below(SideFile::PathFor(NameOf(staged)));
  if (KindOf(parent, side_file) == 0) {
    SideFile::Delete(item->Path());
  } else {
    SideFile::FollowMode(staged->Path(), KindOf(parent, name));
    CheckMacData(-Rename(parent, side_file, SideFile::PathFor(name), target.WhatIsThere()), name);
  }
  // The side file holds all that it is to hold; what comes now is the folder's own time and name.
  CheckMacData(entry->ApplyMacAttributes(item, header_block), name);
  target.side_files.NoteSideFile(parent, NameOf(item));
}

bool IsNewerThanThere(const Ref<ZipEntry>& entry, int folder, const std::string& name) {
  struct stat there {};
  return fstatat(folder, name.c_str(), &there, AT_SYMLINK_NOFOLLOW) != 0 || S_ISDIR(there.st_mode) ||
         IsUnfinished(there.st_mode) || TimeOf(entry).value_or(0) > there.st_mtim.tv_sec;
}

std::optional<mode_t> PermissionsOf(const Ref<ZipEntry>& entry) {
  constexpr std::uint32_t kPermissions = 0777;
  const auto mode = ModeOf(entry);
  if (!mode) return std::nullopt;
  return static_cast<mode_t>(*mode & kPermissions);
}

void FailToPlace(int folder, const std::string& name, int error, bool overwrite) {
  const bool there = error == EEXIST || error == EISDIR;
  if (there && S_ISDIR(KindOf(folder, name))) {
    throw Failure(ExitCode::kFileError, "a folder is there already, and is kept");
  }
  if (error == EEXIST && !overwrite) {
    throw Failure(ExitCode::kFileError, "exists already and is kept; --overwrite replaces it");
  }
  throw SystemFailure("cannot be written", error);
}

}  // namespace vantorel::forkzip
