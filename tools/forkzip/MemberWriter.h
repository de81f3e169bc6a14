// Items of a plan become members of an open archive, with what other programs expect beyond the engine's own
// ways: the UTF-8 flag, Unix modes, times to the second, the DOS bit of folders.
#pragma once

#include "platform/base/Ref.h"
#include "tools/forkzip/AddPlan.h"
#include "tools/forkzip/Problems.h"
#include "tools/forkzip/Progress.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

class MemberWriter {
 public:
  MemberWriter(const Ref<ZipArchive>& archive, const AddOptions& options, Problems& problems);

  // Adds the items. One that cannot be read is a problem and leaves no trace in the archive. Raises Failure
  // if the archive itself cannot go on, and Interrupted.
  void Add(const AddPlan& plan, const Ref<Progress>& progress);

 private:
  bool AddItem(const PlannedItem& item);
  bool AddPlain(const PlannedItem& item);
  bool AddLink(const PlannedItem& item);
  bool AddWrapped(const PlannedItem& item);
  // Takes back what came of an item, which is then a problem.
  bool TakeBack(const PlannedItem& item, const std::string& why);
  void Finish(const PlannedItem& item, std::int32_t index);
  void CheckArchive() const;

  Ref<ZipArchive> archive_;
  AddOptions options_;
  Problems& problems_;
};

// Marks the name of a member that was just added as UTF-8, in its local header and in its record in memory,
// if it is not plain ASCII.
void MarkNameAsUtf8(const Ref<ZipArchive>& archive, const Ref<ZipEntry>& entry);

}  // namespace vantorel::forkzip
