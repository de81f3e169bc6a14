#include "platform/text/TextFunctions.h"
#include "tests/zip/archive/OpenedZip.h"

namespace vantorel {
namespace {

using namespace testing;

const Ref<ZipArchive>& Archive() {
  static const Ref<ZipArchive> archive = New<ZipArchive>();
  return archive;
}

Ref<ZipExtraField> Field(const std::string& block) {
  return Archive()->MakeZipExtraField(String::Bytes(block));
}

// "type creator name" of a block, or "-".
std::string Zpit(const std::string& block) {
  String type("untouched");
  String creator("untouched");
  String name("untouched");
  const bool found = Field(block)->GetTypeCreatorName(type, creator, name);
  EXPECT_EQ(found, !SameText(name, "untouched"));
  if (!found) return "-";
  return std::string(type.view()) + " " + std::string(creator.view()) + " " + std::string(name.view());
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
  struct Case {
    const char* name;
    std::string block;
    std::string found;
  };
  const Case cases[] = {
      {"nothing", "", "-"},
      {"without a name", plain, "TEXT ttxt "},
      {"with a name", Named("ZPIT\4fileTEXTttxt"), "TEXT ttxt file"},
      {"with an empty name", Named(std::string("ZPIT\0TEXTttxt", 13)), "TEXT ttxt "},
      {"behind another record", other + plain, "TEXT ttxt "},
      {"in front of another record", plain + other, "TEXT ttxt "},
      {"the last of two", plain + Unnamed("ZPITAPPLaplt"), "APPL aplt "},
      {"behind an empty record it is never seen", ExtraRecordBytes(0x7875, "") + plain, "-"},
      {"behind a record that leaves the block", Le16(0x7875) + Le16(99) + plain, "-"},
      {"a record that leaves the block itself", Le16(0x2705) + Le16(13) + "ZPITTEXTttxt", "-"},
      {"in front of such a record", plain + Le16(0x7875) + Le16(99) + "x", "TEXT ttxt "},
      {"a name record too short to hold a name", Named("ZPITTEXTttxt"), "-"},
      {"a name that leaves the record", Named("ZPIT\5fileTEXTttxt") + plain.substr(0, 4) + "12345678", "-"},
      {"a name that leaves the block", Named("ZPIT\xFFTEXTttxt"), "-"},
      {"another id", ExtraRecordBytes(0x2706, "ZPITTEXTttxt"), "-"},
      {"another magic", Unnamed("ZPiTTEXTttxt"), "-"},
      {"a longer record", Unnamed("ZPITTEXTttxt+more"), "TEXT ttxt "},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Zpit(c.block), c.found) << c.name;
    EXPECT_EQ(Field(c.block)->AsData().view(), c.block) << c.name;
  }
}

TEST(ExtraField, TakesTimesFromAUnixRecordThatStandsAlone) {
  struct Case {
    const char* name;
    std::string block;
    bool unix_only;
    bool times;
  };
  const Case cases[] = {
      {"alone", UnixExtra(5, 6), true, true},
      {"no access time", UnixExtra(0, 6), true, false},
      {"with a record behind it", UnixExtra(5, 6) + ExtraRecordBytes(0x7875, "?"), false, false},
      {"the longer local form", ExtraRecordBytes(0x5855, std::string(12, 'x')), false, false},
      {"a ZPIT record of the same size", ExtraRecordBytes(0x2705, "ZPITTEXT"), false, false},
  };
  for (const Case& c : cases) {
    std::int32_t access = -7;
    std::int32_t modification = -7;
    EXPECT_EQ(Field(c.block)->IsUnixType1Only(), c.unix_only) << c.name;
    EXPECT_EQ(Field(c.block)->GetUnixTimes(access, modification), c.times) << c.name;
    EXPECT_EQ(access, c.times ? 5 : -7) << c.name;
    EXPECT_EQ(modification, c.times ? 6 : -7) << c.name;
  }
}

TEST(ExtraField, IsBuiltByteForByte) {
  const auto built = [](const char* name) {
    return std::string(Archive()->MakeZipExtraField("TEXT", "ttxt", name)->AsData().view());
  };
  EXPECT_EQ(built(""), std::string("\x05\x27\x0C\0ZPITTEXTttxt", 16));
  EXPECT_EQ(built("file"), std::string("\x05\x26\x11\0ZPIT\4fileTEXTttxt", 21));
  EXPECT_EQ(Zpit(built("größe")), "TEXT ttxt größe");
  EXPECT_EQ(Zpit(built(std::string(300, 'n').c_str())), "TEXT ttxt " + std::string(255, 'n'));
  EXPECT_FALSE(Archive()->MakeZipExtraField("TEXT", "ttxt", "")->IsLocked());
}

TEST(ExtraField, TakesWhatTheFileKnows) {
  const ScratchFolder folder;
  const Ref<FolderItem> file = folder.Write("f", "x");
  file->SetMacType("TEXT");
  file->SetMacCreator("ttxt");
  EXPECT_EQ(Zpit(std::string(Archive()->MakeZipExtraField(file)->AsData().view())), "TEXT ttxt f");
  EXPECT_EQ(Archive()->MakeZipExtraField(file, "")->AsData().size(), 16U);
  EXPECT_EQ(Archive()->MakeZipExtraField(folder.Item(), ""), nil);
  EXPECT_NE(Archive()->MakeZipExtraField(folder.Item(), "name").get(), nullptr);
}

}  // namespace
}  // namespace vantorel
