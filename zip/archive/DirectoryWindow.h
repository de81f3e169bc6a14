// The central directory read in large pieces. What Read gives shares the bytes of its piece, so that the
// names of an archive cost no memory beyond the directory itself.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/files/BinaryStream.h"
#include "platform/text/String.h"

namespace vantorel {

class DirectoryWindow {
 public:
  // Begins at the position of `stream`, which must outlive the window, and reads ahead up to `end` and no
  // further.
  DirectoryWindow(BinaryStream& stream, std::uint64_t end);

  // The next `count` bytes; fewer at the end of the file. Not held back by `end`.
  String Read(std::int32_t count);
  // Where the next Read begins.
  std::uint64_t Position() const { return position_; }

 private:
  void Refill(std::size_t count);

  BinaryStream& stream_;
  std::uint64_t end_;
  std::uint64_t position_;
  String piece_;
  std::size_t used_ = 0;  // bytes of `piece_` given out
};

}  // namespace vantorel
