#include <array>

#include "tests/support/OpenZip.h"

namespace vantorel::testing {
namespace {

TEST(Entry, SettersLeaveTheirNeighboursAlone) {
  const OpenedZip zip({ZipMember{.name = "a", .internal_attributes = 0xFFFE, .uncompressed_size = 1U << 31}});
  const Ref<ZipEntry> e = zip.First();
  EXPECT_EQ(e->Size(), INT32_MIN) << "2 GiB are negative";
  e->SetTextFileFlag(true);
  EXPECT_TRUE(e->IsTextFile());
  e->SetTextFileFlag(false);
  e->SetOSMadeBy(19);
  EXPECT_EQ(e->z_Header()->UShort(CentralHeader::kInternalAttributes), 0xFFFE);
  EXPECT_EQ(e->z_Header()->UShort(CentralHeader::kVersionMadeBy), 19 << 8 | 20);
  EXPECT_FALSE(zip.archive->d->dirty);
  e->SetComment("größer");  // not asking whether it may
  EXPECT_EQ(e->Comment().view(), "größer");
  EXPECT_EQ(e->z_origEncodedComment().view(), "größer");
  EXPECT_TRUE(zip.archive->d->dirty);
  EXPECT_EQ(zip.Message(), "");
}

TEST(Entry, TellsWhatItCanExtract) {
  const std::pair<bool, ZipMember> cases[] = {
      {true, {.name = "stored", .method = 0}},
      {true, {.name = "deflated", .method = 8}},
      {false, {.name = "bzip2", .method = 12}},
      {false, {.name = "encrypted", .method = 8, .flags = 1}},
      {false, {.name = "folder/", .method = 8, .uncompressed_size = 1000}},
  };
  for (const auto& [can, member] : cases)
    EXPECT_EQ(OpenedZip({member}).First()->CanExtract(), can) << member.name;
}

TEST(Entry, PassesTimesOnAsTheyStand) {
  const auto fields = [](std::uint32_t time, std::uint32_t date) {
    const Ref<Date> t = OpenedZip({ZipMember{.name = "f", .time = time, .date = date}}).First()->Time();
    return std::array{t->Year(), t->Month(), t->Day(), t->Hour(), t->Minute(), t->Second()};
  };
  EXPECT_EQ(fields(0x5F7F, 0x5B21), (std::array{2025, 9, 1, 11, 59, 62})) << "a second of 62";
  EXPECT_EQ(fields(1, 0), (std::array{1980, 0, 0, 0, 0, 2})) << "a day and a month of 0";
  EXPECT_EQ(OpenedZip({{"none"}}).First()->Time(), nil);
}

TEST(Entry, KeepsLocalAndCentralExtraApart) {
  const std::string local = ExtraRecordBytes(0x7875, "local");
  const OpenedZip zip(
      {ZipMember{.name = std::string(40000, 'n'), .central_extra = "central", .local_extra = local},
       ZipMember{.name = "bad", .local_magic = 1}, ZipMember{.name = "beyond", .local_offset = 0x80000000}});
  zip.archive->d->zipStream->SetPosition(7);
  EXPECT_EQ(zip.First()->ExtraField()->AsData().view(), local);
  EXPECT_TRUE(zip.First()->ExtraField()->IsLocked());
  EXPECT_EQ(zip.First()->ExtraFieldInCentralDir()->AsData().view(), "central");
  for (const int damaged : {2, 3}) {
    EXPECT_EQ(zip.archive->Entry(damaged)->ExtraField(), nil);
    EXPECT_EQ(zip.archive->Entry(damaged)->ErrorMessage().view(),
              "Invalid Local File Header signature (archive appears to be severely corrupted)");
  }
  EXPECT_EQ(zip.archive->d->zipStream->Position(), 7U);
}

TEST(Entry, HandsOutOnlyALockedExtraField) {
  const OpenedZip zip({{"a"}});
  const Ref<ZipEntry> e = zip.First();
  e->extra = zip.archive->MakeZipExtraField("block");
  EXPECT_THROW(e->ExtraFieldInCentralDir(), RuntimeException);
  e->SetExtraFieldInCentralDir(e->extra);
  EXPECT_EQ(e->ExtraFieldInCentralDir()->AsData().view(), "block");
  EXPECT_EQ(e->z_Header()->UShort(CentralHeader::kExtraLength), 5);
  EXPECT_TRUE(zip.archive->d->dirty);
  e->SetExtraFieldInCentralDir(nil);
  EXPECT_EQ(e->ExtraFieldInCentralDir()->AsData().view(), "");
}

TEST(Entry, KnowsFakeDuplicates) {
  const std::pair<bool, ZipMember> cases[] = {
      {true, {.name = "bit 3 in the central header alone", .flags = 8, .local_flags = 0}},
      {true, {.name = "bit 3 and other flags", .flags = 0x080E, .local_flags = 0x0806}},
      {false, {.name = "other flags equal", .flags = 0x0806, .local_flags = 0x0806}},
      {false, {.name = "a data descriptor", .flags = 8, .local_flags = 8}},
      {false, {.name = "the highest local bit matches nothing", .flags = 0x8008, .local_flags = 0x8000}},
      {false,
       {.name = "bytes 2 and 3 of the file, come to round 2^32",
        .flags = 0x040B,
        .local_offset = 0xFFFFFFFC}},
  };
  for (const auto& [fake, member] : cases) {
    const OpenedZip zip({{.name = "x"}, member});
    EXPECT_EQ(zip.archive->d->isFakeEntry(zip.archive->Entry(2)->z_Header(), -1), fake) << member.name;
  }
}

TEST(Entry, HoldsPartsOfItsOwn) {
  const OpenedZip zip({{.name = "a"}, {.name = "b"}});
  const Ref<ZipEntry> a = zip.First();
  const Ref<ZipEntry> b = zip.archive->Entry(2);
  a->zlib_prefix->SetByte(0, 0);
  a->extra->modTime = 7;
  EXPECT_EQ(b->zlib_prefix->Byte(0), 31);
  EXPECT_EQ(b->extra->modTime, 0);
  a->z_Header()->SetLong(CentralHeader::kUncompressedSize, 12);
  EXPECT_EQ(a->Size(), 12) << "the block itself";
}

TEST(Permissions, AreReadAndChangedThroughAReference) {
  const ScratchFolder folder;
  const Ref<ZipArchive> archive = New<ZipArchive>();
  const Ref<FolderItem> item = folder.Write(std::string(100, 'n'), "x");
  std::int32_t mode = -1;
  EXPECT_FALSE(archive->GetUnixPermissions(nil, mode));
  item->SetUnixMode(0640);
  const Ref<MemoryBlock> reference = archive->d->makeFSRef(item);
  EXPECT_EQ(archive->d->updateUnixPermissions(reference, ~0040, 0101), 0);
  EXPECT_EQ(folder.Run("stat -c %a n*"), "701\n");
  item->Delete();
  EXPECT_LT(archive->d->updateUnixPermissions(reference, -1, 0), 0);
  EXPECT_FALSE(archive->GetUnixPermissions(item, mode));
  EXPECT_EQ(mode, -1);
}

}  // namespace
}  // namespace vantorel::testing
