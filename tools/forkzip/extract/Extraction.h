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
  Extraction(const std::string& root, const ExtractionWays& ways, Problems& problems);

  // Extracts a member, or tells why not. Symbolic links, and the times and modes of folders, wait for Finish.
  void Extract(const Ref<ZipEntry>& entry);
  void Finish();
  // From now on problems are told there.
  void TellTo(Problems& problems) { problems_ = &problems; }
  // Takes away what killed runs left of members, and in the folders that these belong in.
  void Clear(const std::vector<Ref<ZipEntry>>& entries);

  // Members that are on disk now.
  std::size_t Extracted() const { return extracted_; }

 private:
  using Components = std::vector<std::string>;
  struct Waiting {
    Ref<ZipEntry> entry;
    std::size_t depth;  // the greater, the sooner its turn
  };

  // These raise Failure.
  // Where a member belongs; valid until the next call. Members that share a name in a short archive come one
  // after another, and their common path is split once.
  const Components& PathFor(const Ref<ZipEntry>& entry);
  void Place(const Ref<ZipEntry>& entry);
  // Whether --newer lets the member take the place of what is there.
  bool IsWanted(const Ref<ZipEntry>& entry, const Components& path);
  void MakeLink(const Ref<ZipEntry>& entry);
  void FinishFolder(const Ref<ZipEntry>& entry);

  // Runs `work` for a member, turning a Failure into a problem.
  template <typename Work>
  void Guarded(const Ref<ZipEntry>& entry, Work work);

  ExtractionTarget target_;
  Problems* problems_;
  std::size_t extracted_ = 0;
  String split_name_;
  Components split_path_;
  std::vector<Waiting> waiting_;
};

// Raises Failure if a member would be refused or could not take its place below the destination; false if it
// would be passed over. Nothing is made, and what other members would leave in the way is not known.
bool CheckPlace(const std::string& root, const Ref<ZipEntry>& entry, const ExtractionWays& ways);

}  // namespace vantorel::forkzip
