// What an extraction would do, as far as that shows without reading data and making anything.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>

#include "platform/base/Ref.h"
#include "tools/forkzip/extract/FileExtraction.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

class Rehearsal {
 public:
  // Raises Failure (kFileError) if `root` could not be the destination.
  Rehearsal(const std::string& root, const ExtractionWays& ways);

  // Raises Failure if a member would be refused or could not take its place; false if it would be passed
  // over. REQUIRES: symbolic links come behind all other members, as they do when they are made.
  bool Check(const Ref<ZipEntry>& entry);

 private:
  bool MayTake(const Ref<ZipEntry>& entry, const std::string& place) const;
  void CheckSideFile(const Ref<ZipEntry>& entry, const std::string& folder, const std::string& name) const;
  // What is in a place by then: the mode's kind, 0 for nothing.
  mode_t KindAt(const std::string& place) const;

  std::string root_;
  ExtractionWays ways_;
  std::map<std::string, mode_t> taken_;  // places that members before have taken
};

}  // namespace vantorel::forkzip
