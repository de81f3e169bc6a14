// One engine inflating one gzip member piece by piece. Results are the same whichever engine is at work, but
// that code tables which RFC 1951 forbids, and zlib refuses, may pass in the faster one if length and
// checksum are right all the same.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
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
  // kBadData: `produced` bytes in front of the fault are good. REQUIRES: both are below 4 GiB, as the
  // libraries count in 32 bits.
  virtual MemberStatus Inflate(std::string_view& input, char* output, std::size_t room,
                               std::size_t& produced) = 0;
};

// How much is asked of the reader at a time. A first piece of a member that is shorter is most likely all of
// it.
inline constexpr std::size_t kInputPiece = 65536;

// The contents of the member that `first` begins with, if this build can tell in one step that the member is
// whole, small and right. Otherwise nothing is said about it.
std::optional<std::string> InflateAtOnce(std::string_view first);

// The fastest engine of this build for a member that begins with `first`, which is handed over again in the
// first call of Inflate.
std::unique_ptr<MemberInflater> NewInflater(std::string_view first);

std::unique_ptr<MemberInflater> NewZlibInflater();

}  // namespace vantorel
