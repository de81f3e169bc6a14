// The records as they stand in the file, byte for byte.
#include "tests/support/OpenZip.h"
#include "tests/zip/write/WriteSupport.h"

namespace vantorel::testing {
namespace {

TEST(Records, ByteForByte) {
  const auto add = [](ZipArchive& a, const char* name, double seconds, const Ref<ZipExtraField>& extra) {
    const Ref<Date> date = seconds > 0 ? New<Date>() : nil;
    if (date) date->SetTotalSeconds(seconds);
    EXPECT_GE(a.AddItemByStreams(nil, 0, nil, 0, nil, name, extra, date), 1);
  };
  const ZipMember plain{.name = "/", .os_made_by = 0, .external_attributes = 1};
  const std::string zpit = ExtraRecordBytes(0x2705, "ZPITTEXTttxt");
  const ZipMember full{.name = "größe/日.txt",
                       .central_extra = zpit,
                       .local_extra = zpit,
                       .comment = "Übung",
                       .os_made_by = 7,
                       .time = 29 + 32 * 59 + 2048 * 23,
                       .date = 31 + 32 * 12 + 512 * 44,
                       .external_attributes = 1};
  const ZipMember old{.name = "d/", .os_made_by = 0, .date = 4 + 32 * 3, .external_attributes = 1};
  const ZipMember latin{.name = "\xFC", .os_made_by = 0};
  ZipMember deflated = DeflatedMember("a", Noise(70000));
  deflated.os_made_by = 0;
  deflated.external_attributes = 1;
  const std::tuple<const char*, std::function<void(ZipArchive&)>, ZipMember, std::string> cases[] = {
      {"an archive closed empty holds the member /", [](ZipArchive&) {}, plain, ""},
      {"everything that a member can carry",
       [&](ZipArchive& a) {
         a.SetDefaultOSMadeBy(7);
         add(a, "/größe/日.txt", 3818534399.0,
             a.MakeZipExtraField("TEXT", "ttxt", ""));  // 2024-12-31 23:59:59
         a.Entry(1)->SetComment("Übung");
         a.SetComment("end");
       },
       full, "end"},
      {"the year 1975 is clamped, month and day stay",
       [&](ZipArchive& a) { add(a, "d/", 2245968001.0, nil); }, old, ""},
      {"no mark for a name in another encoding",
       [&](ZipArchive& a) { a.d->setArchiveEncoding(a.EncodedAsWinLatin1()), add(a, "ü", 0, nil); }, latin,
       ""},
      {"a deflated member", [](ZipArchive& a) { Add(a, "a", Noise(70000)); }, deflated, ""},
  };
  for (const auto& [name, fill, member, comment] : cases) {
    const ScratchFolder scratch;
    const auto archive = Open(scratch);
    fill(*archive);
    EXPECT_TRUE(archive->Close());
    const std::string expected = MakeZip({member}, {.comment = comment});
    EXPECT_EQ(scratch.Read("a.zip"), expected) << name;
    scratch.Write("a.zip", expected + "junk");
    EXPECT_TRUE(Open(scratch)->Close());
    EXPECT_EQ(scratch.Read("a.zip"), expected) << "junk is cut off, " << name;
  }
}

}  // namespace
}  // namespace vantorel::testing
