// Where the bytes of members go.
#pragma once

#include <cstdint>
#include <string>

#include "platform/compress/Crc32.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel::forkzip {

// A sink that is always ready; what is left is Write.
class PlainSink : public SeqDataOutputStream {
 public:
  bool Open() override { return true; }
  bool Close() override { return true; }
  void GetErrorDescription(std::int32_t& code, String& /*text*/) override { code = 0; }
  bool Skip(std::int32_t /*count*/) override { return false; }
  void ClearError() override {}
  bool Flush() override { return true; }
};

// Only sums what passes.
class SummingSink : public PlainSink {
 public:
  bool Write(const String& data) override {
    crc_ = Crc32(data, crc_);
    return true;
  }
  std::uint32_t Crc() const { return static_cast<std::uint32_t>(crc_); }

 private:
  std::int32_t crc_ = 0;
};

// Keeps what passes, up to a limit, at which Write fails.
class KeepingSink : public PlainSink {
 public:
  explicit KeepingSink(std::size_t limit) : limit_(limit) {}
  bool Write(const String& data) override {
    if (bytes_.size() + data.size() > limit_) return false;
    bytes_ += data.view();
    return true;
  }
  const std::string& Bytes() const { return bytes_; }

 private:
  std::size_t limit_;
  std::string bytes_;
};

}  // namespace vantorel::forkzip
