#include "tests/zip/archive/OpenedZip.h"

namespace vantorel {
namespace {

using namespace testing;

constexpr const char* kNoHeader = "File does not appear to by a Zip file ('PK' header missing)";
constexpr const char* kNoDirectory = "Central Directory not found; probably a damaged Zip file";
constexpr const char* kMultiPart =
    "This is part of a multi-segment archive, which is not supported by the ZipArchive class";
constexpr const char* kTooSmall = "Central Directory is corrupted.";
constexpr const char* kNoMemory = "There is not enough memory available to read the archive directory";
constexpr const char* kBadRecord = "Central Directory is corrupted";
constexpr const char* kNewer =
    "Archive was written in a newer format than what this software supports (it supports up to v2.0 "
    "archives)";

const ZipMember kA{"a", "one"};
const ZipMember kB{"b", "two"};

TEST(Opening, RefusesWhatItCannotRead) {
  ZipMember newer = kA;
  newer.version_needed = 21;
  ZipMember unsigned_record = kB;
  unsigned_record.central_magic = 0x02014B51;
  const std::string good = MakeZip({kA});
  std::string shifted = good;
  Put32(shifted, static_cast<std::int32_t>(shifted.size()) - 22 + EndRecord::kDirectoryOffset, 0xFFFFFFFF);

  struct Case {
    const char* name;
    std::string bytes;
    const char* message;
  };
  const Case cases[] = {
      {"an empty file", "", kNoHeader},
      {"an end record alone", EndBytes({}, 0, 0, 0), kNoHeader},
      {"a prefix before the first member", "#!" + good, kNoHeader},
      {"less than an end record", LocalRecord(kA).substr(0, 20), kNoDirectory},
      {"no end record", LocalRecord(kA), kNoDirectory},
      {"an end record one byte out of reach", MakeZip({kA}, {.tail = std::string(65561, 'x')}), kNoDirectory},
      {"another disk", MakeZip({kA}, {.disk = 1}), kMultiPart},
      {"a directory on another disk", MakeZip({kA}, {.directory_disk = 1}), kMultiPart},
      {"two counts that differ", MakeZip({kA}, {.entries_on_disk = 1, .entries_total = 2}), kMultiPart},
      {"the other disk comes before the size", MakeZip({kA}, {.disk = 1, .directory_size = 1}), kMultiPart},
      {"a size below that of its records", MakeZip({kA}, {.directory_size = 45}), kTooSmall},
      {"a negative size", MakeZip({kA}, {.directory_size = 0x80000000}), kTooSmall},
      {"a size that memory cannot hold", MakeZip({kA}, {.directory_size = 0x20000000}), kNoMemory},
      {"no signature on the second record", MakeZip({kA, unsigned_record}), kBadRecord},
      {"a directory beyond the file", shifted, kBadRecord},
      {"a size that reaches into the end record", MakeZip({kA}, {.directory_size = 48}), kBadRecord},
      {"the largest size that can be had", MakeZip({kA}, {.directory_size = 0x1FFFFFFF}), kBadRecord},
      {"a newer format", MakeZip({newer}), kNewer},
      {"a signature in the comment hides the real one",
       MakeZip({kA}, {.comment = "PK\5\6" + std::string(30, 'x')}), kMultiPart},
  };
  for (const Case& c : cases) {
    const OpenedZip zip(c.bytes, false);
    EXPECT_FALSE(zip.opened) << c.name;
    EXPECT_EQ(zip.Message(), c.message) << c.name;
    EXPECT_FALSE(zip.archive->IsOpen()) << c.name;
    EXPECT_THROW(zip.archive->EntryCount(), RuntimeException) << c.name;
  }
}

TEST(Opening, FindsTheEndRecordInReach) {
  const std::pair<const char*, ZipEnd> cases[] = {
      {"behind the longest comment", {.comment = std::string(65535, 'c')}},
      {"as far from the end as the search goes", {.tail = std::string(65560, 'x')}},
      {"with a comment that claims more than there is", {.tail = "x"}},
  };
  for (const auto& [name, end] : cases) {
    const OpenedZip zip(MakeZip({kA}, end), false);
    EXPECT_TRUE(zip.opened) << name << ": " << zip.Message();
    EXPECT_EQ(zip.archive->Comment().view(), end.comment) << name;
  }
}

TEST(Opening, TellsTheCommentOfARefusedArchive) {
  const OpenedZip zip(MakeZip({kA}, {.comment = "part 2", .disk = 1}), false);
  EXPECT_FALSE(zip.opened);
  EXPECT_EQ(zip.archive->Comment().view(), "part 2");
}

TEST(Opening, CountsRecordsByTheSizeOfTheDirectory) {
  struct Case {
    const char* name;
    std::string bytes;
    int entries;
    bool writable;
  };
  const Case cases[] = {
      {"none", LocalRecord(kA) + EndBytes({}, 0, 0, 34), 0, true},
      {"as announced", MakeZip({kA, kB}), 2, true},
      {"more than announced: not to be changed", MakeZip({kA, kB}, {.entries_on_disk = 1}), 2, false},
      {"fewer than announced", MakeZip({{std::string(60, 'n')}}, {.entries_on_disk = 2}), 1, true},
      {"a last record that overruns the size", MakeZip({kA, kB}, {.directory_size = 93}), 2, true},
  };
  for (const Case& c : cases) {
    const OpenedZip zip(c.bytes, true);
    ASSERT_TRUE(zip.opened) << c.name << ": " << zip.Message();
    EXPECT_EQ(zip.archive->EntryCount(), c.entries) << c.name;
    EXPECT_EQ(zip.archive->IsWritable(), c.writable) << c.name;
    EXPECT_EQ(zip.archive->d->dirty, c.writable) << c.name;
    EXPECT_EQ(zip.archive->SetComment("c"), c.writable) << c.name;
    EXPECT_EQ(zip.Message(), c.writable ? "" : "Archive was opened read-only") << c.name;
  }
}

TEST(Opening, CarriesEmptyNamesAndCommentsOver) {
  const OpenedZip zip({{"a", "1"}, {.name = "", .comment = "note"}, {.name = "b"}});
  EXPECT_EQ(zip.Names(), (Strings{"a", "a", "b"}));
  EXPECT_EQ(zip.archive->Entry(1)->Comment().view(), "");
  EXPECT_EQ(zip.archive->Entry(2)->Comment().view(), "note");
  EXPECT_EQ(zip.archive->Entry(3)->Comment().view(), "note");
}

TEST(Opening, CostsNoMoreForALongNameCarriedOver) {
  std::vector<ZipMember> members(65535);
  members[0].name = std::string(65535, '/');
  const OpenedZip zip(members);
  ASSERT_EQ(zip.archive->EntryCount(), 65535);
  EXPECT_EQ(zip.archive->Entry(65535)->path.size(), 65535U);
}

TEST(Opening, KeepsTheFileAsTheCallerWantsIt) {
  const ScratchFolder folder;
  const Ref<ZipArchive> archive = New<ZipArchive>();
  EXPECT_FALSE(archive->Open(nil, false));
  EXPECT_EQ(archive->ErrorMessage().view(), "No file specified");
  EXPECT_FALSE(archive->Open(folder.Item("missing.zip"), false));
  EXPECT_EQ(archive->ErrorMessage().view(), "Opening the archive file failed");
  EXPECT_FALSE(folder.Has("missing.zip"));
  EXPECT_FALSE(archive->Open(folder.Item("missing/a.zip"), true));
  EXPECT_EQ(archive->ErrorMessage().view(), "Creating the archive file failed");

  EXPECT_TRUE(archive->Open(folder.Item("new.zip"), true));
  EXPECT_EQ(archive->ErrorMessage().view(), "");
  EXPECT_EQ(archive->EntryCount(), 0);
  EXPECT_TRUE(archive->IsWritable());
  EXPECT_TRUE(folder.Has("new.zip"));
}

TEST(Opening, RefusesASecondOpenAndLeavesTheFirst) {
  const OpenedZip zip({kA, kB});
  EXPECT_FALSE(zip.archive->Open(zip.folder.Item("a.zip"), false));
  EXPECT_EQ(zip.Message(), "Unexpected error (exception)");
  EXPECT_EQ(zip.archive->Entry(2)->Name().view(), "b");
  EXPECT_THROW(zip.archive->Entry(0), OutOfBoundsException);
  EXPECT_THROW(zip.archive->Entry(3), OutOfBoundsException);
}

TEST(Closing, LetsTheArchiveBeOpenedAgain) {
  const OpenedZip zip({kA, kB});
  const Ref<ZipEntry> kept = zip.First();
  EXPECT_TRUE(zip.archive->Close());
  EXPECT_FALSE(zip.archive->IsOpen());
  EXPECT_EQ(kept->RawPath().view(), "a");
  EXPECT_EQ(kept->ExtraField(), nil);
  EXPECT_EQ(kept->ErrorMessage().view(), "Archive is closed");
  EXPECT_TRUE(zip.archive->Close());
  EXPECT_TRUE(zip.archive->Open(zip.folder.Item("a.zip"), false));
  EXPECT_EQ(zip.Names(), (Strings{"a", "b"}));
}

TEST(Closing, DeletesANewArchiveThatCannotBeFinished) {
  const ScratchFolder folder;
  for (const bool is_new : {true, false}) {
    if (!is_new) folder.Write("a.zip", MakeZip({kA}));
    const Ref<ZipArchive> archive = New<ZipArchive>();
    ASSERT_TRUE(archive->Open(folder.Item("a.zip"), true));
    // A member whose extra field is not as long as its header says cannot be written.
    const Ref<ZipEntry> bad = New<ZipEntry>(archive->d, nil, "bad", archive->MakeZipExtraField("12345"), "");
    bad->extra->Lock();
    archive->d->entries_1.push_back(bad);
    archive->Desctructor();
    EXPECT_EQ(folder.Has("a.zip"), !is_new);
  }
}

}  // namespace
}  // namespace vantorel
