// Told of the progress of long operations on an archive. Called on the caller's stack; an implementation must
// leave the archive alone. A by-reference flag comes in as the call before it in the same operation left it:
// false, but true at the last EntryProgress of a member that was stopped.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"
#include "platform/text/String.h"

namespace vantorel {

class ZipEntry;

class ZipProgressNotifier : public virtual Object {
 public:
  // `done` of `total` bytes of this member are read or written. Setting `abort` stops the member.
  virtual void EntryProgress(const Ref<ZipEntry>& entry, std::int32_t total, std::int32_t done,
                             bool& abort) = 0;
  // An item of a folder could not be added; `code` and `message` tell why. Setting `stop` ends the walk.
  virtual void ItemFailed(const Ref<FolderItem>& item, std::int32_t code, const String& message,
                          bool& stop) = 0;
  // An item of a folder is about to be added. Setting `abort` ends the walk.
  virtual void ItemStarting(const Ref<FolderItem>& item, bool& abort) = 0;
};

}  // namespace vantorel
