#include "tools/forkzip/read/ByteSinks.h"

#include "platform/compress/Crc32.h"

namespace vantorel::forkzip {

void PlainSink::GetErrorDescription(std::int32_t& code, String& text) {
  code = 0;
  text = String();
}

bool PlainSink::Skip(std::int32_t /*count*/) {
  return false;
}

bool SummingSink::Write(const String& data) {
  crc_ = Crc32(data, crc_);
  return true;
}

bool KeepingSink::Write(const String& data) {
  if (bytes_.size() + data.size() > limit_) return false;
  bytes_ += data.view();
  return true;
}

}  // namespace vantorel::forkzip
