#include "tests/support/OpenZip.h"

namespace vantorel::testing {
namespace {

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
  ZipMember unsigned_record = kB;
  unsigned_record.central_magic = 0x02014B51;
  const std::string good = MakeZip({kA});
  const struct {
    const char* name;
    std::string bytes;
    const char* message;
  } cases[] = {
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
      {"a directory beyond the file", MakeZip({kA}, {.directory_offset = 0xFFFFFFFF}), kBadRecord},
      {"a size that reaches into the end record", MakeZip({kA}, {.directory_size = 48}), kBadRecord},
      {"the largest size that can be had", MakeZip({kA}, {.directory_size = 0x1FFFFFFF}), kBadRecord},
      {"a newer format", MakeZip({{.name = "a", .version_needed = 21}}), kNewer},
      {"a signature in the comment hides the real one",
       MakeZip({kA}, {.comment = "PK\5\6" + std::string(30, 'x')}), kMultiPart},
  };
  for (const auto& [name, bytes, message] : cases) {
    const OpenedZip zip(bytes, false);
    EXPECT_FALSE(zip.opened || zip.archive->IsOpen()) << name;
    EXPECT_EQ(zip.Message(), message) << name;
    EXPECT_THROW(zip.archive->EntryCount(), RuntimeException) << name;
  }
}

TEST(Opening, FindsTheEndRecordInReach) {
  EXPECT_TRUE(OpenedZip(MakeZip({kA}, {.tail = std::string(65560, 'x')}), false).opened);
  const std::pair<ZipEnd, bool> cases[] = {{{.comment = std::string(65535, 'c')}, true},
                                           {{.comment = "refused and told all the same", .disk = 1}, false}};
  for (const auto& [end, opened] : cases) {
    const OpenedZip zip(MakeZip({kA}, end), false);
    EXPECT_EQ(zip.opened, opened) << zip.Message();
    EXPECT_EQ(zip.archive->Comment().view(), end.comment);
  }
}

TEST(Opening, CountsRecordsByTheSizeOfTheDirectory) {
  const struct {
    const char* name;
    std::string bytes;
    int entries;
    bool writable = true;
  } cases[] = {
      {"none", LocalRecord(kA) + EndBytes({}, 0, 0, 34), 0},
      {"as announced", MakeZip({kA, kB}), 2},
      {"more than announced: not to be changed", MakeZip({kA, kB}, {.entries_on_disk = 1}), 2, false},
      {"fewer than announced", MakeZip({{std::string(60, 'n')}}, {.entries_on_disk = 2}), 1},
      {"a last record that overruns the size", MakeZip({kA, kB}, {.directory_size = 93}), 2},
  };
  for (const auto& [name, bytes, entries, writable] : cases) {
    const OpenedZip zip(bytes, true);
    ASSERT_TRUE(zip.opened) << name << ": " << zip.Message();
    EXPECT_EQ(zip.archive->EntryCount(), entries) << name;
    EXPECT_EQ(zip.archive->IsWritable(), writable) << name;
    EXPECT_EQ(zip.archive->d->dirty, writable) << name;
    EXPECT_EQ(zip.archive->SetComment("c"), writable) << name;
  }
}

TEST(Opening, CarriesEmptyNamesAndCommentsOver) {
  const OpenedZip zip({{"a", "1"}, {.name = "", .comment = "note"}, {.name = "b"}});
  EXPECT_EQ(zip.Names(), (Strings{"a", "a", "b"}));
  EXPECT_EQ(zip.archive->Entry(1)->Comment().view(), "");
  EXPECT_EQ(zip.archive->Entry(3)->Comment().view(), "note");

  std::vector<ZipMember> members(65535);
  members[0].name = std::string(65535, '/');
  EXPECT_EQ(OpenedZip(members).archive->Entry(65535)->path.size(), 65535U) << "and costs no more for that";
}

TEST(Opening, TellsWhyAFileCannotBeHad) {
  const ScratchFolder folder;
  const Ref<ZipArchive> archive = New<ZipArchive>();
  const std::tuple<Ref<FolderItem>, bool, const char*> cases[] = {
      {nil, false, "No file specified"},
      {folder.Item("missing.zip"), false, "Opening the archive file failed"},
      {folder.Item("missing/a.zip"), true, "Creating the archive file failed"},
      {folder.Item("new.zip"), true, ""},
      {folder.Item("new.zip"), true, "Unexpected error (exception)"},  // it is open, and stays so
  };
  for (const auto& [file, writable, message] : cases) {
    EXPECT_EQ(archive->Open(file, writable), message[0] == '\0') << message;
    EXPECT_EQ(archive->ErrorMessage().view(), message);
  }
  EXPECT_EQ(archive->EntryCount(), 0);
  EXPECT_TRUE(archive->IsWritable());
  EXPECT_EQ(folder.Run("ls"), "new.zip\n");
}

TEST(Closing, LetsTheArchiveBeOpenedAgain) {
  const OpenedZip zip({kA, kB});
  EXPECT_THROW(zip.archive->Entry(0), OutOfBoundsException);
  EXPECT_THROW(zip.archive->Entry(3), OutOfBoundsException);
  const Ref<ZipEntry> kept = zip.First();
  EXPECT_TRUE(zip.archive->Close() && zip.archive->Close());
  EXPECT_FALSE(zip.archive->IsOpen());
  EXPECT_EQ(kept->RawPath().view(), "a");
  EXPECT_EQ(kept->ExtraField(), nil);
  EXPECT_EQ(kept->ErrorMessage().view(), "Archive is closed");
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
}  // namespace vantorel::testing
