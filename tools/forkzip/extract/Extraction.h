// Members extracted to disk. What may go wrong with a hostile archive or a full disk is looked after here;
// the engine only streams.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/extract/Destination.h"
#include "tools/forkzip/extract/FileExtraction.h"
#include "tools/forkzip/extract/SideFileGuard.h"
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
  // Takes away what a process that was killed left of members.
  void Clear(const std::vector<Ref<ZipEntry>>& entries);

  // Members that are on disk now.
  std::size_t Extracted() const { return extracted_; }

 private:
  using Components = std::vector<std::string>;
  struct Waiting {
    Ref<ZipEntry> entry;
    std::size_t depth;
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
  void ApplyFolderData(const Ref<ZipEntry>& entry, const Components& path);

  // Runs `work` for a member, turning a Failure into a problem.
  template <typename Work>
  void Guarded(const Ref<ZipEntry>& entry, Work work);

  Destination destination_;
  ExtractionWays ways_;
  Problems* problems_;
  SideFileGuard side_files_;
  std::size_t extracted_ = 0;
  String split_name_;
  Components split_path_;
  std::vector<Waiting> folders_;
  std::vector<Ref<ZipEntry>> links_;
};

}  // namespace vantorel::forkzip
