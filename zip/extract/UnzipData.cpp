// The loop that streams a member's bytes and separates its forks.
#include <algorithm>

#include "platform/base/Arithmetic.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/extract/AppleDoubleHeader.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/extract/UnzipRun.h"

namespace vantorel {

namespace {

constexpr std::int32_t kSmallestChunk = 2048;

}  // namespace

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
      entry_.errmsg = source_->FaultMessage();
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

}  // namespace vantorel
