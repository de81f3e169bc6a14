// What the bytes of an archive do to a reader of raw records who finds that they cannot be what they claim.
#pragma once

#include <stdexcept>

namespace vantorel {

// what() says what is wrong, with the name of the member, as stored, in front where it is about one.
class FormatError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The file is one part of an archive that was split over several.
class SplitArchiveError : public FormatError {
 public:
  SplitArchiveError()
      : FormatError("is one part of a split archive; 7zz reads them all, and zip -s 0 joins them") {}
};

}  // namespace vantorel
