// One member on its way to a file. A file with a resource fork or Finder data is staged, and takes its place
// together with its side file; any other is written where it belongs.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"
#include "platform/files/MemoryBlock.h"
#include "tools/forkzip/extract/Destination.h"
#include "tools/forkzip/extract/FileSink.h"
#include "tools/forkzip/extract/ForkSink.h"
#include "tools/forkzip/extract/SideFileGuard.h"
#include "tools/forkzip/extract/Staging.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

struct ExtractionWays {
  bool overwrite = false;
  bool raw = false;  // MacBinary and companions are left as they are
};

class FileExtraction {
 public:
  // To where `path`, which is not empty, leads below the destination.
  FileExtraction(Ref<ZipEntry> entry, Destination& destination, std::span<const std::string> path,
                 const ExtractionWays& ways, SideFileGuard& side_files);

  // Run once. Raises Failure; then all is as it was before.
  void Run();

 private:
  void Stream();
  void CheckStoredSums() const;
  void Keep();
  void KeepSideFile(const std::string& staged_name);
  // Stages the file, if it is not staged yet.
  Ref<FolderItem> Staged();
  // A fault of the file's sink, told as a Failure.
  void Expect(bool good) const;

  Ref<ZipEntry> entry_;
  Destination& destination_;
  std::span<const std::string> folders_;
  int folder_;
  std::string name_;
  ExtractionWays ways_;
  SideFileGuard& side_files_;
  bool unwrap_;
  Staging staging_;  // outlives what is in it
  Ref<FolderItem> staged_;
  Ref<FileSink> sink_;
  Ref<ForkSink> fork_;
  Ref<MemoryBlock> header_block_;
};

// Without set-id and sticky bits, which are not an archive's to give.
std::optional<mode_t> PermissionsOf(const Ref<ZipEntry>& entry);

}  // namespace vantorel::forkzip
