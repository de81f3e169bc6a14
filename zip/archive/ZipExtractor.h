// Unpacks a whole archive in one call, and answers short questions about an archive file. Every operation
// opens the archive read-only, with names in UTF-8, and closes it again; nothing stays open between calls.
#pragma once

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"
#include "platform/text/String.h"

namespace vantorel {

class ZipArchive;

class ZipExtractor : public Object {
 public:
  double p_totalBytes = 0;         // sum of the sizes of all entries, as the last ExtractAllSilently found it
  String p_errMsg;                 // of the last operation; empty if it went well
  bool p_hadNameOverflow = false;  // some item shows under a name of another length; never set back

  // Extracts every entry, in order, below `dest_folder`, with forks and metadata. Stops at the first entry
  // that fails and leaves what was extracted before it. False with a message. A folder whose companion is
  // longer than its header fails, and so does one whose way leads through a link ("No destination given").
  // RuntimeException passes through: a forged name may cause it, by a zero byte or by more ".." than there
  // are folders.
  virtual bool ExtractAllSilently(const Ref<FolderItem>& archive_file, const Ref<FolderItem>& dest_folder);
  // The archive comment as it is stored; empty with a message if the archive does not open.
  virtual String GetComment(const Ref<FolderItem>& archive_file);
  // Whether the file opens as an archive, its directory being read in full. False with a message.
  virtual bool IsZipArchive(const Ref<FolderItem>& archive_file);
  virtual String LastErrMsg() { return p_errMsg; }

 private:
  // nil with a message if it does not open.
  Ref<ZipArchive> Open(const Ref<FolderItem>& archive_file);
  void SumSizes(ZipArchive& archive);
  void ExtractEntries(ZipArchive& archive, const Ref<FolderItem>& dest_folder);
};

}  // namespace vantorel
