// One run of ZipEntry::z_unzip: the checks, then the loop that streams a member's bytes into a data fork and
// a resource fork. Memory is bounded by the chunk size, whatever the member claims. Lives for one call.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/base/Ref.h"
#include "zip/archive/ZipEntry.h"
#include "zip/extract/MemberSource.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel {

class UnzipRun {
 public:
  // The arguments of z_unzip. `entry` and `header_block` outlive the run, which is run once.
  UnzipRun(ZipEntry& entry, const Ref<SeqDataOutputStream>& data_out,
           const Ref<SeqDataOutputStream>& rsrc_out, bool mac_binary, bool header_only,
           Ref<MemoryBlock>& header_block);

  bool Run();

 private:
  // How a step ends: the next one follows; the loop is left; the run is over.
  enum class Step { kGoOn, kLeaveLoop, kSucceed, kFail };

  // The member's own bytes. False if that is the end of the run, for good or ill.
  bool StreamForks();
  bool WantsCompanion() const;
  // What is left to do once the companion has been unzipped.
  void TakeFromCompanion(bool good);
  bool Result();

  Step ReadLocalHeader();
  Step ChooseHeaderLook();
  Step CheckConsistency();
  Step SetUpDecompression();
  Step OpenDataOutput();
  Step PumpData();
  void CloseOutputs();

  // The parts of one pass of the loop.
  Step PumpChunk();
  Step ChooseCount(std::int32_t& count);
  Step StartResourceFork();
  Step ReadBytes(std::int32_t count, String& data);
  Step LookAtHeader(String& data);

  // Sets the entry's message.
  Step Fail(const String& message);
  // Tells the monitor, if there is one, unless only the header is asked for.
  void ReportProgress(std::int32_t done);

  ZipEntry& entry_;
  ZipArchiveData& archive_;
  const Ref<SeqDataOutputStream> data_out_;
  const Ref<SeqDataOutputStream> rsrc_out_;
  const bool mac_binary_;
  const bool header_only_;
  Ref<MemoryBlock>& header_block_;

  // The local header.
  std::int16_t flags_ = 0;
  std::int32_t method_ = 0;
  std::int32_t crc_ = 0;
  std::int32_t compressed_size_ = 0;
  std::int32_t size_ = 0;

  std::optional<bool> ended_;  // how the run ended before the forks were through
  std::optional<MemberSource> source_;
  bool want_mac_binary_;              // the next read must be the look at a MacBinary header
  bool is_apple_double_ = false;      // the next read must be the look at an AppleDouble header
  bool split_forks_ = false;          // a header was found: the stream falls into forks
  std::int32_t data_left_ = 0;        // bytes of the data fork still to be read
  std::int32_t rsrc_left_ = 0;        // bytes of the resource fork still to be read
  std::int32_t resource_offset_ = 0;  // where the resource fork begins in the stream
  bool rsrc_started_ = false;         // the resource fork's output is open
  std::int32_t chunk_ = 0;
  std::int32_t adjust_ = 0;       // added to the chunk size of every read
  std::int32_t total_ = 0;        // bytes of the stream read so far
  std::int32_t remaining_ = 0;    // the member's size less the bytes dealt with
  Ref<SeqDataOutputStream> out_;  // may be nil: bytes are read and thrown away
  bool abort_ = false;            // set by the monitor
  bool failed_ = false;           // the entry's message is set
  bool write_failed_ = false;     // an output reported a fault
};

}  // namespace vantorel
