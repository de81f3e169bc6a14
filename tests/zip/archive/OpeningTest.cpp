#include "tests/support/OpenZip.h"

namespace vantorel::testing {
namespace {

constexpr const char* kNoDirectory = "Central Directory not found; probably a damaged Zip file";
constexpr const char* kMultiPart =
    "This is part of a multi-segment archive, which is not supported by the ZipArchive class";
constexpr const char* kNoMemory = "There is not enough memory available to read the archive directory";
constexpr const char* kNewer =
    "Archive was written in a newer format than what this software supports (it supports up to v2.0 "
    "archives)";
constexpr const char* kBadRecord = "Central Directory is corrupted";

const ZipMember kA{"a", "one"};
const ZipMember kB{"b", "two"};

// The archive with other bytes in its end record, or with a directory of another size.
std::string Ended(const std::string& zip, std::int32_t field, const std::string& bytes) {
  return Changed(zip, static_cast<std::int32_t>(zip.rfind("PK\5\6")) + field, bytes);
}
std::string Sized(const std::string& zip, std::uint32_t size) {
  return Ended(zip, EndRecord::kDirectorySize, Le32(size));
}

const std::string kGood = MakeZip({kA});
const std::string kTwo = MakeZip({kA, kB});
const struct {
  const char* name;
  std::string bytes;
  const char* message;
  int entries = 0;
  bool writable = true;
} kArchives[] = {
    {"a prefix before the first member", "#!" + kGood,
     "File does not appear to by a Zip file ('PK' header missing)"},
    {"less than an end record", LocalRecord(kA).substr(0, 20), kNoDirectory},
    {"an end record one byte out of reach", MakeZip({kA}) + std::string(65561, 'x'), kNoDirectory},
    {"a directory on another disk", Ended(kGood, EndRecord::kDirectoryDisk, Le16(1)), kMultiPart},
    {"two counts that differ", Ended(kGood, EndRecord::kEntriesTotal, Le16(2)), kMultiPart},
    {"another disk, before the size", Ended(Sized(kGood, 1), EndRecord::kDiskNumber, Le16(1)), kMultiPart},
    {"a size below that of its records", Sized(kGood, 45), "Central Directory is corrupted."},
    {"a size that memory cannot hold", Sized(kGood, 0x20000000), kNoMemory},
    {"no signature on the second record", Changed(kTwo, 2 * 34 + 47, "X"), kBadRecord},
    {"a directory beyond the file", Ended(kGood, EndRecord::kDirectoryOffset, Le32(0xFFFFFFFF)), kBadRecord},
    {"the largest size that can be had", Sized(kGood, 0x1FFFFFFF), kBadRecord},
    {"a newer format", MakeZip({{.name = "a", .version_needed = 21}}), kNewer},
    {"a signature in the comment hides the real one", MakeZip({kA}, "PK\5\6" + std::string(30, 'x')),
     kMultiPart},
    {"no records", LocalRecord(kA) + Ended(MakeZip({}), EndRecord::kDirectoryOffset, Le32(34)), ""},
    {"an end record just in reach", kGood + std::string(65560, 'x'), "", 1},
    {"the longest comment", MakeZip({kA}, std::string(65535, 'c')), "", 1},
    {"more records than announced: not to be changed",
     Ended(kTwo, EndRecord::kEntriesOnDisk, Le16(1) + Le16(1)), "", 2, false},
    {"fewer than announced",
     Ended(MakeZip({{std::string(60, 'n')}}), EndRecord::kEntriesOnDisk, Le16(2) + Le16(2)), "", 1},
    {"a last record that overruns the size", Sized(kTwo, 93), "", 2},
};

TEST(Opening, ReadsOrRefuses) {
  const ScratchFolder folder;
  for (const auto& [name, bytes, message, entries, writable] : kArchives) {
    const auto archive = New<ZipArchive>();
    EXPECT_EQ(archive->Open(folder.Write("a.zip", bytes), true), message[0] == '\0') << name;
    EXPECT_EQ(archive->ErrorMessage().view(), message) << name;
    if (message[0] == '\0') {
      EXPECT_EQ(archive->EntryCount(), entries) << name;
      EXPECT_EQ(archive->IsWritable(), writable) << name;
      EXPECT_EQ(archive->d->dirty, writable) << name;
      EXPECT_EQ(archive->SetComment("c"), writable) << name;
    } else {
      EXPECT_FALSE(archive->IsOpen()) << name;
      EXPECT_THROW(archive->EntryCount(), RuntimeException) << name;
    }
  }
}

TEST(Opening, TellsTheCommentOfWhatItRefuses) {
  const ScratchFolder folder;
  const auto archive = New<ZipArchive>();
  const std::string refused = Ended(MakeZip({kA}, "told"), EndRecord::kDiskNumber, Le16(1));
  EXPECT_FALSE(archive->Open(folder.Write("a.zip", refused), false));
  EXPECT_EQ(archive->Comment().view(), "told");
}

TEST(Opening, CarriesEmptyNamesAndCommentsOver) {
  const auto archive = OpenZip({{"a", "1"}, {.name = "", .comment = "note"}, {.name = "b"}});
  EXPECT_EQ(NamesOf(*archive), (Strings{"a", "a", "b"}));
  EXPECT_EQ(archive->Entry(1)->Comment().view(), "");
  EXPECT_EQ(archive->Entry(3)->Comment().view(), "note");

  std::vector<ZipMember> members(65535);
  members[0].name = std::string(65535, '/');
  EXPECT_EQ(OpenZip(members)->Entry(65535)->path.size(), 65535U) << "and costs no more for that";
}

TEST(Opening, TellsWhyAFileCannotBeHad) {
  const ScratchFolder folder;
  const Ref<ZipArchive> archive = New<ZipArchive>();
  const std::tuple<Ref<FolderItem>, bool, const char*> cases[] = {
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
  const ScratchFolder folder;
  folder.Write("a.zip", MakeZip({kA, kB}));
  const auto archive = Open(folder, false);
  EXPECT_THROW(archive->Entry(0), OutOfBoundsException);
  EXPECT_THROW(archive->Entry(3), OutOfBoundsException);
  const Ref<ZipEntry> kept = archive->Entry(1);
  EXPECT_TRUE(archive->Close() && archive->Close());
  EXPECT_FALSE(archive->IsOpen());
  EXPECT_EQ(kept->RawPath().view(), "a");
  EXPECT_EQ(kept->ExtraField(), nil);
  EXPECT_EQ(kept->ErrorMessage().view(), "Archive is closed");
  EXPECT_TRUE(archive->Open(folder.Item("a.zip"), false));
  EXPECT_EQ(NamesOf(*archive), (Strings{"a", "b"}));
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
