// The inflating side of a ZStream: pulls a member's bytes from a reader and inflates them in larger pieces
// than its caller asks for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/base/Ref.h"
#include "platform/compress/IStreamReader.h"
#include "platform/compress/MemberInflater.h"
#include "platform/text/String.h"

namespace vantorel {

class GzipReader {
 public:
  explicit GzipReader(const Ref<IStreamReader>& reader) : reader_(reader) {}

  // As ZStream::Read. `status` becomes what the member has come to right behind the bytes returned.
  String Read(std::size_t count, MemberStatus& status);

 private:
  // Fetches the beginning of the member and chooses how to inflate it.
  void Start();
  // Inflates the next piece into the window; it stays empty only at the end of the member or on a fault.
  void Refill();
  void Fetch();
  String Take(std::size_t count);

  Ref<IStreamReader> reader_;
  std::unique_ptr<MemberInflater> inflater_;
  bool started_ = false;
  // What came from the reader last, and the part of it that is still to be inflated.
  String fetched_;
  std::string_view input_;
  bool input_ended_ = false;
  // What is inflated and not yet taken, and what follows it.
  String window_;
  std::size_t next_window_size_ = 65536;  // small, since many a caller only looks at the first bytes
  MemberStatus status_ = MemberStatus::kGoing;
};

}  // namespace vantorel
