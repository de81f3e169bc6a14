#include <array>

#include "platform/text/TextFunctions.h"
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

// What a block tells: type, creator and name, or access and modification time.
std::string Told(const Ref<ZipExtraField>& field) {
  String type, creator, name;
  if (field->GetTypeCreatorName(type, creator, name)) return Text(type + " " + creator + " " + name);
  std::int32_t access = 0, modification = 0;
  if (field->GetUnixTimes(access, modification)) return Text(Str(access) + " " + Str(modification));
  return field->IsUnixType1Only() ? "no times" : "-";
}

std::string Named(const std::string& data) {
  return ExtraRecordBytes(0x2605, data);
}
std::string Unnamed(const std::string& data) {
  return ExtraRecordBytes(0x2705, data);
}

TEST(ExtraField, TellsTypeCreatorAndNameOrTimes) {
  const std::string plain = Unnamed("ZPITTEXTttxt");
  const std::string beyond = Le16(0x7875) + Le16(99);
  const struct {
    const char* name;
    std::string block;
    const char* told;
  } cases[] = {
      {"nothing", "", "-"},
      {"without a name", plain, "TEXT ttxt "},
      {"with a name", Named("ZPIT\4fileTEXTttxt"), "TEXT ttxt file"},
      {"with an empty name", Named(std::string("ZPIT\0TEXTttxt", 13)), "TEXT ttxt "},
      {"the last of two", plain + Unnamed("ZPITAPPLaplt"), "APPL aplt "},
      {"behind an empty record it is never seen", ExtraRecordBytes(0x7875, "") + plain, "-"},
      {"behind a record that leaves the block", beyond + plain, "-"},
      {"a record that leaves the block itself", Le16(0x2705) + Le16(13) + "ZPITTEXTttxt", "-"},
      {"in front of such a record", plain + beyond + "x", "TEXT ttxt "},
      {"a name record too short to hold a name", Named("ZPITTEXTttxt"), "-"},
      {"a name that leaves the record", Named("ZPIT\5fileTEXTttxt") + plain.substr(0, 4) + "12345678", "-"},
      {"a name that leaves the block", Named("ZPIT\xFFTEXTttxt"), "-"},
      {"another magic", Unnamed("ZPiTTEXTttxt"), "-"},
      {"a Unix record", UnixExtra(5, 6), "5 6"},
      {"without access time", UnixExtra(0, 6), "no times"},
      {"cut", UnixExtra(5, 6).substr(0, 11), "-"},
      {"its longer local form", ExtraRecordBytes(0x5855, std::string(12, 'x')), "-"},
      {"a ZPIT record of the same size", Unnamed("ZPITTEXT"), "-"},
  };
  for (const auto& [name, block, told] : cases) {
    EXPECT_EQ(Told(New<ZipArchive>()->MakeZipExtraField(String::Bytes(block))), told) << name;
  }
}

TEST(ExtraField, IsBuiltOfTextsOrOfWhatTheFileKnows) {
  const auto made = [](const char* name) {
    return New<ZipArchive>()->MakeZipExtraField("TEXT", "ttxt", name);
  };
  EXPECT_EQ(made("file")->AsData().view(), std::string("\x05\x26\x11\0ZPIT\4fileTEXTttxt", 21));
  EXPECT_EQ(Told(made("größe")), "TEXT ttxt größe");
  EXPECT_EQ(Told(made(std::string(300, 'n').c_str())), "TEXT ttxt " + std::string(255, 'n'));
  EXPECT_FALSE(made("")->IsLocked());

  const ScratchFolder folder;
  EXPECT_EQ(New<ZipArchive>()->MakeZipExtraField(folder.Item(), ""), nil);
  EXPECT_NE(New<ZipArchive>()->MakeZipExtraField(folder.Item(), "name").get(), nullptr);
}

}  // namespace
}  // namespace vantorel::testing
