#include "tests/support/FileSizeLimit.h"
#include "tests/support/MacBytes.h"
#include "tests/support/RecordingMonitor.h"
#include "tests/zip/write/WriteSupport.h"

namespace vantorel::testing {
namespace {

constexpr std::int32_t kNone = -1;

Ref<MemoryBlock> Header(ZipArchive& archive, std::int32_t data_length, std::int32_t rsrc_length) {
  return archive.MakeMacBinaryHeader(data_length, rsrc_length, "n", "TYPE", "CREA", nil, nil);
}

TEST(EntryWriter, RefusesWithoutATrace) {
  constexpr const char* kUnexpected = "An unexpected error occured while storing an item";
  using Length = std::int32_t;  // kNone: no fork, no header
  // The member's name, whether its data opens, three lengths, result, message, and whether the archive is
  // dirty then.
  const std::tuple<const char*, bool, Length, Length, Length, int, const char*, bool> cases[] = {
      {"", true, 3, kNone, kNone, -50, "Name must not be empty", false},
      {"data", false, 3, kNone, kNone, -38, "Opening the source data stream failed", true},
      {"empty data", false, 0, kNone, 0, -38, "Opening the source data stream failed", true},
      {"fork", true, 3, 3, 3, -38, "Opening the source rsrc stream failed", true},
      {"header of another length", true, 3, kNone, 4, -2, kUnexpected, false},
      {"negative", true, -5, kNone, kNone, -2, kUnexpected, true},
      {"runs short", true, 4, kNone, 4, -2, "Read error, the archived item may be corrupted", true},
  };
  for (const auto& [name, opens, length, rsrc_length, header_length, result, message, dirty] : cases) {
    const ScratchFolder scratch;
    const auto archive = Open(scratch);
    archive->d->dirty = false;
    const Ref<SeqDataInputStream> rsrc = rsrc_length == kNone ? nil : New<StringSource>("abc", false);
    const auto header = header_length == kNone ? nil : Header(*archive, header_length, rsrc ? 3 : 0);
    const auto data = New<StringSource>("abc", opens);
    EXPECT_EQ(archive->AddItemByStreams(data, length, rsrc, 3, header, name, nil, nil), result) << name;
    EXPECT_EQ(Text(archive->errmsg), message) << name;
    EXPECT_EQ(archive->d->dirty, dirty) << name;
    EXPECT_EQ(Add(*archive, "next", "text"), 1) << name;
    EXPECT_TRUE(archive->Close());
    EXPECT_EQ(MembersOf(scratch), (Members{{"next", "text"}})) << name;
  }
}

TEST(EntryWriter, NoticesAFullDisk) {
  for (const std::string& bytes : {std::string(), Noise(100), Noise(100000)}) {
    const ScratchFolder scratch;
    const auto archive = Open(scratch);
    Add(*archive, "a", "text");
    {
      const FileSizeLimit limit(static_cast<rlim_t>(archive->startOfDirInArchive) + 10);
      EXPECT_EQ(Add(*archive, "lost", bytes), -2) << bytes.size();
      EXPECT_EQ(Text(archive->errmsg), "Write error, the archived item may be corrupted");
    }
    EXPECT_EQ(Add(*archive, "b", bytes), 2) << "there is room again";
    EXPECT_TRUE(archive->Close());
    EXPECT_EQ(MembersOf(scratch), (Members{{"a", "text"}, {"b", bytes}})) << bytes.size();
  }
}

TEST(EntryWriter, ForksAreFilledUpBehindTheHeader) {
  const ScratchFolder scratch;
  const auto archive = Open(scratch);
  const auto fork = New<StringSource>("abcde");
  EXPECT_THROW(archive->AddItemByStreams(nil, 0, fork, 5, nil, "n", nil, nil), RuntimeException);
  std::string expected;
  std::string stored;
  for (const std::int32_t length : {0, 1, 127, 128, 129, 16256, 16257}) {
    const std::string data = Noise(static_cast<std::size_t>(length));
    const auto header = Header(*archive, length, 5);
    fork->position = 0;
    archive->AddItemByStreams(New<StringSource>(data), length, fork, 5, header, "n", nil, nil);
    expected += std::string(header->View()) + FilledUp(data) + FilledUp("abcde");
  }
  for (const auto& member : MembersOf(*archive)) stored += member.second;
  EXPECT_EQ(stored, expected);
}

TEST(EntryWriter, TellsTheMonitorAndStopsWhenItSaysSo) {
  // Both forks' lengths, where the monitor aborts, what it is told, and what is read of the data fork.
  const std::tuple<const char*, int, int, int, std::vector<std::int32_t>, std::size_t> cases[] = {
      {"nothing to tell of an empty member", 0, kNone, INT32_MAX, {}, 0},
      {"one call per chunk, the last one's is the end's", 32768, kNone, INT32_MAX, {0, 16384, 32768}, 32768},
      {"header and first piece fill a chunk", 20000, 10, INT32_MAX, {0, 16384, 20128, 20234, 20352}, 20000},
      {"whichever fork it is", 0, 20000, INT32_MAX, {0, 16384, 20128, 20224}, 0},
      {"abort before the first read", 40000, kNone, 0, {0, 40000}, 0},
      {"abort within a chunk", 40000, kNone, 1, {0, 16384, 40000}, 16384},
      {"abort in the last call", 100, kNone, 100, {0, 100}, 100},
  };
  for (const auto& [name, length, rsrc_length, abort_at, progress, bytes_read] : cases) {
    const ScratchFolder scratch;
    const auto archive = Open(scratch);
    const auto monitor = New<RecordingMonitor>();
    monitor->abort_at = abort_at;
    archive->SetProgressMonitor(monitor);
    const auto data = New<StringSource>(Noise(40000));
    const Ref<SeqDataInputStream> rsrc = rsrc_length == kNone ? nil : New<StringSource>(Noise(40000));
    const auto header = rsrc ? Header(*archive, length, rsrc_length) : nil;
    const bool aborted = abort_at != INT32_MAX;
    EXPECT_EQ(archive->AddItemByStreams(data, length, rsrc, rsrc_length, header, "n", nil, nil),
              aborted ? 0 : 1)
        << name;
    EXPECT_EQ(Text(archive->errmsg), aborted ? "Aborted" : "") << name;
    EXPECT_EQ(monitor->progress, progress) << name;
    EXPECT_EQ(data->position, bytes_read) << name;
    EXPECT_EQ(data->times_opened, data->times_closed) << name;
  }
}

}  // namespace
}  // namespace vantorel::testing
