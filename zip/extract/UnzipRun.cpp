#include "zip/extract/UnzipRun.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "platform/base/Arithmetic.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/extract/AppleDoubleHeader.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

constexpr std::int32_t kSmallestChunk = 2048;

String InflateMessage(std::int32_t code) {
  return "An error " + Str(code) + " occured while deflation";
}

}  // namespace

UnzipRun::UnzipRun(ZipEntry& entry, const Ref<SeqDataOutputStream>& data_out,
                   const Ref<SeqDataOutputStream>& rsrc_out, bool mac_binary, bool header_only,
                   Ref<MemoryBlock>& header_block)
    : entry_(entry),
      archive_(*entry.d),
      data_out_(data_out),
      rsrc_out_(rsrc_out),
      mac_binary_(mac_binary),
      header_only_(header_only),
      header_block_(header_block),
      want_mac_binary_(mac_binary) {}

// A companion may have a companion, and a forged archive long chains of them: they take no stack.
bool UnzipRun::Run() {
  std::vector<std::unique_ptr<UnzipRun>> companions;
  for (UnzipRun* run = this; run->StreamForks() && run->WantsCompanion(); run = companions.back().get()) {
    companions.push_back(std::make_unique<UnzipRun>(*run->entry_.appleDoubleEntry, nil, rsrc_out_, true,
                                                    header_only_, header_block_));
  }
  while (!companions.empty()) {
    const bool good = companions.back()->Result();
    companions.pop_back();
    (companions.empty() ? *this : *companions.back()).TakeFromCompanion(good);
  }
  return Result();
}

bool UnzipRun::StreamForks() {
  header_block_ = nil;
  Step step = ReadLocalHeader();
  if (step == Step::kGoOn) step = ChooseHeaderLook();
  if (step == Step::kGoOn) step = CheckConsistency();
  if (step == Step::kGoOn) step = SetUpDecompression();
  if (step == Step::kGoOn) step = OpenDataOutput();
  if (step == Step::kGoOn) step = PumpData();
  if (step != Step::kGoOn) {
    ended_ = step == Step::kSucceed;
    return false;
  }
  source_.reset();
  ReportProgress(entry_.Size());
  CloseOutputs();
  return true;
}

UnzipRun::Step UnzipRun::Fail(const String& message) {
  entry_.errmsg = message;
  return Step::kFail;
}

void UnzipRun::ReportProgress(std::int32_t done) {
  if (!archive_.monitor || header_only_) return;
  archive_.monitor->EntryProgress(Ref<ZipEntry>(&entry_), entry_.Size(), done, abort_);
}

UnzipRun::Step UnzipRun::ReadLocalHeader() {
  const Ref<BinaryStream> stream = archive_.zipStream;
  if (!stream) return Fail("Archive is closed");
  const std::int32_t local_header = entry_.header->Long(CentralHeader::kLocalHeaderOffset);
  stream->SetPosition(ToPosition(local_header));
  if (stream->ReadLong() != LocalHeader::kMagic)
    return Fail("Invalid Local File Header signature (archive appears to be severely corrupted)");
  stream->ReadShort();  // version needed
  flags_ = stream->ReadShort();
  method_ = static_cast<std::uint16_t>(stream->ReadShort());
  stream->ReadLong();  // time and date
  crc_ = stream->ReadLong();
  compressed_size_ = stream->ReadLong();
  size_ = stream->ReadLong();
  const std::uint16_t name_length = static_cast<std::uint16_t>(stream->ReadShort());
  const std::uint16_t extra_length = static_cast<std::uint16_t>(stream->ReadShort());
  stream->SetPosition(stream->Position() + name_length + extra_length);
  return Step::kGoOn;
}

