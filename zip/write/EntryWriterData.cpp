// The data of a member on its way through the compressor into the archive.
#include <algorithm>
#include <string>

#include "platform/base/Arithmetic.h"
#include "platform/compress/MemberDeflater.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/extract/ZipBinaryStreamWriter.h"
#include "zip/records/ZipRecords.h"
#include "zip/write/AddResult.h"
#include "zip/write/EntryWriter.h"

namespace vantorel {

namespace {

// What a gzip member has around the raw deflate data that a Zip member consists of.
constexpr std::int32_t kGzipHeaderSize = 10;
constexpr std::uint64_t kGzipTrailerSize = 8;  // CRC-32, then the length

}  // namespace

std::optional<std::int32_t> EntryWriter::WriteData() {
  // The gzip header is dropped on the way. The trailer reaches the file: the CRC is read back from it.
  const auto raw = New<ZipBinaryStreamWriter>(archive_.d->zipStream, kGzipHeaderSize);
  Notify(0);
  if (!abort_) {
    // A negative length counts as stored, and there is no way in for stored bytes.
    if (total_ < 0) throw RuntimeException("a member of negative length");
    const auto& deflater = archive_.d->new_deflater;
    const Ref<ZStream> deflated = deflater ? New<ZStream>(deflater(), raw) : New<ZStream>(true, raw, nil);
    if (const auto failure = FeedData(*deflated)) return failure;
    deflated->Close();
    stored_ = deflated->Stored();
  }
  Notify(total_);
  if (abort_) return Fail(AddResult::kNotStored, "Aborted");
  if (done_ != total_) {
    return Fail(AddResult::kStoreFailed, "Read error, the archived item may be corrupted");
  }
  if (!FinishData(raw->BytesWritten())) return FailToWrite();
  return std::nullopt;
}

std::optional<std::int32_t> EntryWriter::FeedData(ZStream& deflated) {
  constexpr const char* kDataNotOpened = "Opening the source data stream failed";
  next_read_ = std::max(archive_.d->copyChunkSize, 1);
  if (!source_.HasHeader()) {
    return FeedFork(deflated, source_.data_in, source_.data_length, kDataNotOpened);
  }
  deflated.Write(source_.mac_binary_header->StringValue(0, MacBinaryHeader::kSize));
  done_ = MacBinaryHeader::kSize;
  // The header and the first piece of a fork fill one chunk together.
  next_read_ = std::max(next_read_ - MacBinaryHeader::kSize, 1);
  if (const auto failure = FeedFork(deflated, source_.data_in, source_.data_length, kDataNotOpened)) {
    return failure;
  }
  return FeedFork(deflated, source_.rsrc_in, source_.rsrc_length, "Opening the source rsrc stream failed");
}

// Without a header what was asked for counts as done, so that a source which runs short is not noticed; with
// one, what came counts, and the fork is filled up.
std::optional<std::int32_t> EntryWriter::FeedFork(ZStream& deflated, const Ref<SeqDataInputStream>& source,
                                                  std::int32_t length, const char* open_failure) {
  const bool wrapped = source_.HasHeader();
  if (source) {
    if (!source->Open()) return Fail(AddResult::kNotOpened, open_failure);
    std::int32_t remaining = length;
    while (remaining > 0 && !abort_) {
      const std::int32_t wanted = std::min(remaining, next_read_);
      const String piece = source->Read(wanted);
      deflated.Write(piece);
      next_read_ = std::max(archive_.d->copyChunkSize, 1);
      remaining -= wanted;
      done_ = AddSInt32(done_, wrapped ? LenB(piece) : wanted);
      if (done_ < total_) Notify(done_);
      RuntimeBackgroundTask();
    }
    source->Close();
  }
  if (wrapped) {
    const std::int32_t filling = SubtractSInt32(MacBinaryHeader::ForkLength(length), length);
    deflated.Write(String::Bytes(std::string(static_cast<std::size_t>(filling), '\0')));
    done_ = AddSInt32(done_, filling);
  }
  return std::nullopt;
}

bool EntryWriter::FinishData(std::int32_t data_bytes_written) {
  BinaryStream& stream = *archive_.d->zipStream;
  const std::int32_t written = AddSInt32(header_length_, data_bytes_written);
  const std::uint64_t expected_end = ToPosition(AddSInt32(archive_.startOfDirInArchive, written));
  if (stream.Position() != expected_end) return false;

  const std::uint64_t trailer = expected_end - kGzipTrailerSize;
  stream.SetPosition(trailer);
  crc_ = stream.ReadLong();
  // What comes next overwrites the trailer.
  member_end_ = ToSInt32(trailer);
  stream.SetPosition(crc_field_);
  stream.WriteLong(crc_);
  stream.WriteLong(SubtractSInt32(member_end_, data_start_));
  if (stored_) {
    record_->SetUShort(CentralHeader::kMethod, ZipMethod::kStored);
    stream.SetPosition(crc_field_ - LocalHeader::kCrc + LocalHeader::kMethod);
    stream.WriteShort(ZipMethod::kStored);
  }
  return true;
}

void EntryWriter::Notify(std::int32_t done) {
  const Ref<ZipProgressNotifier> monitor = archive_.d->monitor;
  if (monitor) monitor->EntryProgress(entry_, total_, done, abort_);
}

}  // namespace vantorel
