#include "platform/compress/ZStream.h"

#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/compress/GzipReader.h"
#include "platform/compress/MemberDeflater.h"

namespace vantorel {

ZStream::ZStream(bool write, const Ref<IStreamWriter>& writer, const Ref<IStreamReader>& reader) {
  if (write) {
    deflating_ = NewDeflater();
    writer_ = writer;
  } else {
    inflating_ = std::make_unique<GzipReader>(reader);
  }
}

ZStream::ZStream(std::unique_ptr<MemberDeflater> deflater, const Ref<IStreamWriter>& writer)
    : deflating_(std::move(deflater)), writer_(writer) {}

ZStream::~ZStream() = default;

String ZStream::Read(std::int32_t count) {
  if (inflating_ == nullptr) throw RuntimeException("a ZStream made for writing was read");
  if (count <= 0) return {};
  MemberStatus status = MemberStatus::kGoing;
  String bytes = inflating_->Read(static_cast<std::size_t>(count), status);
  error_value_ = static_cast<std::int32_t>(status);
  return bytes;
}

void ZStream::Write(const String& data) {
  if (deflating_ == nullptr) throw RuntimeException("a ZStream made for reading, or closed, was written");
  deflating_->Write(data.view(), *writer_);
  error_value_ = writer_->LastError();
}

void ZStream::Close() {
  if (deflating_ == nullptr) return;
  const std::unique_ptr<MemberDeflater> last = std::move(deflating_);
  last->Finish(*writer_);
  stored_ = last->Stored();
  error_value_ = writer_->LastError();
}

}  // namespace vantorel
