#include "platform/text/TextFunctions.h"
#include "tests/support/OpenZip.h"

namespace vantorel::testing {
namespace {

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
  const std::string other = ExtraRecordBytes(0x7875, "?");
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
      {"behind another record", other + plain, "TEXT ttxt "},
      {"the last of two", plain + Unnamed("ZPITAPPLaplt"), "APPL aplt "},
      {"behind an empty record it is never seen", ExtraRecordBytes(0x7875, "") + plain, "-"},
      {"behind a record that leaves the block", beyond + plain, "-"},
      {"a record that leaves the block itself", Le16(0x2705) + Le16(13) + "ZPITTEXTttxt", "-"},
      {"in front of such a record", plain + beyond + "x", "TEXT ttxt "},
      {"a name record too short to hold a name", Named("ZPITTEXTttxt"), "-"},
      {"a name that leaves the record", Named("ZPIT\5fileTEXTttxt") + plain.substr(0, 4) + "12345678", "-"},
      {"a name that leaves the block", Named("ZPIT\xFFTEXTttxt"), "-"},
      {"another id", ExtraRecordBytes(0x2706, "ZPITTEXTttxt"), "-"},
      {"another magic", Unnamed("ZPiTTEXTttxt"), "-"},
      {"a longer record", Unnamed("ZPITTEXTttxt+more"), "TEXT ttxt "},
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
      {"with type and creator behind it", UnixExtra(5, 6) + Unnamed("ZPITTEXTttxt")},
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
