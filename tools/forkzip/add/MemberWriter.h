// Items of a plan become members of an open archive, with what other programs expect beyond the engine's own
// ways: the UTF-8 flag, Unix modes, times to the second, the DOS bit of folders.
#pragma once

#include "platform/base/Ref.h"
#include "tools/forkzip/add/AddPlan.h"
#include "tools/forkzip/add/FileSource.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/cli/Progress.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::forkzip {

class MemberWriter {
 public:
  MemberWriter(const Ref<ZipArchive>& archive, const AddOptions& options, Problems& problems);

  // Adds the items. One that cannot be read is a problem and leaves no trace in the archive. Raises Failure
  // if the archive itself cannot go on, and Interrupted.
  void Add(const AddPlan& plan, const Ref<Progress>& progress);

 private:
  bool AddItem(const PlannedItem& item, bool side_file_is_member);
  bool IsToBeWrapped(const PlannedItem& item) const;
  bool AddPlain(const PlannedItem& item, bool has_mac_data);
  bool AddLink(const PlannedItem& item);
  bool AddWrapped(const PlannedItem& item);
  // Sees to what the engine answered to an addition from `source`, nil if it was from no file.
  bool Settle(const PlannedItem& item, const Ref<FileSource>& source, std::int32_t index);
  // Takes back what came of an item, which is then a problem.
  bool TakeBack(const PlannedItem& item, const std::string& why);
  void Finish(const PlannedItem& item, std::int32_t index);
  // Marks the name of a member that was just added as UTF-8, if it is and not plain ASCII, in its local
  // header and in its record in memory.
  void MarkName(const Ref<ZipEntry>& entry) const;
  void CheckArchive() const;

  Ref<ZipArchive> archive_;
  AddOptions options_;
  Problems& problems_;
};

}  // namespace vantorel::forkzip
