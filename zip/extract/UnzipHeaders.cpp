// What a run looks at before any data: the local header, and whether it agrees with the directory.
#include "platform/base/Arithmetic.h"
#include "platform/text/TextFunctions.h"
#include "zip/extract/AppleDoubleHeader.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/extract/UnzipRun.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

UnzipRun::Step UnzipRun::ReadLocalHeader() {
  const Ref<BinaryStream> stream = archive_.zipStream;
  if (!stream) return Fail("Archive is closed");
  const std::int32_t local_header = entry_.HeaderLong(CentralHeader::kLocalHeaderOffset);
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
  if ((flags_ & ZipFlags::kDataDescriptor) != 0) {
    crc_ = entry_.HeaderLong(CentralHeader::kCrc);
    compressed_size_ = entry_.HeaderLong(CentralHeader::kCompressedSize);
    size_ = entry_.HeaderLong(CentralHeader::kUncompressedSize);
    if (is_apple_double_ && size_ < AppleDoubleHeader::kSize) {
      if (header_only_) return Step::kSucceed;
      return Fail("The AppleDouble header is too short (<82 bytes)");
    }
  }
  const bool same_flags = static_cast<std::uint16_t>(flags_) == entry_.HeaderUShort(CentralHeader::kFlags);
  if (method_ != entry_.HeaderUShort(CentralHeader::kMethod) ||
      crc_ != entry_.HeaderLong(CentralHeader::kCrc) || compressed_size_ != entry_.CompressedSize() ||
      size_ != entry_.Size() || (!same_flags && !archive_.isFakeEntry(entry_.header, flags_)))
    return Fail("File Headers mismatch");
  if ((flags_ & ZipFlags::kEncrypted) != 0) return Fail("Unsupported format (encrypted)");
  return Step::kGoOn;
}

UnzipRun::Step UnzipRun::SetUpDecompression() {
  if (method_ == ZipMethod::kStored) {
    source_.emplace(archive_.zipStream, size_);
  } else if (method_ == ZipMethod::kDeflated) {
    source_.emplace(archive_.zipStream, compressed_size_, entry_.ZlibPrefix(), crc_, size_);
    if (source_->Fault() != 0) return Fail(source_->FaultMessage());
  } else {
    return Fail("Unsupported compression method (" + Str(method_) + ")");
  }
  return Step::kGoOn;
}

}  // namespace vantorel
