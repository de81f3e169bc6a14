// Members extracted to disk. What may go wrong with a hostile archive or a full disk is looked after here;
// the engine only streams.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/extract/FileExtraction.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

class Extraction {
 public:
  Extraction(const std::string& root, const ExtractionWays& ways) : target_(root, ways) {}

  // These give the number of members that are on disk now.
  // Extracts a member, or tells why not. Symbolic links, and the times and modes of folders, wait for Finish.
  std::size_t Extract(const Ref<ZipEntry>& entry, const Tell& tell);
  std::size_t Finish(const Tell& tell);

  // Takes away what killed runs left of members, and in the folders that these belong in.
  void Clear(const std::vector<Ref<ZipEntry>>& entries);

 private:
  using Components = std::vector<std::string>;
  struct Waiting {
    Ref<ZipEntry> entry;
    std::size_t depth;  // the greater, the sooner its turn
  };

  // These raise Failure. What gives a bool tells whether the member is on disk now.
  // Where a member belongs; valid until the next call. Members that share a name in a short archive come one
  // after another, and their common path is split once.
  const Components& PathFor(const Ref<ZipEntry>& entry);
  bool Place(const Ref<ZipEntry>& entry, const Tell& tell);
  // Whether --newer lets the member take the place of what is there.
  bool IsWanted(const Ref<ZipEntry>& entry, const Components& path);
  bool MakeLink(const Ref<ZipEntry>& entry);
  bool FinishFolder(const Ref<ZipEntry>& entry);

  ExtractionTarget target_;
  String split_name_;
  Components split_path_;
  std::vector<Waiting> waiting_;
};

}  // namespace vantorel::forkzip
