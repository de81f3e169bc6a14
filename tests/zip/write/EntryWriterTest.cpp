#include "tests/support/MacBytes.h"
#include "tests/support/OpenZip.h"
#include "tests/support/RecordingMonitor.h"
#include "tests/support/ResourceLimit.h"

namespace vantorel::testing {
namespace {

constexpr std::int32_t kNone = -1;

Ref<MemoryBlock> Header(ZipArchive& archive, std::int32_t data_length, std::int32_t rsrc_length) {
  return archive.MakeMacBinaryHeader(data_length, rsrc_length, "n", "TYPE", "CREA", nil, nil);
}

TEST(EntryWriter, RefusesWithoutATrace) {
  constexpr const char* kUnexpected = "An unexpected error occured while storing an item";
  enum Source { kOpen, kClosedData, kClosedFork };
  struct Refusal {
    const char* name;            // of the member
    Source source;               // what it has and whether that opens
    std::int32_t length;         // of the data as it is given; there are 3 bytes
    std::int32_t header_length;  // as a MacBinary header states it
    std::int32_t result;
    const char* message;
    bool dirty = true;  // the archive, afterwards
  };
  const Refusal cases[] = {
      {"", kOpen, 3, kNone, -50, "Name must not be empty", false},
      {"data", kClosedData, 3, kNone, -38, "Opening the source data stream failed"},
      {"empty data", kClosedData, 0, 0, -38, "Opening the source data stream failed"},
      {"fork", kClosedFork, 3, 3, -38, "Opening the source rsrc stream failed"},
      {"header of another length", kOpen, 3, 4, -2, kUnexpected, false},
      {"negative", kOpen, -5, kNone, -2, kUnexpected},
      {"runs short", kOpen, 4, 4, -2, "Read error, the archived item may be corrupted"},
  };
  for (const Refusal& c : cases) {
    const ScratchFolder scratch;
    const auto archive = Open(scratch);
    archive->d->dirty = false;
    const Ref<SeqDataInputStream> rsrc = c.source == kClosedFork ? New<StringSource>("abc", false) : nil;
    const auto header = c.header_length == kNone ? nil : Header(*archive, c.header_length, rsrc ? 3 : 0);
    const auto data = New<StringSource>("abc", c.source != kClosedData);
    EXPECT_EQ(archive->AddItemByStreams(data, c.length, rsrc, 3, header, c.name, nil, nil), c.result)
        << c.name;
    EXPECT_EQ(Text(archive->errmsg), c.message) << c.name;
    EXPECT_EQ(archive->d->dirty, c.dirty) << c.name;
    EXPECT_EQ(Add(*archive, "next", "text"), 1) << c.name;
    EXPECT_TRUE(archive->Close());
    EXPECT_EQ(MembersOf(*Open(scratch, false)), (Members{{"next", "text"}})) << c.name;
  }
}

TEST(EntryWriter, NoticesAFullDisk) {
  for (const std::string& bytes : {std::string(), Noise(100), Noise(100000)}) {
    const ScratchFolder scratch;
    const auto archive = Open(scratch);
    Add(*archive, "a", "text");
    {
      const ResourceLimit limit(RLIMIT_FSIZE, static_cast<rlim_t>(archive->startOfDirInArchive) + 10);
      EXPECT_EQ(Add(*archive, "lost", bytes), -2) << bytes.size();
      EXPECT_EQ(Text(archive->errmsg), "Write error, the archived item may be corrupted");
    }
    EXPECT_EQ(Add(*archive, "b", bytes), 2) << "there is room again";
    const std::int32_t end = std::exchange(archive->startOfDirInArchive, INT32_MAX - 10);
    EXPECT_EQ(Add(*archive, "too far", bytes), -2) << "the format has no room: " << bytes.size();
    archive->startOfDirInArchive = end;
    EXPECT_TRUE(archive->Close());
    EXPECT_EQ(MembersOf(*Open(scratch, false)), (Members{{"a", "text"}, {"b", bytes}})) << bytes.size();
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
  struct Run {
    const char* name;
    std::int32_t length;                 // of the data fork
    std::vector<std::int32_t> progress;  // what the monitor is told
    std::size_t bytes_read;              // of the data fork
    std::int32_t rsrc_length = kNone;    // with a MacBinary header
    std::int32_t abort_at = INT32_MAX;   // where the monitor aborts
  };
  const Run cases[] = {
      {"nothing to tell of an empty member", 0, {}, 0},
      {"one call per chunk, the last one's is the end's", 32768, {0, 16384, 32768}, 32768},
      {"header and first piece fill a chunk", 20000, {0, 16384, 20128, 20234, 20352}, 20000, 10},
      {"whichever fork it is", 0, {0, 16384, 20128, 20224}, 0, 20000},
      {"abort before the first read", 40000, {0, 40000}, 0, kNone, 0},
      {"abort within a chunk", 40000, {0, 16384, 40000}, 16384, kNone, 1},
      {"abort in the last call", 100, {0, 100}, 100, kNone, 100},
  };
  for (const Run& c : cases) {
    const ScratchFolder scratch;
    const auto archive = Open(scratch);
    const auto monitor = New<RecordingMonitor>();
    monitor->abort_at = c.abort_at;
    archive->SetProgressMonitor(monitor);
    const auto data = New<StringSource>(Noise(40000));
    const Ref<SeqDataInputStream> rsrc = c.rsrc_length == kNone ? nil : New<StringSource>(Noise(40000));
    const auto header = rsrc ? Header(*archive, c.length, c.rsrc_length) : nil;
    const bool aborted = c.abort_at != INT32_MAX;
    EXPECT_EQ(archive->AddItemByStreams(data, c.length, rsrc, c.rsrc_length, header, "n", nil, nil),
              aborted ? 0 : 1)
        << c.name;
    EXPECT_EQ(Text(archive->errmsg), aborted ? "Aborted" : "") << c.name;
    EXPECT_EQ(monitor->progress, c.progress) << c.name;
    EXPECT_EQ(data->position, c.bytes_read) << c.name;
    EXPECT_EQ(data->times_opened, data->times_closed) << c.name;
  }
}

}  // namespace
}  // namespace vantorel::testing
