// Archives that the engine refuses or misreads although other programs read them. It reads their members
// where they are, but finds a directory that is put right: bytes in front of the archive are counted in the
// offsets, Zip64 fields that need not be are made plain ones, names are UTF-8 as far as is known, folders end
// in a slash, and companions bear the extra field that the engine knows them by.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/base/Ref.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

// By position: bytes to be read in place of those in a file.
using Patches = std::map<std::uint64_t, std::string>;

struct CorrectedArchive {
  std::string directory;  // behind the four bytes that an archive begins with
  bool count_is_wrong = false;
  Patches patches{};

  // Whether the engine, which has read this archive, has misread it.
  static bool IsNeeded(const Ref<ZipArchive>& archive);
  // Names and comments that are not known to be UTF-8 are taken for text in `encoding`. Raises FormatError,
  // std::system_error.
  static CorrectedArchive Make(int file, const Ref<TextEncoding>& encoding);

  // For edits, which go by what is stored: whether a companion bears another extra field than the one that
  // the engine knows it by, and the directory in which nothing but that is put right.
  static bool HasForeignCompanions(const Ref<ZipArchive>& archive);
  static CorrectedArchive WithCompanions(RawDirectory directory);
};

// The name in UTF-8 by which reading knows a member of an archive that is opened as it stands, where that is
// another one than is stored.
std::optional<std::string> CorrectedName(ZipEntry& entry);
// The name by which reading knows it in any case.
std::string ListedName(ZipEntry& entry);

}  // namespace vantorel::forkzip
