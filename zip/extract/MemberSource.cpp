#include "zip/extract/MemberSource.h"

#include <algorithm>

#include "platform/base/ByteOrder.h"
#include "platform/text/TextFunctions.h"
#include "zip/extract/ZipBinaryStreamReader.h"

namespace vantorel {

namespace {

constexpr std::int32_t kEndOfMember = 1;

// What ends a gzip member (RFC 1952): its sum and size.
String GzipTrailer(std::int32_t crc, std::int32_t size) {
  return String::Bytes(LittleEndian32(static_cast<std::uint32_t>(crc)) +
                       LittleEndian32(static_cast<std::uint32_t>(size)));
}

}  // namespace

MemberSource::MemberSource(const Ref<BinaryStream>& stream, std::int32_t compressed_size,
                           const String& gzip_header, std::int32_t crc, std::int32_t size)
    : stream_(stream) {
  const String suffix = GzipTrailer(crc, size);
  inflate_ =
      New<ZStream>(false, nil, New<ZipBinaryStreamReader>(stream, compressed_size, gzip_header, suffix));
}

String MemberSource::Read(std::int32_t count) {
  if (inflate_) return inflate_->Read(count);
  count = std::min(count, left_);
  left_ -= count;
  return stream_->Read(count);
}

std::int32_t MemberSource::Fault() const {
  if (!inflate_) return 0;
  const std::int32_t code = inflate_->ErrorValue();
  return code == kEndOfMember ? 0 : code;
}

String MemberSource::FaultMessage() const {
  return "An error " + Str(Fault()) + " occured while deflation";
}

DataEnd MemberSource::End() {
  if (!inflate_ || inflate_->ErrorValue() == kEndOfMember) return DataEnd::kSound;
  if (!inflate_->Read(1).empty()) return DataEnd::kGoesOn;
  return inflate_->ErrorValue() == kEndOfMember ? DataEnd::kSound : DataEnd::kFaulty;
}

}  // namespace vantorel
