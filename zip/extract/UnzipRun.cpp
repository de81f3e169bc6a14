// The order of one run, and its result. UnzipHeaders.cpp has the checks, UnzipData.cpp the data.
#include "zip/extract/UnzipRun.h"

#include <memory>
#include <vector>

#include "zip/extract/MacBinaryHeader.h"

namespace vantorel {

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
  entry_.dataEnd = DataEnd::kSound;
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
  // The run keeps to the stated size, whatever follows; callers may want to know.
  if (remaining_ == 0 && !header_only_) entry_.dataEnd = source_->End();
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

UnzipRun::Step UnzipRun::OpenDataOutput() {
  if (!data_out_ || header_only_) return Step::kGoOn;
  if (!data_out_->Open()) return Fail("Opening destination file failed");
  out_ = data_out_;
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

bool ZipEntry::z_unzip(const Ref<SeqDataOutputStream>& data_out, const Ref<SeqDataOutputStream>& rsrc_out,
                       bool mac_binary, bool header_only, Ref<MemoryBlock>& header_block) {
  return UnzipRun(*this, data_out, rsrc_out, mac_binary, header_only, header_block).Run();
}

bool ZipEntry::Verify() {
  Ref<MemoryBlock> block;
  return z_unzip(nil, nil, false, false, block);
}

}  // namespace vantorel
