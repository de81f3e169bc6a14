// A file of which some bytes are read otherwise than they stand there.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "platform/files/BinaryStream.h"

namespace vantorel::forkzip {

// By position: bytes to be read in place of those in a file.
using Patches = std::map<std::uint64_t, std::string>;

class PatchedStream : public BinaryStream {
 public:
  PatchedStream(int descriptor, std::uint64_t length, Patches patches)
      : BinaryStream(descriptor, false, length), patches_(std::move(patches)) {}

 protected:
  std::int64_t ReadAt(char* buffer, std::size_t count, std::uint64_t position) override;

 private:
  Patches patches_;
};

}  // namespace vantorel::forkzip
