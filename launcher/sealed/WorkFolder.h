// The folder `.update` in the launcher folder, in which an update is made ready:
//
//   Vantorel.zip       the archive
//   new/               what it holds
//   serial, version    the files that record it
//   journal            what is going to be placed, written before anything is (see Swap.h)
//   old/               what had to step aside, where the system cannot exchange two names
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/base/Descriptor.h"

namespace vantorel::sealed {

class WorkFolder {
 public:
  static constexpr char kName[] = ".update";

  // The path of the launcher folder ends in a slash.
  explicit WorkFolder(std::string launcher_folder) : launcher_folder_(std::move(launcher_folder)) {}

  // The paths of the folder, if it is there, and of those that were moved aside.
  std::vector<std::string> Folders() const;

  // Makes sure that no other launcher works here, until Leave or the end of this object. Raises Refusal.
  void Enter();
  void Leave() { lock_.Close(); }
  bool IsEntered() const { return lock_.IsOpen(); }
  // Makes the folder, empty. One that could not be removed is moved aside. Raises Refusal.
  void Make() const;
  // Removes the folder, and those that were moved aside, as far as that can be done.
  void Remove() const;

  const std::string& LauncherFolder() const { return launcher_folder_; }
  std::string Path() const { return launcher_folder_ + kName; }
  std::string Path(const std::string& name) const { return Path() + "/" + name; }

  // Brings all that was written here to the disk. Raises Refusal.
  void Sync() const;

 private:
  std::string launcher_folder_;
  Descriptor lock_;
};

}  // namespace vantorel::sealed
