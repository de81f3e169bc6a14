// One engine inflating one gzip member piece by piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantorel {

// What a member has come to; the numbers are zlib's and reach people in messages.
enum class MemberStatus : std::int32_t {
  kGoing = 0,
  kEnd = 1,
  kBadData = -3,
  kOutOfMemory = -4,
  kTruncated = -5,
};

class MemberInflater {
 public:
  virtual ~MemberInflater() = default;

  // Takes bytes from the front of `input` and puts at most `room` inflated ones at `output`; `produced` tells
  // how many. kGoing: the room is full or the input used up. kEnd: the trailer has been checked and is right.
  // kBadData: `produced` bytes in front of the fault are good.
  virtual MemberStatus Inflate(std::string_view& input, char* output, std::size_t room,
                               std::size_t& produced) = 0;
};

}  // namespace vantorel