// Goes by the local header's size. That of a member with a data descriptor is 0, so such a member is never
// unwrapped from MacBinary: it comes out as one plain file.
UnzipRun::Step UnzipRun::ChooseHeaderLook() {
  if (entry_.thisIsTheAppleDoubleEntry) {
    is_apple_double_ = true;
    want_mac_binary_ = false;
  } else if (want_mac_binary_) {
    if (entry_.appleDoubleEntry) {
      want_mac_binary_ = false;
    } else if (size_ < MacBinaryHeader::kSize) {
      if (header_only_) return Step::kSucceed;
      want_mac_binary_ = false;
    }
  }
  return Step::kGoOn;
}

UnzipRun::Step UnzipRun::CheckConsistency() {
  const MemoryBlock& header = *entry_.header;
  if ((flags_ & ZipFlags::kDataDescriptor) != 0) {
    crc_ = header.Long(CentralHeader::kCrc);
    compressed_size_ = header.Long(CentralHeader::kCompressedSize);
    size_ = header.Long(CentralHeader::kUncompressedSize);
    if (is_apple_double_ && size_ < AppleDoubleHeader::kSize) {
      if (header_only_) return Step::kSucceed;
      return Fail("The AppleDouble header is too short (<82 bytes)");
    }
  }
  const bool same_flags = static_cast<std::uint16_t>(flags_) == header.UShort(CentralHeader::kFlags);
  if (method_ != header.UShort(CentralHeader::kMethod) || crc_ != header.Long(CentralHeader::kCrc) ||
      compressed_size_ != entry_.CompressedSize() || size_ != entry_.Size() ||
      (!same_flags && !archive_.isFakeEntry(entry_.header, flags_)))
    return Fail("File Headers mismatch");
  if ((flags_ & ZipFlags::kEncrypted) != 0) return Fail("Unsupported format (encrypted)");
  return Step::kGoOn;
}

UnzipRun::Step UnzipRun::SetUpDecompression() {
  if (method_ == ZipMethod::kStored) {
    source_.emplace(archive_.zipStream);
  } else if (method_ == ZipMethod::kDeflated) {
    source_.emplace(archive_.zipStream, compressed_size_, entry_.zlib_prefix, crc_, size_);
    if (source_->Fault() != 0) return Fail(InflateMessage(source_->Fault()));
  } else {
    return Fail("Unsupported compression method (" + Str(method_) + ")");
  }
  return Step::kGoOn;
}

UnzipRun::Step UnzipRun::OpenDataOutput() {
  if (!data_out_ || header_only_) return Step::kGoOn;
  if (!data_out_->Open()) return Fail("Opening destination file failed");
  out_ = data_out_;
  return Step::kGoOn;
}

UnzipRun::Step UnzipRun::PumpData() {
  chunk_ = std::max(archive_.copyChunkSize, kSmallestChunk);
  remaining_ = size_;
  ReportProgress(0);
  while (remaining_ > 0 && !abort_) {
    const Step step = PumpChunk();
    if (step == Step::kLeaveLoop) break;
    if (step != Step::kGoOn) return step;
  }
  return Step::kGoOn;
}

UnzipRun::Step UnzipRun::PumpChunk() {
  std::int32_t count = 0;
  Step step = ChooseCount(count);
  if (step != Step::kGoOn) return step;
  String data;
  step = ReadBytes(count, data);
  if (step != Step::kGoOn) return step;
  if (is_apple_double_ || want_mac_binary_) {
    step = LookAtHeader(data);
    if (step != Step::kGoOn) return step;
  }
  if (header_only_) return Step::kLeaveLoop;
  if (out_ && !out_->Write(data)) {
    write_failed_ = true;
    return Step::kLeaveLoop;
  }
  remaining_ -= count;
  if (remaining_ > 0) ReportProgress(entry_.Size() - remaining_);
  RuntimeBackgroundTask();
  return Step::kGoOn;
}

