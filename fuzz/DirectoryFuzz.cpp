// Opens the input as an archive and asks each entry for all that the directory and the local headers tell.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "zip/archive/ZipArchive.h"

namespace vantorel {
namespace {

// A file in memory, the same one for all runs.
Ref<FolderItem> FileOf(const std::uint8_t* data, std::size_t size) {
  static const int descriptor = memfd_create("archive", MFD_CLOEXEC);
  if (ftruncate(descriptor, 0) != 0 || pwrite(descriptor, data, size, 0) != static_cast<ssize_t>(size))
    std::abort();
  static const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
  return New<FolderItem>(path);
}

void Require(bool holds) {
  if (!holds) std::abort();
}

void Look(ZipArchive& archive, const Ref<ZipEntry>& entry) {
  std::vector<String> path;
  entry->GetPath(path);
  std::size_t bytes = 0;
  for (const String& component : path) bytes += component.size();
  Require(bytes <= entry->RawPath().size());
  if (!path.empty()) Require(entry->Name().size() == path.back().size());
  entry->Time();
  entry->CanExtract();
  String type;
  String creator;
  String name;
  entry->ExtraFieldInCentralDir()->GetTypeCreatorName(type, creator, name);
  archive.d->isFakeEntry(entry->z_Header(), -1);
  const std::uint64_t position = archive.d->zipStream->Position();
  entry->ExtraField();
  Require(archive.d->zipStream->Position() == position);
}

}  // namespace
}  // namespace vantorel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vantorel;
  const Ref<ZipArchive> archive = New<ZipArchive>();
  if (!archive->Open(FileOf(data, size), false)) {
    Require(!archive->ErrorMessage().empty() && !archive->IsOpen());
    return 0;
  }
  for (std::int32_t i = 1; i <= archive->EntryCount(); ++i) {
    const Ref<ZipEntry> entry = archive->Entry(i);
    Look(*archive, entry);
    if (entry->appleDoubleEntry) Look(*archive, entry->appleDoubleEntry);
  }
  Require(archive->Close());
  return 0;
}
