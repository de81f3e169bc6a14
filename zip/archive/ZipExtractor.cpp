#include "zip/archive/ZipExtractor.h"

#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel {

Ref<ZipArchive> ZipExtractor::Open(const Ref<FolderItem>& archive_file) {
  p_errMsg = String();
  Ref<ZipArchive> archive = New<ZipArchive>();
  if (archive->Open(archive_file, false)) return archive;
  p_errMsg = archive->ErrorMessage();
  return nil;
}

bool ZipExtractor::ExtractAllSilently(const Ref<FolderItem>& archive_file,
                                      const Ref<FolderItem>& dest_folder) {
  if (const Ref<ZipArchive> archive = Open(archive_file)) {
    SumSizes(*archive);
    ExtractEntries(*archive, dest_folder);
    archive->Close();
  }
  return p_errMsg.empty();
}

// A size of 2^31 bytes or more is negative and takes away from the sum.
void ZipExtractor::SumSizes(ZipArchive& archive) {
  double sum = 0;
  const std::int32_t count = archive.EntryCount();
  for (std::int32_t i = 1; i <= count; ++i) {
    sum += archive.Entry(i)->Size();
    RuntimeBackgroundTask();
  }
  p_totalBytes = sum;
}

void ZipExtractor::ExtractEntries(ZipArchive& archive, const Ref<FolderItem>& dest_folder) {
  const std::int32_t count = archive.EntryCount();
  for (std::int32_t i = 1; i <= count; ++i) {
    const Ref<ZipEntry> entry = archive.Entry(i);
    const Ref<FolderItem> target = entry->MakeDestination(dest_folder, false);
    if (!entry->Extract(target, true)) {
      p_errMsg = "Extraction of \"" + entry->RawPath() + "\" failed: " + entry->ErrorMessage();
      return;
    }
    if (Len(target->Name()) != Len(target->DisplayName())) p_hadNameOverflow = true;
    RuntimeBackgroundTask();
  }
}

String ZipExtractor::GetComment(const Ref<FolderItem>& archive_file) {
  const Ref<ZipArchive> archive = Open(archive_file);
  if (!archive) return {};
  String comment = archive->Comment();
  archive->Close();
  return comment;
}

bool ZipExtractor::IsZipArchive(const Ref<FolderItem>& archive_file) {
  const Ref<ZipArchive> archive = Open(archive_file);
  return archive && archive->Close();
}

}  // namespace vantorel
