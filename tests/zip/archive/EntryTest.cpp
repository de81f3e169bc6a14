#include <array>

#include "tests/support/OpenZip.h"

namespace vantorel::testing {
namespace {

TEST(Entry, SettersLeaveTheirNeighboursAlone) {
  const auto archive =
      OpenZip({{.name = "a", .internal_attributes = 0xFFFE, .uncompressed_size = 1U << 31}, {.name = "b"}});
  const Ref<ZipEntry> e = archive->Entry(1);
  EXPECT_EQ(e->Size(), INT32_MIN) << "2 GiB are negative";
  e->SetTextFileFlag(true);
  EXPECT_TRUE(e->IsTextFile());
  e->SetTextFileFlag(false);
  e->SetOSMadeBy(19);
  EXPECT_EQ(e->z_Header()->UShort(CentralHeader::kInternalAttributes), 0xFFFE);
  EXPECT_EQ(e->z_Header()->UShort(CentralHeader::kVersionMadeBy), 19 << 8 | 20);
  e->z_Header()->SetLong(CentralHeader::kUncompressedSize, 12);
  EXPECT_EQ(e->Size(), 12) << "the block itself";
  EXPECT_FALSE(archive->d->dirty);
  e->SetComment("größer");  // not asking whether it may
  EXPECT_EQ(e->Comment().view(), "größer");
  EXPECT_EQ(e->z_origEncodedComment().view(), "größer");
  EXPECT_TRUE(archive->d->dirty);
  e->zlib_prefix->SetByte(0, 0);
  e->extra->modTime = 7;
  EXPECT_EQ(archive->Entry(2)->zlib_prefix->Byte(0), 31);
  EXPECT_EQ(archive->Entry(2)->extra->modTime, 0);
}

TEST(Entry, PassesTimesOnAsTheyStand) {
  const auto fields = [](std::uint32_t time, std::uint32_t date) {
    const Ref<Date> t = OpenZip({{.name = "f", .time = time, .date = date}})->Entry(1)->Time();
    return std::array{t->Year(), t->Month(), t->Day(), t->Hour(), t->Minute(), t->Second()};
  };
  EXPECT_EQ(fields(0x5F7F, 0x5B21), (std::array{2025, 9, 1, 11, 59, 62})) << "a second of 62";
  EXPECT_EQ(fields(1, 0), (std::array{1980, 0, 0, 0, 0, 2})) << "a day and a month of 0";
  EXPECT_EQ(OpenZip({{"none"}})->Entry(1)->Time(), nil);
}

TEST(Entry, KeepsLocalAndCentralExtraApart) {
  const std::string local = ExtraRecordBytes(0x7875, "local");
  const auto archive =
      OpenZip({{.name = std::string(40000, 'n'), .central_extra = "central", .local_extra = local},
               {.name = "bad", .local_magic = 1},
               {.name = "beyond", .local_offset = 0x80000000}});
  archive->d->zipStream->SetPosition(7);
  const Ref<ZipEntry> e = archive->Entry(1);
  EXPECT_EQ(e->ExtraField()->AsData().view(), local);
  EXPECT_TRUE(e->ExtraField()->IsLocked());
  EXPECT_EQ(e->ExtraFieldInCentralDir()->AsData().view(), "central");
  for (const int damaged : {2, 3}) {
    EXPECT_EQ(archive->Entry(damaged)->ExtraField(), nil);
    EXPECT_EQ(archive->Entry(damaged)->ErrorMessage().view(),
              "Invalid Local File Header signature (archive appears to be severely corrupted)");
  }
  EXPECT_EQ(archive->d->zipStream->Position(), 7U);

  e->extra = archive->MakeZipExtraField("block");
  EXPECT_THROW(e->ExtraFieldInCentralDir(), RuntimeException) << "it is not locked";
  e->SetExtraFieldInCentralDir(e->extra);
  EXPECT_EQ(e->ExtraFieldInCentralDir()->AsData().view(), "block");
  EXPECT_EQ(e->z_Header()->UShort(CentralHeader::kExtraLength), 5);
  EXPECT_TRUE(archive->d->dirty);
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
    const auto archive = OpenZip({{.name = "x"}, member});
    EXPECT_EQ(archive->d->isFakeEntry(archive->Entry(2)->z_Header(), -1), fake) << member.name;
  }
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
