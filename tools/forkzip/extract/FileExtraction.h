// One member on its way to disk. What has a resource fork or Finder data is staged, and takes its place
// together with its side file; any other file is made where it belongs.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "platform/base/Ref.h"
#include "platform/files/FileCalls.h"
#include "tools/forkzip/extract/Destination.h"
#include "tools/forkzip/extract/SideFileGuard.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

struct ExtractionWays {
  std::string root = ".";  // the destination
  bool overwrite = false;
  bool newer = false;     // what is there gives way to newer members alone
  bool raw = false;       // MacBinary and companions are left as they are
  std::size_t strip = 0;  // components at the beginning of names
};

struct ExtractionTarget {
  IfTaken WhatIsThere() const { return ways.overwrite ? IfTaken::kReplace : IfTaken::kRefuse; }

  Destination destination;
  ExtractionWays ways;
  SideFileGuard side_files;
};

// These raise Failure. Then all is as it was before, unless the file got its place and its side file did not,
// which the message tells. `path` is not empty.

// Brings a member to the file that `path` names below the destination. Returns the system's error if the file
// system did not take its mode or time, else 0.
int ExtractFile(const Ref<ZipEntry>& entry, ExtractionTarget& target, std::span<const std::string> path);
// Gives a folder that is there its Mac data.
void ExtractFolderData(const Ref<ZipEntry>& entry, ExtractionTarget& target,
                       std::span<const std::string> path);

// Whether nothing that is newer than the member, or as old, is in the place of that name in an open folder.
bool IsNewerThanThere(const Ref<ZipEntry>& entry, int folder, const std::string& name);

// Without set-id and sticky bits, which are not an archive's to give.
std::optional<mode_t> PermissionsOf(const Ref<ZipEntry>& entry);

// Raises Failure (kFileError): `error` is the system's, of putting something under a name in an open folder.
[[noreturn]] void FailToPlace(int folder, const std::string& name, int error, bool overwrite);

}  // namespace vantorel::forkzip
