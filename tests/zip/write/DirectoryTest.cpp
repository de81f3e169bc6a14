// When the directory is written and when not, and what a read-only archive answers.
#include "tests/support/ZipBytes.h"
#include "tests/zip/write/WriteSupport.h"

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
    EXPECT_EQ(MembersOf(scratch), (Members{{"a", "text"}, {"b", "text"}}));
  }
}

}  // namespace
}  // namespace vantorel::testing
