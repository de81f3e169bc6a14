// Removal, rollback, duplicates and compaction.
#include <random>

#include "fuzz/EditSequence.h"
#include "tests/support/OpenZip.h"
#include "tests/support/ResourceLimit.h"

namespace vantorel::testing {
namespace {

const Members& FiveMembers() {
  static const Members members = {
      {"a", Noise(40000, 1)}, {"b", ""}, {"c", Noise(16384, 2)}, {"d", "d"}, {"e", Noise(70000, 3)}};
  return members;
}

std::string ArchiveOf(const Members& members) {
  const OwnZip zip;
  for (const auto& [name, bytes] : members) Add(*zip.archive, name, bytes);
  EXPECT_TRUE(zip->Close());
  return zip.Read("a.zip");
}

TEST(Compact, GivesTheArchiveThatWouldHaveBeenMadeAtOnce) {
  const std::string whole = ArchiveOf(FiveMembers());
  for (const char* left : {"abcde", "bcde", "abde", "abcd", "bd", "ace", "e", ""}) {
    const OwnZip zip(whole);
    Members members;
    for (std::int32_t i = 5; i >= 1; --i) {
      const auto& member = FiveMembers()[static_cast<std::size_t>(i) - 1];
      if (std::string_view(left).find(member.first) != std::string_view::npos) {
        members.insert(members.begin(), member);
      } else {
        EXPECT_TRUE(zip->RemoveEntry(i));
      }
    }
    EXPECT_TRUE(zip->Compact() && zip->Close());
    EXPECT_EQ(zip.Read("a.zip"), ArchiveOf(members)) << left;
  }
}

TEST(Compact, WritesNothingWhereThereAreNoHoles) {
  const OwnZip zip(ArchiveOf(FiveMembers()));
  const ResourceLimit full(RLIMIT_FSIZE, 0);
  EXPECT_TRUE(zip->Compact() && zip->d->zipStream->Flush());
}

// What a fault costs is the space, and no member.
TEST(Compact, StopsAtADamagedMember) {
  constexpr const char* kSignature =
      "Invalid Local File Header signature (archive appears to be severely corrupted)";
  constexpr const char* kMismatch = "File Headers mismatch (archive appears to be severely corrupted)";
  const struct {
    const char* name;
    std::int32_t field;   // of the third member's local header
    const char* bytes;    // written there
    const char* message;  // empty: no fault
  } cases[] = {
      {"signature", LocalHeader::kSignature, "X", kSignature},
      {"method", LocalHeader::kMethod, "\x08", kMismatch},
      {"CRC", LocalHeader::kCrc, "X", kMismatch},
      {"compressed size", LocalHeader::kCompressedSize, "X", kMismatch},
      {"uncompressed size", LocalHeader::kUncompressedSize, "X", kMismatch},
      {"flags", LocalHeader::kFlags, "\x02", kMismatch},
      {"time is not compared", LocalHeader::kTime, "X", ""},
  };
  for (const auto& [name, field, change, message] : cases) {
    std::vector<ZipMember> members;
    for (const unsigned seed : {1U, 2U, 3U, 4U}) members.push_back({.name = "n", .data = Noise(100, seed)});
    std::string bytes = MakeZip(members);
    Put(bytes, 2 * (31 + 100) + field, change);
    const OwnZip zip(bytes);
    const std::int32_t end = zip->startOfDirInArchive;
    zip->RemoveEntry(1);
    const bool sound = message[0] == '\0';
    EXPECT_EQ(zip->Compact(), sound) << name;
    EXPECT_EQ(Text(zip->errmsg), message) << name;
    EXPECT_EQ(zip->startOfDirInArchive, sound ? end - 131 : end) << name;
    EXPECT_TRUE(zip->Close());
    zip->Open(zip.Item("a.zip"), true);
    EXPECT_EQ(zip->Entry(1)->z_Header()->Long(CentralHeader::kLocalHeaderOffset), 0) << name;
    zip->RemoveEntry(2);
    EXPECT_EQ(MembersOf(*zip.archive), (Members{{"n", Noise(100, 2)}, {"n", Noise(100, 4)}})) << name;
  }
}

TEST(Compact, LeavesOverlappingMembersAlone) {
  const std::string inner = LocalRecord({.name = "b", .data = "inner"});
  const OwnZip zip(
      MakeZip({{.name = "a", .data = inner}, {.name = "b", .data = "inner", .local_offset = 31}}));
  EXPECT_FALSE(zip->Compact());
  EXPECT_EQ(MembersOf(*zip.archive), (Members{{"a", inner}, {"b", "inner"}}));
  zip->ReplaceEntry(1, nil);
  EXPECT_FALSE(zip->Compact());
  EXPECT_EQ(Text(zip->errmsg), "Compact() encountered an unexpected error") << "an entry that is none";
}

TEST(Compact, GivesAMemberWithADescriptorAValidHeaderAndWrongBytes) {
  const ScratchFolder scratch;
  scratch.Write("a.zip", MakeZip({{.name = "a", .data = "x"}, {.name = "b", .data = "y", .flags = 8}}));
  EXPECT_TRUE(Open(scratch)->Compact());
  EXPECT_EQ(scratch.Read("a.zip").substr(32, 32),
            LocalRecord({.name = "b", .data = "y"}).substr(0, 30) + std::string("\0a", 2));
}

TEST(Compact, SortsAnyOrderInGoodTime) {
  struct CountingArchive : ZipArchive {
    std::int32_t z_Compare(std::int32_t a, std::int32_t b) override {
      return ++count, ZipArchive::z_Compare(a, b);
    }
    std::int32_t count = 0;
  };
  constexpr std::int32_t kCount = 20000;
  const std::function<std::int32_t(std::int32_t)> orders[] = {
      [](std::int32_t i) { return i; }, [](std::int32_t i) { return -i; }, [](std::int32_t) { return 7; },
      [](std::int32_t i) { return std::min(i, kCount - i); }, [](std::int32_t i) { return i * 7919 % 1000; }};
  for (const auto& offset : orders) {
    const auto archive = New<CountingArchive>();
    archive->compactEntries.resize(kCount);
    for (std::int32_t i = 0; i < kCount; ++i) archive->compactOffset.push_back(offset(i));
    archive->z_ArrayQuickSort(0, kCount - 1);
    EXPECT_TRUE(std::is_sorted(archive->compactOffset.begin(), archive->compactOffset.end()));
    EXPECT_LT(archive->count, kCount * 100);
  }
}

// Sequences of edits, with rollbacks, duplicates, aborts and closing, against a plain model of the archive.
TEST(Editing, KeepsToTheModel) {
  std::mt19937 random(1);
  for (int sequence = 0; sequence < 100; ++sequence) {
    std::vector<std::uint8_t> steps(100);
    for (std::uint8_t& byte : steps) byte = static_cast<std::uint8_t>(random());
    fuzzing::Choices choices(steps.data(), steps.size());
    const ScratchFolder scratch;
    fuzzing::Editing(scratch.Path("a.zip"), choices).Run();
  }
}

TEST(FakeDuplicates, AreRecordsOfTheirOwn) {
  const OwnZip zip;
  Add(*zip.archive, "a", "text");
  EXPECT_EQ(zip->AddFakeDuplicate(nil, "b", New<Date>(), nil), 0);
  EXPECT_EQ(Text(zip->errmsg), "no entry reference given");
  EXPECT_THROW(zip->AddFakeDuplicate(zip->Entry(1), "b", nil, nil), NilObjectException);
  EXPECT_THROW(zip->RemoveEntry(0), OutOfBoundsException);
  const auto date = New<Date>();
  date->SetTotalSeconds(3818534398.0);
  EXPECT_EQ(zip->AddFakeDuplicate(zip->Entry(1), "/b", date, nil), 2);
  EXPECT_EQ(zip->Entry(2)->Time()->TotalSeconds(), 3818534398.0);
  EXPECT_TRUE(zip->Close());
  const auto again = Open(zip);
  EXPECT_TRUE(again->d->isFakeEntry(again->Entry(2)->z_Header(), -1));
  EXPECT_FALSE(again->d->isFakeEntry(again->Entry(1)->z_Header(), -1));
  EXPECT_EQ(MembersOf(*again), (Members{{"a", "text"}, {"/b", "text"}}));
}

}  // namespace
}  // namespace vantorel::testing
