// Stores one member: local header, data, and the new entry in the list. The member goes where the directory
// starts, over whatever lies there; until the directory is written again the file has none. A failed or
// aborted member leaves the list as it was, and its bytes are overwritten by whatever comes next.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/base/Ref.h"
#include "platform/compress/ZStream.h"
#include "platform/files/Date.h"
#include "platform/files/MemoryBlock.h"
#include "platform/text/String.h"
#include "zip/archive/ZipArchive.h"
#include "zip/extract/SeqDataInputStream.h"

namespace vantorel {

// Where a member's bytes come from; the streams are unopened. Any reference may be nil.
struct MemberForks {
  Ref<SeqDataInputStream> data_in;
  std::int32_t data_length = 0;
  Ref<SeqDataInputStream> rsrc_in;
  std::int32_t rsrc_length = 0;
  Ref<MemoryBlock> mac_binary_header;  // big-endian; a fork for rsrc_in exists only with it

  bool HasHeader() const { return mac_binary_header && mac_binary_header->Size() != 0; }
};

// One object per member.
class EntryWriter {
 public:
  EntryWriter(ZipArchive& archive, MemberForks source);

  // Index of the new entry, or an AddResult with a message in the archive's errmsg. Raises RuntimeException,
  // before anything is written, if the header block disagrees with the lengths.
  std::int32_t Store(const String& name, const Ref<Date>& date, const Ref<ZipExtraField>& extra);

 private:
  void SettleLengths();
  Ref<MemoryBlock> MakeCentralRecord(const Ref<Date>& date) const;
  void WriteLocalHeader();

  // Each answers what Store is to answer at once, or nothing to go on.
  std::optional<std::int32_t> WriteData();
  std::optional<std::int32_t> FeedData(ZStream& deflated);
  std::optional<std::int32_t> FeedFork(ZStream& deflated, const Ref<SeqDataInputStream>& source,
                                       std::int32_t length, const char* open_failure);

  // Settles where the member ends and puts CRC and size into its local header. False if the stream does not
  // stand where it should.
  bool FinishData(std::int32_t data_bytes_written);
  // Appends the entry, if the disk and the format have room for the member.
  std::int32_t AppendEntry();

  void Notify(std::int32_t done);
  std::int32_t Fail(std::int32_t result, const char* message);
  std::int32_t FailToWrite();

  ZipArchive& archive_;
  MemberForks source_;
  String encoded_name_;
  String extra_data_;
  std::int32_t total_ = 0;  // bytes before compression
  Ref<MemoryBlock> record_;
  Ref<ZipEntry> entry_;

  std::uint32_t write_faults_before_ = 0;
  std::uint64_t crc_field_ = 0;     // position of the CRC in the local header
  std::int32_t data_start_ = 0;     // position behind the local header
  std::int32_t header_length_ = 0;  // local header with name and extra field
  std::int32_t crc_ = 0;
  std::int32_t member_end_ = 0;

  std::int32_t next_read_ = 0;  // what the next read of a fork may ask for
  std::int32_t done_ = 0;       // bytes fed, as the progress counts them
  bool abort_ = false;
  bool stored_ = false;  // which the archive's own choice of a deflater may have done
};

}  // namespace vantorel
