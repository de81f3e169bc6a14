#include "tools/forkzip/extract/FileExtraction.h"

#include "platform/files/SideFile.h"
#include "tools/forkzip/cli/FileBytes.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/extract/ExtractionFailures.h"
#include "tools/forkzip/extract/MacAttributes.h"
#include "tools/forkzip/read/MemberFacts.h"
#include "tools/forkzip/read/Verification.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/records/ZipRecords.h"

namespace vantorel::forkzip {

std::optional<mode_t> PermissionsOf(const Ref<ZipEntry>& entry) {
  constexpr std::uint32_t kPermissions = 0777;
  const auto mode = ModeOf(entry);
  if (!mode) return std::nullopt;
  return static_cast<mode_t>(*mode & kPermissions);
}

FileExtraction::FileExtraction(Ref<ZipEntry> entry, Destination& destination,
                               std::span<const std::string> path, const ExtractionWays& ways,
                               SideFileGuard& side_files)
    : entry_(std::move(entry)),
      destination_(destination),
      folders_(path.first(path.size() - 1)),
      folder_(destination.Folder(folders_)),
      name_(path.back()),
      ways_(ways),
      side_files_(side_files),
      unwrap_(!ways.raw && (entry_->appleDoubleEntry || SizeOf(entry_) >= MacBinaryHeader::kSize)),
      staging_(folder_),
      sink_(New<FileSink>(folder_, name_, PermissionsOf(entry_), ways_.overwrite)) {
  sink_->SetSumming(entry_->CompressionMethod() == ZipMethod::kStored);
  if (unwrap_) fork_ = New<ForkSink>([this] { return Staged(); });
}

void FileExtraction::Run() {
  if (!ways_.raw) side_files_.CheckMember(folder_, name_);
  Stream();
  CheckStoredSums();
  Expect(sink_->Complete(TimeOf(entry_)));
  if (!ways_.raw && HasMacAttributes(entry_, header_block_)) {
    ApplyMacAttributes(entry_, Staged(), header_block_);
  }
  Keep();
}

void FileExtraction::Stream() {
  const bool whole = entry_->Extract(unwrap_, sink_, fork_, header_block_);
  Expect(sink_->Error() == 0);
  if (fork_ && fork_->Error() != 0) {
    throw Failure(
        ExitCode::kFileError,
        WithCause("its resource fork cannot be written to " + SideFile::PathFor(name_), fork_->Error()));
  }
  if (!whole) FailAsEngine(entry_);
}

void FileExtraction::CheckStoredSums() const {
  const bool companion = unwrap_ && entry_->appleDoubleEntry;
  std::string fault;
  if (header_block_ && !companion) {
    fault = FaultOfStoredSum(entry_);  // the sink did not get the bytes as they stand
  } else if (entry_->CompressionMethod() == ZipMethod::kStored && sink_->Crc() != CrcOf(entry_)) {
    fault = WrongSum(entry_, sink_->Crc());
  }
  if (fault.empty() && companion) {
    fault = FaultOfStoredSum(entry_->appleDoubleEntry);
    if (!fault.empty()) fault = "its companion: " + fault;
  }
  if (!fault.empty()) throw Failure(ExitCode::kBadArchive, fault);
}

void FileExtraction::Keep() {
  std::string side_file;
  if (staged_) {
    name_ = staged_->Path().substr(staged_->Path().rfind('/') + 1);  // it may bear its Mac name by now
    side_file = staging_.Name() + "/" + SideFile::PathFor(name_);
    if (KindOf(folder_, side_file) == 0) side_file.clear();
  }
  if (!side_file.empty()) side_files_.CheckSideFile(folder_, destination_.PathOf(folders_), name_);
  Expect(sink_->Keep(name_));
  if (!ways_.raw) side_files_.NoteMember(folder_, name_);
  if (!side_file.empty()) KeepSideFile(side_file);
}

void FileExtraction::KeepSideFile(const std::string& staged_name) {
  const std::string final_name = SideFile::PathFor(name_);
  if (const int error = Rename(folder_, staged_name, final_name, ways_.overwrite)) {
    throw Failure(ExitCode::kFileError, WithCause("its Mac data cannot be written to " + final_name, error));
  }
  side_files_.NoteSideFile(folder_, name_);
}

Ref<FolderItem> FileExtraction::Staged() {
  if (staged_) return staged_;
  staging_.Make(destination_.PathOf(folders_));
  Expect(sink_->Stage(staging_.Name()));
  staged_ = GetFolderItem(String::Bytes(staging_.Path() + "/" + name_));
  return staged_;
}

void FileExtraction::Expect(bool good) const {
  if (!good) FailToPlace(folder_, name_, sink_->Error(), ways_.overwrite);
}

}  // namespace vantorel::forkzip
