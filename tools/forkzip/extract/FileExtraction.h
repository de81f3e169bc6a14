// One member on its way to a file. A file with a resource fork or Finder data is staged, and takes its place
// together with its side file; any other is made where it belongs.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "platform/base/Ref.h"
#include "tools/forkzip/extract/Destination.h"
#include "tools/forkzip/extract/SideFileGuard.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

struct ExtractionWays {
  bool overwrite = false;
  bool newer = false;     // what is there gives way to newer members alone
  bool raw = false;       // MacBinary and companions are left as they are
  std::size_t strip = 0;  // components at the beginning of names
};

// Brings a member to the file that `path`, which is not empty, names below the destination. Raises Failure;
// then all is as it was before.
void ExtractFile(const Ref<ZipEntry>& entry, Destination& destination, std::span<const std::string> path,
                 const ExtractionWays& ways, SideFileGuard& side_files);

// Whether nothing that is newer than the member, or as old, is in the place of that name in an open folder.
bool IsNewerThanThere(const Ref<ZipEntry>& entry, int folder, const std::string& name);

// Without set-id and sticky bits, which are not an archive's to give.
std::optional<mode_t> PermissionsOf(const Ref<ZipEntry>& entry);

// Raises Failure (kFileError) if the side file of `name` could not be written: `error` is negative then.
void CheckMacData(std::int32_t error, const std::string& name);

// Raises Failure (kFileError): `error` is the system's, of putting something under a name in an open folder.
[[noreturn]] void FailToPlace(int folder, const std::string& name, int error, bool overwrite);

}  // namespace vantorel::forkzip
