// Members brought to disk. What may go wrong with a hostile archive or a full disk is looked after here; the
// engine only streams.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/Destination.h"
#include "tools/forkzip/FileSink.h"
#include "tools/forkzip/Problems.h"
#include "zip/archive/ZipEntry.h"

namespace vantorel::forkzip {

class Extraction {
 public:
  struct Ways {
    bool overwrite = false;
    bool raw = false;  // MacBinary and companions are left as they are
  };

  Extraction(const std::string& root, const Ways& ways, Problems& problems);

  // Brings a member to disk, or tells why not. Symbolic links, and the times and modes of folders, wait for
  // Finish.
  void Extract(const Ref<ZipEntry>& entry);
  void Finish();

  // Members that are on disk now.
  std::size_t Extracted() const { return extracted_; }

 private:
  using Components = std::vector<std::string>;
  struct Waiting {
    Ref<ZipEntry> entry;
    Components path;
  };

  // These raise Failure.
  void Place(const Ref<ZipEntry>& entry);
  void ExtractFile(const Ref<ZipEntry>& entry, const Components& path);
  void MakeLink(const Waiting& link);
  void FinishFolder(const Waiting& folder);

  // Runs `work` for a member, turning a Failure into a problem.
  template <typename Work>
  void Guarded(const Ref<ZipEntry>& entry, Work work);

  Destination destination_;
  Ways ways_;
  Problems& problems_;
  std::size_t extracted_ = 0;
  std::vector<Waiting> folders_;
  std::vector<Waiting> links_;
};

}  // namespace vantorel::forkzip
