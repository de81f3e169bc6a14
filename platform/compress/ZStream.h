// A stream that inflates or deflates one gzip member (RFC 1952): header, raw deflate data (RFC 1951), and a
// trailer of CRC-32 and length. Which of the two is settled at construction; the operations of the other kind
// raise RuntimeException. Memory is constant, whatever the member's size. Making one is cheap: the engines'
// working states are kept for the next stream.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/base/Object.h"
#include "platform/base/Ref.h"
#include "platform/compress/IStreamReader.h"
#include "platform/compress/IStreamWriter.h"
#include "platform/text/String.h"

namespace vantorel {

class MemberDeflater;
class GzipReader;

class ZStream : public Object {
 public:
  // `write` true: deflates what is given to Write into `writer`; `reader` is not used and may be nil.
  // `write` false: inflates what `reader` delivers; `writer` is not used and may be nil.
  ZStream(bool write, const Ref<IStreamWriter>& writer, const Ref<IStreamReader>& reader);
  // Deflates into `writer` by an engine of the caller's.
  ZStream(std::unique_ptr<MemberDeflater> deflater, const Ref<IStreamWriter>& writer);
  // A member that was not closed stays cut: what has reached the writer until then is all there is.
  ~ZStream() override;

  // Up to `count` inflated bytes. Fewer come only at the end of the member or on a fault; none for a count of
  // 0 or less. The Read that gives the member's last byte has also checked its trailer. What the reader holds
  // behind the member is of no interest; some of it may have been read.
  String Read(std::int32_t count);

  // Deflates `data` to about the size that zlib's default level gives, or a little less, unless the engine
  // was given another level. Output may come at once or as late as in Close.
  void Write(const String& data);
  // Ends the member: the rest of the deflate data and the trailer reach the writer before this returns. The
  // header is always the plain one of 10 bytes. Later calls do nothing.
  void Close();

  // Once a deflating stream is closed: whether its engine stored the data instead.
  bool Stored() const { return stored_; }

  // 0: no fault. 1: the end of the member was reached, and its trailer is right. Otherwise a fault, by zlib's
  // codes: -3 bad data, checksum or length; -5 the input ends too early; or the writer's LastError. Of a
  // member that is both bad and cut, the engines may tell either.
  std::int32_t ErrorValue() const { return error_value_; }

 private:
  std::unique_ptr<GzipReader> inflating_;
  std::unique_ptr<MemberDeflater> deflating_;
  Ref<IStreamWriter> writer_;
  std::int32_t error_value_ = 0;
  bool stored_ = false;
};

}  // namespace vantorel
