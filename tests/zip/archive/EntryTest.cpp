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

TEST(Entry, KnowsFakeDuplicates) {
  const std::pair<bool, ZipMember> cases[] = {
      {true, {.name = "bit 3 in the central header alone", .flags = 8, .local_flags = 0}},
      {true, {.name = "bit 3 and other flags", .flags = 0x080E, .local_flags = 0x0806}},
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

const Ref<ZipArchive>& Archive() {
  static const Ref<ZipArchive> archive = New<ZipArchive>();
  return archive;
}

// "type creator name" of a block, or "-".
std::string Zpit(const Ref<ZipExtraField>& field) {
  String type("untouched"), creator("untouched"), name("untouched");
  const bool found = field->GetTypeCreatorName(type, creator, name);
  EXPECT_EQ(found, !SameText(name, "untouched"));
  return found ? std::string((type + " " + creator + " " + name).view()) : "-";
}

std::string Named(const std::string& data) {
  return ExtraRecordBytes(0x2605, data);
}
std::string Unnamed(const std::string& data) {
  return ExtraRecordBytes(0x2705, data);
}

TEST(ExtraField, FindsTypeCreatorAndName) {
  const std::string plain = Unnamed("ZPITTEXTttxt");
  const std::string beyond = Le16(0x7875) + Le16(99);
  const struct {
    const char* name;
    std::string block;
    const char* found;
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
  };
  for (const auto& [name, block, found] : cases) {
    EXPECT_EQ(Zpit(Archive()->MakeZipExtraField(String::Bytes(block))), found) << name;
  }
}

TEST(ExtraField, TakesTimesFromAUnixRecordThatStandsAlone) {
  const struct {
    const char* name;
    std::string block;
    bool is_record = false;
    bool has_times = false;
  } cases[] = {
      {"alone", UnixExtra(5, 6), true, true},
      {"no access time", UnixExtra(0, 6), true},
      {"with a record behind it", UnixExtra(5, 6) + ExtraRecordBytes(0x7875, "?")},
      {"cut", UnixExtra(5, 6).substr(0, 11)},
      {"the longer local form", ExtraRecordBytes(0x5855, std::string(12, 'x'))},
      {"a ZPIT record of the same size", Unnamed("ZPITTEXT")},
  };
  for (const auto& [name, block, is_record, has_times] : cases) {
    std::int32_t access = -7, modification = -7;
    const Ref<ZipExtraField> field = Archive()->MakeZipExtraField(String::Bytes(block));
    EXPECT_EQ(field->IsUnixType1Only(), is_record) << name;
    EXPECT_EQ(field->GetUnixTimes(access, modification), has_times) << name;
    EXPECT_EQ(access * 10 + modification, has_times ? 56 : -77) << name;
  }
}

TEST(ExtraField, IsBuiltOfTextsOrOfWhatTheFileKnows) {
  const auto made = [](const char* name) { return Archive()->MakeZipExtraField("TEXT", "ttxt", name); };
  EXPECT_EQ(made("file")->AsData().view(), std::string("\x05\x26\x11\0ZPIT\4fileTEXTttxt", 21));
  EXPECT_EQ(Zpit(made("größe")), "TEXT ttxt größe");
  EXPECT_EQ(Zpit(made(std::string(300, 'n').c_str())), "TEXT ttxt " + std::string(255, 'n'));
  EXPECT_FALSE(made("")->IsLocked());

  const ScratchFolder folder;
  const Ref<FolderItem> file = folder.Write("f", "x");
  file->SetMacType("TEXT");
  file->SetMacCreator("ttxt");
  EXPECT_EQ(Zpit(Archive()->MakeZipExtraField(file)), "TEXT ttxt f");
  EXPECT_EQ(Archive()->MakeZipExtraField(file, "")->AsData().view(), Unnamed("ZPITTEXTttxt"));
  EXPECT_EQ(Archive()->MakeZipExtraField(folder.Item(), ""), nil);
  EXPECT_NE(Archive()->MakeZipExtraField(folder.Item(), "name").get(), nullptr);
}

}  // namespace
}  // namespace vantorel::testing
