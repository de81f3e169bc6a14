// Closing the holes that dropped members left in an archive file, in place: the surviving members move toward
// the start, in the order of their offsets, and their central headers learn the new offsets.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"
#include "platform/files/MemoryBlock.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel {

// One object per Compact.
class Compaction {
 public:
  explicit Compaction(ZipArchive& archive);

  // False with a message in the archive's errmsg. What was handled before the failure has moved, the rest has
  // not, and every entry points at its data. The caller empties the working lists.
  bool Run();

 private:
  void CollectMembers();
  bool MoveMember(std::int32_t offset, const Ref<MemoryBlock>& central);
  bool ReadLocalHeader(std::int32_t offset);
  void TakeSizesFrom(const Ref<MemoryBlock>& central);
  bool HeadersAgree(const Ref<MemoryBlock>& central, std::int32_t local_flags) const;
  bool Fail(const char* message);

  ZipArchive& archive_;
  Ref<MemoryBlock> local_;             // the local header at hand
  std::int32_t write_position_ = 0;    // where the member at hand goes
  std::int32_t member_length_ = 0;     // of the one that went there last
  std::int32_t previous_offset_ = -1;  // where that one came from
};

}  // namespace vantorel
