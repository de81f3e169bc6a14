#include "tools/forkzip/extract/FileExtraction.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "platform/files/FileCalls.h"
#include "platform/files/SideFile.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/extract/FileSink.h"
#include "tools/forkzip/extract/ForkSink.h"
#include "tools/forkzip/extract/Provisional.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/Verification.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

namespace {

class FileExtraction {
 public:
  FileExtraction(const Ref<ZipEntry>& entry, Destination& destination, std::span<const std::string> path,
                 const ExtractionWays& ways, SideFileGuard& side_files);

  void Run();

 private:
  void Stream();
  Ref<FolderItem> Stage();
  void TakePlaces();
  // A fault of the file's sink, told as a Failure.
  void Expect(bool good) const;

  const Ref<ZipEntry>& entry_;
  Destination& destination_;
  std::span<const std::string> folders_;
  int folder_;
  std::string name_;
  const ExtractionWays& ways_;
  SideFileGuard& side_files_;
  Staging staging_;  // outlives what is in it
  Ref<FolderItem> staged_;
  Ref<FileSink> data_;
  Ref<ForkSink> fork_;
  Ref<MemoryBlock> header_block_;
};

FileExtraction::FileExtraction(const Ref<ZipEntry>& entry, Destination& destination,
                               std::span<const std::string> path, const ExtractionWays& ways,
                               SideFileGuard& side_files)
    : entry_(entry),
      destination_(destination),
      folders_(path.first(path.size() - 1)),
      folder_(destination.Folder(folders_)),
      name_(path.back()),
      ways_(ways),
      side_files_(side_files),
      staging_(folder_),
      data_(New<FileSink>(folder_, name_, PermissionsOf(entry), ways.overwrite, SizeOf(entry))) {
  data_->SetSumming(entry->CompressionMethod() == ZipMethod::kStored);
  const bool may_have_fork = entry->appleDoubleEntry || SizeOf(entry) >= MacBinaryHeader::kSize;
  if (!ways.raw && may_have_fork) fork_ = New<ForkSink>([this] { return Stage(); });
}

void FileExtraction::Run() {
  if (!ways_.raw) side_files_.CheckMember(folder_, name_);
  try {
    Stream();
  } catch (const Failure&) {  // of a member that would not have got its place the content is no matter
    if (!ways_.overwrite && KindOf(folder_, name_) != 0) FailToPlace(folder_, name_, EEXIST, false);
    throw;
  }
  if (!ways_.raw && entry_->HasMacAttributes(header_block_)) {
    const Ref<FolderItem> staged = Stage();
    CheckMacData(entry_->ApplyMacAttributes(staged, header_block_), name_);
    TakePlaces();
  } else {
    Expect(data_->Keep(TimeOf(entry_)));
    if (!ways_.raw) side_files_.NoteMember(folder_, name_);
  }
}

void FileExtraction::Stream() {
  const bool good = entry_->Extract(fork_ != nil, data_, fork_, header_block_);
  Expect(data_->Error() == 0);
  if (fork_) CheckMacData(fork_->errCode, name_);
  const bool with_companion = fork_ && entry_->appleDoubleEntry;
  const bool unwrapped = header_block_ && !with_companion;  // the sink did not get the bytes as they stand
  CheckStreamed(entry_, good, unwrapped ? std::nullopt : std::optional(data_->Crc()));
  if (with_companion) CheckCompanions(entry_);
}

// Completes the file in a folder of its own, if it is not there yet.
Ref<FolderItem> FileExtraction::Stage() {
  if (staged_) return staged_;
  staging_.Make(destination_.PathOf(folders_));
  Expect(data_->Keep(TimeOf(entry_), staging_.Below(name_)));
  staged_ = GetFolderItem(String::Bytes(staging_.PathOf(name_)));
  return staged_;
}

void FileExtraction::TakePlaces() {
  name_ = staged_->Path().substr(staged_->Path().rfind('/') + 1);  // it may bear its Mac name by now
  const std::string side_file = SideFile::PathFor(name_);
  const bool has_side_file = KindOf(folder_, staging_.Below(side_file)) != 0;
  if (has_side_file) side_files_.CheckSideFile(folder_, destination_.PathOf(folders_), name_);
  if (const int error = Rename(folder_, staging_.Below(name_), name_,
                               ways_.overwrite ? IfTaken::kReplace : IfTaken::kRefuse)) {
    FailToPlace(folder_, name_, error, ways_.overwrite);
  }
  side_files_.NoteMember(folder_, name_);
  if (!has_side_file) return;
  CheckMacData(-Rename(folder_, staging_.Below(side_file), side_file,
                       ways_.overwrite ? IfTaken::kReplace : IfTaken::kRefuse),
               name_);
  side_files_.NoteSideFile(folder_, name_);
}

void FileExtraction::Expect(bool good) const {
  if (!good) FailToPlace(folder_, name_, data_->Error(), ways_.overwrite);
}

}  // namespace

void ExtractFile(const Ref<ZipEntry>& entry, Destination& destination, std::span<const std::string> path,
                 const ExtractionWays& ways, SideFileGuard& side_files) {
  FileExtraction(entry, destination, path, ways, side_files).Run();
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

void CheckMacData(std::int32_t error, const std::string& name) {
  if (error == 0) return;
  throw Failure(ExitCode::kFileError,
                WithCause("its Mac data cannot be written to " + SideFile::PathFor(name), -error));
}

void FailToPlace(int folder, const std::string& name, int error, bool overwrite) {
  const bool there = error == EEXIST || error == EISDIR;
  if (there && S_ISDIR(KindOf(folder, name))) {
    throw Failure(ExitCode::kFileError, "a folder is there already, and is kept");
  }
  if (error == EEXIST && !overwrite) {
    throw Failure(ExitCode::kFileError, "exists already and is kept; --overwrite replaces it");
  }
  throw Failure(ExitCode::kFileError, WithCause("cannot be written", error));
}

}  // namespace vantorel::forkzip
