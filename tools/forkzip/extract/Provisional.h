// What lies in a destination only until it takes its place: names for it, a folder for what belongs together,
// and an end to what killed runs left. A run holds a shared lock on each folder while it is at work there.
#pragma once

#include <string>

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"

namespace vantorel::forkzip {

// A name that nothing bears.
std::string ProvisionalName();

// Tells other runs that this one is at work in an open folder, until that is closed. Nobody is told where the
// system has no locks or another program has locked the folder.
void LockFolder(int folder);

// Takes away what bears such a name in an open folder, whose path is `path`, unless a run is at work there or
// it cannot be told. Locks the folder.
void ClearProvisional(int folder, const std::string& path);

// Where an item and its side file are put together, under the names they are to bear, without touching what
// bears them already.
class Staging {
 public:
  // For an item that belongs in `folder`, an open one. Nothing is made yet.
  explicit Staging(int folder) : folder_(folder) {}
  Staging(const Staging&) = delete;
  Staging& operator=(const Staging&) = delete;
  // Takes it away with all that is still in it.
  ~Staging();

  // Makes an empty folder inside that one, whose path is `path`. To be called once. Raises Failure
  // (kFileError).
  void Make(const std::string& path);

  // The path of what bears a name in it, as seen from that folder, and the item.
  std::string Below(const std::string& name) const { return name_ + "/" + name; }
  Ref<FolderItem> Item(const std::string& name) const;

 private:
  int folder_;
  std::string path_;
  std::string name_;
};

}  // namespace vantorel::forkzip