UnzipRun::Step UnzipRun::ChooseCount(std::int32_t& count) {
  if (is_apple_double_) {
    count = AppleDoubleHeader::kSize;
    adjust_ = -AppleDoubleHeader::kSize;
  } else if (want_mac_binary_) {
    count = MacBinaryHeader::kSize;
    adjust_ = -MacBinaryHeader::kSize;
  } else if (!split_forks_) {
    count = std::min(chunk_ + adjust_, remaining_);
  } else if (data_left_ > 0) {
    count = std::min(chunk_ + adjust_, data_left_);
    data_left_ -= count;
  } else if (total_ < resource_offset_) {
    count = resource_offset_ - total_;
    out_ = nil;
  } else if (rsrc_left_ > 0) {
    const Step step = StartResourceFork();
    if (step != Step::kGoOn) return step;
    count = std::min(chunk_ + adjust_, rsrc_left_);
    rsrc_left_ -= count;
  } else {
    out_ = nil;
    count = std::min(chunk_ + adjust_, remaining_);
  }
  return Step::kGoOn;
}

UnzipRun::Step UnzipRun::StartResourceFork() {
  if (rsrc_started_) return Step::kGoOn;
  if (data_out_ && !data_out_->Close()) {
    write_failed_ = true;
    return Step::kLeaveLoop;
  }
  if (rsrc_out_ && !rsrc_out_->Open()) return Fail("Opening destination rsrc fork failed");
  out_ = rsrc_out_;
  rsrc_started_ = true;
  return Step::kGoOn;
}

// A count above the chunk size, which only what lies in front of a resource fork has, is read piece by piece,
// and `data` holds the last of them.
UnzipRun::Step UnzipRun::ReadBytes(std::int32_t count, String& data) {
  std::int32_t left = count;
  while (left > 0) {
    const std::int32_t take = std::min(left, chunk_);
    data = source_->Read(take);
    if (source_->Fault() != 0) {
      entry_.errmsg = InflateMessage(source_->Fault());
      failed_ = true;
      return Step::kLeaveLoop;
    }
    total_ = AddSInt32(total_, LenB(data));
    if (LenB(data) != take) return Step::kLeaveLoop;
    left -= take;
  }
  return Step::kGoOn;
}

UnzipRun::Step UnzipRun::LookAtHeader(String& data) {
  if (!entry_.z_unzipMBHdr(is_apple_double_, data, header_block_, resource_offset_)) {
    failed_ = true;
    return Step::kLeaveLoop;
  }
  if (header_block_) {
    data = String();
    split_forks_ = true;
    data_left_ = header_block_->Long(MacBinaryHeader::kDataLength);
    rsrc_left_ = header_block_->Long(MacBinaryHeader::kResourceLength);
    const std::int64_t claimed = static_cast<std::int64_t>(resource_offset_) + rsrc_left_;
    if (remaining_ < claimed) return Step::kLeaveLoop;
  }
  is_apple_double_ = false;
  want_mac_binary_ = false;
  return Step::kGoOn;
}

// Also what was never opened is closed, and what is closed already: the streams take this.
void UnzipRun::CloseOutputs() {
  if (rsrc_out_ && !rsrc_out_->Close()) write_failed_ = true;
  if (data_out_ && !data_out_->Close()) write_failed_ = true;
}

bool UnzipRun::WantsCompanion() const {
  return !failed_ && mac_binary_ && entry_.appleDoubleEntry;
}

void UnzipRun::TakeFromCompanion(bool good) {
  if (!good) {
    entry_.errmsg = entry_.appleDoubleEntry->errmsg;
    failed_ = true;
  } else if (header_block_) {
    header_block_->SetLong(MacBinaryHeader::kDataLength, size_);
  }
}

bool UnzipRun::Result() {
  if (ended_) return *ended_;
  if (failed_) return false;
  if (abort_) {
    entry_.errmsg = "Aborted";
  } else if (write_failed_) {
    entry_.errmsg = "File write error (disk full?)";
  } else if (total_ != size_) {
    entry_.errmsg = "Data appears to be corrupted";
  } else {
    return true;
  }
  return false;
}

}  // namespace vantorel
