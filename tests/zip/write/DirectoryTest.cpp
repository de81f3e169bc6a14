// What the directory says, when it is written and when not, and what a read-only archive answers.
#include "tests/support/OpenZip.h"

namespace vantorel::testing {
namespace {

TEST(Directory, AReadOnlyArchiveRefusesEveryChange) {
  const ScratchFolder scratch;
  const std::string bytes = MakeZip({{.name = "a", .data = "x"}}) + "tail";
  const Ref<FolderItem> item = scratch.Write("a.zip", bytes);
  const auto archive = Open(scratch, false);
  const std::pair<const char*, std::function<bool()>> changes[] = {
      {"Flush", [&] { return archive->Flush(); }},
      {"SetComment", [&] { return archive->SetComment("c"); }},
      {"Compact", [&] { return archive->Compact(); }},
      {"RemoveEntry", [&] { return archive->RemoveEntry(1); }},
      {"ReplaceEntry", [&] { return archive->ReplaceEntry(1, nil) != nil; }},
      {"AddFolderContents", [&] { return archive->AddFolderContents(scratch.Item(), "", 0, false); }},
      {"AddItemByStreams", [&] { return Add(*archive, "n", "x") != 0; }},
      {"AddFakeDuplicate", [&] { return archive->AddFakeDuplicate(archive->Entry(1), "n", nil, nil) != 0; }},
      {"AddItemToRoot", [&] { return archive->AddItemToRoot(item, 0) != 0; }},
  };
  for (const auto& [name, change] : changes) {
    archive->errmsg = "";
    EXPECT_FALSE(change()) << name;
    EXPECT_EQ(Text(archive->errmsg), "Archive was opened read-only") << name;
  }
  EXPECT_EQ(archive->CalcItemSize(item, 0), static_cast<std::int32_t>(bytes.size()));
  EXPECT_TRUE(archive->Close() && archive->Close());
  EXPECT_EQ(scratch.Read("a.zip"), bytes);
}

TEST(Directory, AForgedOffsetOverwritesNothing) {
  for (const std::uint32_t offset : {0x80000000U, 0xFFFFFFFDU, 0xFFFFFFFFU}) {
    const ScratchFolder scratch;
    const std::string member = LocalRecord({.name = "a", .data = Noise(1000)});
    const std::string bytes = member + MakeZip({}, {.directory_offset = offset});
    scratch.Write("a.zip", bytes);
    EXPECT_FALSE(Open(scratch)->Close()) << offset;
    EXPECT_EQ(scratch.Read("a.zip"), bytes) << offset;
  }
}

TEST(Directory, WhatCannotBeWrittenIsToldAndTriedAgain) {
  for (const bool locked : {false, true}) {
    const ScratchFolder scratch;
    const auto archive = Open(scratch);
    Add(*archive, "a", "text");
    const auto extra = archive->MakeZipExtraField("TEXT", "ttxt", "");
    if (locked) extra->Lock();
    EXPECT_EQ(archive->AddFakeDuplicate(archive->Entry(1), "b", New<Date>(), extra), 2);
    EXPECT_TRUE(archive->Flush()) << "a first failure answers true";
    EXPECT_EQ(Text(archive->errmsg), locked ? "Internal error (extra field length mismatch)"
                                            : "Internal error (Exception in z_writeDirectory)");
    archive->Entry(2)->SetExtraFieldInCentralDir(extra);
    EXPECT_TRUE(archive->Close());
    EXPECT_EQ(MembersOf(*Open(scratch, false)), (Members{{"a", "text"}, {"b", "text"}}));
  }
}

TEST(Directory, StandsInTheFileByteForByte) {
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
