// Items of a plan become members at the end of an archive, with what other programs expect beyond the
// engine's own ways: the UTF-8 flag, Unix modes, times to the second, the DOS bit of folders.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/base/Ref.h"
#include "tools/forkzip/add/AddPlan.h"
#include "tools/forkzip/add/FilePacker.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/cli/Progress.h"
#include "zip/archive/ZipArchive.h"
#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip {

class MemberWriter {
 public:
  // Members will be written to `file` from `begin` on, over whatever is there. REQUIRES: what is given by
  // reference outlives the writer.
  MemberWriter(int file, std::uint32_t begin, const AddingOptions& options, FilePacker& packer,
               Problems& problems);

  // Writes the items. One that cannot be read is a problem and leaves no trace in the archive. Raises Failure
  // if the archive itself cannot go on, and Interrupted.
  void Add(const AddPlan& plan, const Ref<Progress>& progress);
  // Ends the writing. Returns the records of the new members. Raises Failure if not all has arrived.
  std::vector<RawRecord> Finish();
  // Where the last member ends.
  std::uint32_t End() const { return static_cast<std::uint32_t>(archive_->startOfDirInArchive); }

 private:
  // Why an item can be no member, or nothing.
  std::string Refusal(const PlannedItem& item) const;
  bool AddItem(const PlannedItem& item, bool side_file_is_member);
  bool IsToBeWrapped(const PlannedItem& item, const MacData& mac) const;
  bool AddPlain(const PlannedItem& item, const FinderInfo& info);
  bool AddLink(const PlannedItem& item);
  bool AddWrapped(const PlannedItem& item, const Ref<FolderItem>& file, const MacData& mac);
  // Sees to what the engine answered to an addition from `source`, nil if it was from no file.
  bool Settle(const PlannedItem& item, const Ref<FileSource>& source, std::int32_t index);
  // Takes back what came of an item, which is then a problem.
  bool TakeBack(const PlannedItem& item, const std::string& why);
  void SetAttributes(const PlannedItem& item, const Ref<ZipEntry>& entry) const;
  // Marks the name of a member that was just added as UTF-8, if it is and not plain ASCII, in its local
  // header and in its record in memory.
  void MarkName(const Ref<ZipEntry>& entry) const;
  void CheckArchive() const;

  Ref<ZipArchive> archive_;  // of the new members alone
  const AddingOptions& options_;
  FilePacker& packer_;
  Problems& problems_;
};

}  // namespace vantorel::forkzip
