// The folder `.update` in the launcher folder, in which an update is made ready:
//
//   Vantorel.zip       the archive
//   new/               what it holds
//   serial, version    the files that record it, written before anything is swapped
//   old/               what had to step aside, where the system cannot exchange two names
//
// `serial` leaving for the launcher folder is the moment from which the update counts as installed. What
// stands here tells a later run what became of an earlier one.
#pragma once

#include <string>
#include <utility>

#include "platform/base/Descriptor.h"

namespace vantorel::sealed {

class WorkFolder {
 public:
  static constexpr char kName[] = ".update";

  // The path of the launcher folder ends in a slash.
  explicit WorkFolder(std::string launcher_folder) : launcher_folder_(std::move(launcher_folder)) {}

  // Makes sure that no other launcher works here as long as this object lives, and settles what an earlier
  // run has left. False if another one is at work, or the folder cannot be opened.
  bool Enter();
  // Ends an update, or one that was broken off: completes its record if it is installed, puts back what had
  // stepped aside if it is not, and removes the work folder. Does nothing unless Enter gave true.
  void Settle() const;
  // Makes the work folder, empty. Raises Refusal.
  void Make() const;

  const std::string& LauncherFolder() const { return launcher_folder_; }
  std::string Path(const std::string& name = "") const { return launcher_folder_ + kName + "/" + name; }

  // Brings all that was written here to the disk. False if it could not be.
  bool Sync() const;

 private:
  void PutBack() const;

  std::string launcher_folder_;
  Descriptor lock_;  // of the launcher folder
};

}  // namespace vantorel::sealed
