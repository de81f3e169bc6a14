// A source and a sink in memory.
#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "zip/extract/SeqDataInputStream.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel::testing {

// Gives the bytes of a string and counts how it is used.
class StringSource : public SeqDataInputStream {
 public:
  explicit StringSource(std::string text, bool opens = true) : bytes(std::move(text)), opens_(opens) {}
  String Read(std::int32_t count) override {
    const std::string piece = bytes.substr(std::min(position, bytes.size()), static_cast<std::size_t>(count));
    position += piece.size();
    return String::Bytes(piece);
  }
  bool AtEOF() override { return position >= bytes.size(); }
  bool HadError() override { return false; }
  bool Open() override { return ++times_opened, opens_; }
  void Close() override { ++times_closed; }
  void GetErrorDescription(std::int32_t& code, String&) override { code = 0; }
  bool Skip(std::int32_t) override { return false; }
  void ClearError() override {}

  std::string bytes;
  std::size_t position = 0;
  int times_opened = 0;
  int times_closed = 0;

 private:
  bool opens_;
};

// Keeps what is written to it.
class StringSink : public SeqDataOutputStream {
 public:
  bool Write(const String& data) override { return bytes += data.view(), true; }
  bool Open() override { return true; }
  bool Close() override { return true; }
  void GetErrorDescription(std::int32_t& code, String&) override { code = 0; }
  bool Skip(std::int32_t) override { return false; }
  void ClearError() override {}
  bool Flush() override { return true; }

  std::string bytes;
};

}  // namespace vantorel::testing
