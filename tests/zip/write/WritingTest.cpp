// What is written of a member and of the directory, what is told on the way, and what is refused.
#include "tests/support/MacBytes.h"
#include "tests/support/OpenZip.h"
#include "tests/support/ResourceLimit.h"

namespace vantorel::testing {
namespace {

TEST(Directory, AReadOnlyArchiveRefusesEveryChange) {
  const ScratchFolder scratch;
  const std::string bytes = MakeZip({{.name = "a", .data = "x"}}) + "tail";
  const Ref<FolderItem> item = scratch.Write("a.zip", bytes);
  const auto archive = Open(scratch, false);
  const std::pair<const char*, std::function<bool()>> changes[] = {
      {"Flush", [&] { return archive->Flush(); }},
      {"SetComment", [&] { return archive->SetComment("c"); }},
      {"Compact", [&] { return archive->Compact(); }},
      {"RemoveEntry", [&] { return archive->RemoveEntry(1); }},
      {"ReplaceEntry", [&] { return archive->ReplaceEntry(1, nil) != nil; }},
      {"AddFolderContents", [&] { return archive->AddFolderContents(scratch.Item(), "", 0, false); }},
      {"AddItemByStreams", [&] { return Add(*archive, "n", "x") != 0; }},
      {"AddFakeDuplicate", [&] { return archive->AddFakeDuplicate(archive->Entry(1), "n", nil, nil) != 0; }},
      {"AddItemToRoot", [&] { return archive->AddItemToRoot(item, 0) != 0; }},
  };
  for (const auto& [name, change] : changes) {
    archive->errmsg = "";
    EXPECT_FALSE(change()) << name;
    EXPECT_EQ(Text(archive->errmsg), "Archive was opened read-only") << name;
  }
  EXPECT_EQ(archive->CalcItemSize(item, 0), static_cast<std::int32_t>(bytes.size()));
  EXPECT_TRUE(archive->Close() && archive->Close());
  EXPECT_EQ(scratch.Read("a.zip"), bytes);
}

TEST(Directory, AForgedOffsetOverwritesNothing) {
  for (const std::uint32_t offset : {0x80000000U, 0xFFFFFFFDU, 0xFFFFFFFFU}) {
    const ScratchFolder scratch;
    const std::string member = LocalRecord({.name = "a", .data = Noise(1000)});
    const std::string bytes = member + Changed(MakeZip({}), EndRecord::kDirectoryOffset, Le32(offset));
    scratch.Write("a.zip", bytes);
    EXPECT_FALSE(Open(scratch)->Close()) << offset;
    EXPECT_EQ(scratch.Read("a.zip"), bytes) << offset;
  }
}

TEST(Directory, WhatCannotBeWrittenIsToldAndTriedAgain) {
  for (const bool locked : {false, true}) {
    const OwnZip zip;
    Add(*zip.archive, "a", "text");
    const auto extra = zip->MakeZipExtraField("TEXT", "ttxt", "");
    if (locked) extra->Lock();
    EXPECT_EQ(zip->AddFakeDuplicate(zip->Entry(1), "b", New<Date>(), extra), 2);
    EXPECT_TRUE(zip->Flush()) << "a first failure answers true";
    EXPECT_EQ(Text(zip->errmsg), locked ? "Internal error (extra field length mismatch)"
                                        : "Internal error (Exception in z_writeDirectory)");
    zip->Entry(2)->SetExtraFieldInCentralDir(extra);
    EXPECT_EQ(zip.Close(), (Members{{"a", "text"}, {"b", "text"}}));
  }
}

TEST(Directory, StandsInTheFileByteForByte) {
  const auto add = [](ZipArchive& a, const char* name, double seconds, const Ref<ZipExtraField>& extra) {
    const Ref<Date> date = seconds > 0 ? New<Date>() : nil;
    if (date) date->SetTotalSeconds(seconds);
    EXPECT_GE(a.AddItemByStreams(nil, 0, nil, 0, nil, name, extra, date), 1);
  };
  const std::string zpit = ExtraRecordBytes(0x2705, "ZPITTEXTttxt");
  const ZipMember full{.name = "größe/日.txt",
                       .central_extra = zpit,
                       .local_extra = zpit,
                       .comment = "Übung",
                       .os_made_by = 7,
                       .time = 29 + 32 * 59 + 2048 * 23,
                       .date = 31 + 32 * 12 + 512 * 44,
                       .external_attributes = 1};
  const ZipMember old{.name = "d/", .os_made_by = 0, .date = 4 + 32 * 3, .external_attributes = 1};
  const ZipMember latin{.name = "\xFC", .os_made_by = 0};
  const std::tuple<const char*, std::function<void(ZipArchive&)>, ZipMember, std::string> cases[] = {
      {"everything that a member can carry",
       [&](ZipArchive& a) {
         a.SetDefaultOSMadeBy(7);
         add(a, "/größe/日.txt", 3818534399.0,
             a.MakeZipExtraField("TEXT", "ttxt", ""));  // 2024-12-31 23:59:59
         a.Entry(1)->SetComment("Übung");
         a.SetComment("end");
       },
       full, "end"},
      {"the year 1975 is clamped, month and day stay",
       [&](ZipArchive& a) { add(a, "d/", 2245968001.0, nil); }, old, ""},
      {"no mark for a name in another encoding",
       [&](ZipArchive& a) { a.d->setArchiveEncoding(a.EncodedAsWinLatin1()), add(a, "ü", 0, nil); }, latin,
       ""},
  };
  for (const auto& [name, fill, member, comment] : cases) {
    const OwnZip zip;
    fill(*zip.archive);
    EXPECT_TRUE(zip->Close());
    const std::string expected = MakeZip({member}, comment);
    EXPECT_EQ(zip.Read("a.zip"), expected) << name;
    zip.Write("a.zip", expected + "junk");
    EXPECT_TRUE(Open(zip)->Close());
    EXPECT_EQ(zip.Read("a.zip"), expected) << "junk is cut off, " << name;
  }
}

constexpr std::int32_t kNone = -1;

Ref<MemoryBlock> Header(ZipArchive& archive, std::int32_t data_length, std::int32_t rsrc_length) {
  return archive.MakeMacBinaryHeader(data_length, rsrc_length, "n", "TYPE", "CREA", nil, nil);
}

TEST(EntryWriter, RefusesWithoutATrace) {
  constexpr const char* kUnexpected = "An unexpected error occured while storing an item";
  const struct {
    const char* name;     // of the member
    bool data_opens;      // which has 3 bytes
    std::int32_t length;  // of the data as it is given
    bool has_fork;        // which does not open, and a MacBinary header for 3 bytes each
    std::int32_t result;
    const char* message;
    bool dirty = true;  // the archive, afterwards
  } cases[] = {
      {"", true, 3, false, -50, "Name must not be empty", false},
      {"data", false, 3, false, -38, "Opening the source data stream failed"},
      {"fork", true, 3, true, -38, "Opening the source rsrc stream failed"},
      {"header of another length", true, 4, true, -2, kUnexpected, false},
      {"negative", true, -5, false, -2, kUnexpected},
  };
  for (const auto& c : cases) {
    const OwnZip zip;
    zip->d->dirty = false;
    const Ref<SeqDataInputStream> rsrc = c.has_fork ? New<StringSource>("abc", false) : nil;
    const auto header = c.has_fork ? Header(*zip.archive, 3, 3) : nil;
    const auto data = New<StringSource>("abc", c.data_opens);
    EXPECT_EQ(zip->AddItemByStreams(data, c.length, rsrc, 3, header, c.name, nil, nil), c.result) << c.name;
    EXPECT_EQ(Text(zip->errmsg), c.message) << c.name;
    EXPECT_EQ(zip->d->dirty, c.dirty) << c.name;
    EXPECT_EQ(Add(*zip.archive, "next", "text"), 1) << c.name;
    EXPECT_EQ(zip.Close(), (Members{{"next", "text"}})) << c.name;
  }
  const auto fork = New<StringSource>("abc");
  EXPECT_THROW(New<ZipArchive>()->AddItemByStreams(nil, 0, fork, 3, nil, "n", nil, nil), RuntimeException);
}

TEST(EntryWriter, NoticesAFullDisk) {
  for (const std::string& bytes : {std::string(), Noise(100), Noise(100000)}) {
    const OwnZip zip;
    Add(*zip.archive, "a", "text");
    {
      const ResourceLimit limit(RLIMIT_FSIZE, static_cast<rlim_t>(zip->startOfDirInArchive) + 10);
      EXPECT_EQ(Add(*zip.archive, "lost", bytes), -2) << bytes.size();
      EXPECT_EQ(Text(zip->errmsg), "Write error, the archived item may be corrupted");
    }
    EXPECT_EQ(Add(*zip.archive, "b", bytes), 2) << "there is room again";
    const std::int32_t end = std::exchange(zip->startOfDirInArchive, INT32_MAX - 10);
    EXPECT_EQ(Add(*zip.archive, "too far", bytes), -2) << "the format has no room: " << bytes.size();
    zip->startOfDirInArchive = end;
    EXPECT_EQ(zip.Close(), (Members{{"a", "text"}, {"b", bytes}})) << bytes.size();
  }
}

TEST(EntryWriter, TellsTheMonitorAndStopsWhenItSaysSo) {
  const struct {
    const char* name;
    std::int32_t length;                 // of the data fork
    std::vector<std::int32_t> progress;  // what the monitor is told
    std::size_t bytes_read;              // of the data fork
    std::int32_t rsrc_length = kNone;    // with a MacBinary header
    std::int32_t abort_at = INT32_MAX;   // where the monitor aborts
  } cases[] = {
      {"nothing to tell of an empty member", 0, {}, 0},
      {"one call per chunk, the last one's is the end's", 32768, {0, 16384, 32768}, 32768},
      {"header and first piece fill a chunk", 20000, {0, 16384, 20128, 20234, 20352}, 20000, 10},
      {"abort before the first read", 40000, {0, 40000}, 0, kNone, 0},
      {"abort within a chunk", 40000, {0, 16384, 40000}, 16384, kNone, 1},
  };
  for (const auto& c : cases) {
    const OwnZip zip;
    const auto monitor = New<RecordingMonitor>();
    monitor->abort_at = c.abort_at;
    zip->SetProgressMonitor(monitor);
    const auto data = New<StringSource>(Noise(40000));
    const Ref<SeqDataInputStream> rsrc = c.rsrc_length == kNone ? nil : New<StringSource>(Noise(40000));
    const auto header = rsrc ? Header(*zip.archive, c.length, c.rsrc_length) : nil;
    const bool aborted = c.abort_at != INT32_MAX;
    EXPECT_EQ(zip->AddItemByStreams(data, c.length, rsrc, c.rsrc_length, header, "n", nil, nil),
              aborted ? 0 : 1)
        << c.name;
    EXPECT_EQ(Text(zip->errmsg), aborted ? "Aborted" : "") << c.name;
    EXPECT_EQ(monitor->progress, c.progress) << c.name;
    EXPECT_EQ(data->position, c.bytes_read) << c.name;
    EXPECT_EQ(data->times_opened, data->times_closed) << c.name;
  }
}

}  // namespace
}  // namespace vantorel::testing
