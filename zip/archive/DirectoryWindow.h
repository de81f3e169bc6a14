// The central directory read in large pieces. The records share the bytes of their piece, so that an
// archive's members cost no memory for them beyond the directory itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/files/BinaryStream.h"
#include "platform/text/String.h"

namespace vantorel {

class DirectoryWindow {
 public:
  // Begins at the position of `stream`, which must outlive the window, and reads ahead up to `end` and no
  // further.
  DirectoryWindow(BinaryStream& stream, std::uint64_t end);

  // The next record; cut at the end of the file, but with a whole fixed part, filled up with zeros if need
  // be. Not held back by `end`.
  String ReadRecord();
  // Where the next record begins.
  std::uint64_t Position() const { return position_; }

 private:
  // What lies ahead, `count` bytes of it where the file has them.
  std::string_view Ahead(std::size_t count);

  BinaryStream& stream_;
  std::uint64_t end_;
  std::uint64_t position_;
  String piece_;
  std::size_t used_ = 0;  // bytes of `piece_` given out
};

}  // namespace vantorel
