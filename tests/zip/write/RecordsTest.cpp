// The records as they stand in the file, byte for byte.
#include "tests/support/OpenZip.h"
#include "tests/zip/write/WriteSupport.h"

namespace vantorel::testing {
namespace {

TEST(Records, ByteForByte) {
  struct Case {
    const char* name;
    std::function<void(ZipArchive&)> fill;
    std::vector<ZipMember> members;
    std::string comment;
  };
  const auto add = [](ZipArchive& a, const char* name, double seconds, const Ref<ZipExtraField>& extra) {
    const Ref<Date> date = seconds > 0 ? New<Date>() : nil;
    if (date) date->SetTotalSeconds(seconds);
    EXPECT_GE(a.AddItemByStreams(nil, 0, nil, 0, nil, name, extra, date), 1);
  };
  const auto member = [](const char* name) {
    return ZipMember{.name = name, .os_made_by = 0, .external_attributes = 1};
  };
  ZipMember full = member("größe/日.txt");
  full.os_made_by = 7;
  full.comment = "Übung";
  full.central_extra = full.local_extra = ExtraRecordBytes(0x2705, "ZPITTEXTttxt");
  full.time = 29 + 32 * 59 + 2048 * 23;
  full.date = 31 + 32 * 12 + 512 * 44;
  ZipMember old = member("d/");
  old.date = 4 + 32 * 3;
  ZipMember latin = member("\xFC");
  latin.external_attributes = 0;
  ZipMember deflated = DeflatedMember("a", Noise(70000));
  deflated.os_made_by = 0;
  deflated.external_attributes = 1;
  const Case cases[] = {
      {"an archive closed empty holds the member /", [](ZipArchive&) {}, {member("/")}, ""},
      {"everything that a member can carry",
       [&](ZipArchive& a) {
         a.SetDefaultOSMadeBy(7);
         add(a, "/größe/日.txt", 3818534399.0,
             a.MakeZipExtraField("TEXT", "ttxt", ""));  // 2024-12-31 23:59:59
         a.Entry(1)->SetComment("Übung");
         a.SetComment("end");
       },
       {full},
       "end"},
      {"the year 1975 is clamped, month and day stay",
       [&](ZipArchive& a) { add(a, "d/", 2245968001.0, nil); },
       {old},
       ""},
      {"no mark for a name in another encoding",
       [&](ZipArchive& a) { a.d->setArchiveEncoding(a.EncodedAsWinLatin1()), add(a, "ü", 0, nil); },
       {latin},
       ""},
      {"a deflated member", [](ZipArchive& a) { Add(a, "a", Noise(70000)); }, {deflated}, ""},
  };
  for (const Case& c : cases) {
    const ScratchFolder scratch;
    const auto archive = Open(scratch);
    c.fill(*archive);
    EXPECT_TRUE(archive->Close());
    const std::string expected = MakeZip(c.members, {.comment = c.comment});
    EXPECT_EQ(scratch.Read("a.zip"), expected) << c.name;
    scratch.Write("a.zip", expected + "junk");
    EXPECT_TRUE(Open(scratch)->Close());
    EXPECT_EQ(scratch.Read("a.zip"), expected) << "junk is cut off, " << c.name;
  }
}

}  // namespace
}  // namespace vantorel::testing
