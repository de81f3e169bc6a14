// Takes the input for an archive that the tool is to edit: reads its directory, finds what belongs to which
// member, and writes both anew. What comes out must read back as meant, with every member's bytes.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/files/FileCalls.h"
#include "tools/forkzip/cli/Problems.h"
#include "tools/forkzip/edit/MovingMembers.h"
#include "tools/forkzip/edit/Preflight.h"
#include "zip/records/FormatError.h"
#include "zip/records/MemberExtents.h"
#include "zip/records/RawDirectory.h"

namespace {

// NOLINTBEGIN(google-build-using-namespace): the harness is about nothing else
using namespace vantorel;
using namespace vantorel::forkzip;
// NOLINTEND(google-build-using-namespace)

void Require(bool holds) {
  if (!holds) std::abort();
}

// Files in memory, the same ones for all runs.
int Input() {
  static const int descriptor = memfd_create("archive", MFD_CLOEXEC);
  return descriptor;
}
int Output() {
  static const int descriptor = memfd_create("rebuilt", MFD_CLOEXEC);
  return descriptor;
}

// What was written is never refused: a Failure ends the run as a finding.
void RequireReadsBack(int file, const RawDirectory& expected) noexcept {
  const RawDirectory read = RawDirectory::Read(file);
  Require(read.start == expected.start && read.Bytes() == expected.Bytes());
  Preflight::CheckDirectory(file, read);
}

void RequireSameMembers(const RawDirectory& before, const RawDirectory& after) noexcept {
  const std::vector<MemberExtent> old_extents = ExtentsOf(Input(), before);
  const std::vector<MemberExtent> new_extents = ExtentsOf(Output(), after);
  Require(old_extents.size() == new_extents.size() && UnusedBytes(after, new_extents) == 0);
  for (std::size_t i = 0; i < old_extents.size(); ++i) {
    const std::uint64_t size = old_extents[i].end - old_extents[i].begin;
    Require(new_extents[i].end - new_extents[i].begin == size);
    Require(ReadAt(Input(), old_extents[i].begin, size) == ReadAt(Output(), new_extents[i].begin, size));
  }
}

void Edit() {
  const RawDirectory directory = RawDirectory::Read(Input());
  Preflight::CheckDirectory(Input(), directory);
  const std::vector<MemberExtent> extents = ExtentsOf(Input(), directory);
  RawDirectory rebuilt = directory;
  rebuilt.start = MoveTogether(Input(), extents, Output(), rebuilt);
  rebuilt.Write(Output());
  RequireSameMembers(directory, rebuilt);
  RequireReadsBack(Output(), rebuilt);
  RawDirectory compacted = directory;
  compacted.start = MoveTogether(Input(), extents, Input(), compacted);
  compacted.Write(Input());
  const std::uint64_t end = compacted.start + compacted.Bytes().size();
  Require(ReadAt(Input(), 0, end) == ReadAt(Output(), 0, end));
  RequireReadsBack(Input(), compacted);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Require(ftruncate(Input(), 0) == 0 && ftruncate(Output(), 0) == 0);
  WriteAt(Input(), 0, {reinterpret_cast<const char*>(data), size});
  try {
    Edit();
  } catch (const Failure&) {
    // What an edit would damage is refused,
  } catch (const FormatError&) {
    // and so is what is damaged already.
  }
  return 0;
}
