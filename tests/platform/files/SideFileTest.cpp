// The classic attributes of an item and the AppleDouble file that holds them.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <map>

#include "platform/base/ByteOrder.h"
#include "platform/files/FolderItem.h"
#include "tests/support/Forks.h"
#include "tests/support/ResourceLimit.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

std::string Big(std::size_t value, int bytes = 4) {
  std::string text;
  while (bytes-- > 0) text += static_cast<char>(value >> (8 * bytes));
  return text;
}

using Entry = std::pair<std::uint32_t, std::string>;

const std::string kHeader = Big(0x00051607) + Big(0x00020000) + std::string(16, '\0');

// An AppleDouble file with these entries, their data in the same order.
std::string AppleDoubleOf(const std::vector<Entry>& entries) {
  std::string table;
  std::string data;
  for (const auto& [id, bytes] : entries) {
    table += Big(id) + Big(26 + 12 * entries.size() + data.size()) + Big(bytes.size());
    data += bytes;
  }
  return kHeader + Big(entries.size(), 2) + table + data;
}

// The other way.
std::map<std::uint32_t, std::string> EntriesOf(const std::string& file) {
  EXPECT_EQ(file.substr(0, 8), kHeader.substr(0, 8));
  std::map<std::uint32_t, std::string> entries;
  const auto number = [&](std::size_t at) { return Load32(&file.at(at), ByteOrder::kBig); };
  for (std::size_t at = 26, end = at + 12U * Load16(&file.at(24), ByteOrder::kBig); at < end; at += 12) {
    EXPECT_LE(number(at + 4) + std::size_t{number(at + 8)}, file.size());
    entries[number(at)] = file.substr(number(at + 4), number(at + 8));
  }
  return entries;
}

TEST(SideFile, HoldsWhatWasSetAndNothingMore) {
  const ScratchFolder scratch;
  const Ref<FolderItem> item = scratch.Write("name", "data");
  const FinderInfo info{{'T', 'E', 'X', 'T'}, {'R', '*', ' ', ' '}, 0x4A0B, -2, 3, 4, 0x81, 0x20};
  EXPECT_EQ(item->SetFinderInfo(info), 0);
  WithFork(item, "fork");
  const std::string finder = std::string("TEXTR*  \x4A\x0B\xFF\xFE\0\3\0\4", 16) + std::string(8, '\0') +
                             "\x81\x20" + std::string(6, '\0');
  EXPECT_EQ(scratch.Read("._name"), AppleDoubleOf({{9, finder}, {2, "fork"}}));
  MacData data;
  {
    const ResourceLimit no_more_files(RLIMIT_NOFILE, 0);
    EXPECT_EQ(item->GetMacData(data), -EMFILE);
    EXPECT_EQ(data.fork_length, 0);
  }
  EXPECT_EQ(item->GetMacData(data), 0) << "a refusal is told for ever";
  EXPECT_EQ(data.finder, info);
  EXPECT_EQ(ForkOf(item), "fork");
}

TEST(SideFile, MayBeReadByNoOneElseThanTheItemAndByItsOwner) {
  const struct {
    std::uint16_t item;
    const char* side_file;
  } cases[] = {{0600, "600\n"}, {0200, "600\n"}, {0000, "600\n"}, {0444, "644\n"}, {0755, "644\n"}};
  for (const auto& [mode, expected] : cases) {
    SCOPED_TRACE(mode);
    const ScratchFolder scratch;
    const Ref<FolderItem> item = scratch.Write("name", "");
    item->SetUnixMode(mode);
    WithFork(item, "secret");
    EXPECT_EQ(scratch.Run("stat -c %a ._name"), expected) << "made after the mode was set";
    scratch.Run("chmod 666 ._name");
    scratch.Item("name")->SetUnixMode(mode);
    EXPECT_EQ(scratch.Run("stat -c %a ._name"), expected) << "made by another, before the mode was set";
  }
  const ScratchFolder scratch;
  const Ref<FolderItem> item = scratch.Write("name", "");
  WithFork(item, "shared");
  scratch.Run("chmod 664 name ._name");
  scratch.Item("name")->SetLocked(true);
  EXPECT_EQ(scratch.Run("stat -c %a ._name"), "644\n") << "others may still write the fork of a locked item";
}

// Takes minutes if the whole table is walked for each entry.
TEST(SideFile, MayHaveAFullTableOfEmptyEntries) {
  const ScratchFolder scratch;
  const Ref<FolderItem> item = scratch.Write("name", "data");
  std::vector<Entry> entries(0xFFFD, {50, ""});
  entries.push_back({9, std::string(32, '\0')});
  entries.push_back({2, ""});
  scratch.Write("._name", AppleDoubleOf(entries));
  item->SetMacType("TEXT");
  EXPECT_EQ(item->MacType().view(), "TEXT");
  item->SetMacType("");
  EXPECT_FALSE(scratch.Has("._name"));
}

TEST(SideFile, IsThereOnlyWhileItHoldsSomething) {
  const ScratchFolder scratch;
  const Ref<FolderItem> item = scratch.Write("name", "data");
  item->SetMacType("");
  WithFork(item, "");
  EXPECT_FALSE(scratch.Has("._name"));
  item->SetMacType("TEXT");
  WithFork(item, "fork");
  item->SetMacType("");
  EXPECT_TRUE(scratch.Has("._name"));
  WithFork(item, "");
  EXPECT_FALSE(scratch.Has("._name"));

  // What no field here stands for is something too: an icon number, say.
  scratch.Write("._name",
                AppleDoubleOf({{9, "TEXT" + std::string(13, '\0') + '\7' + std::string(14, '\0')}}));
  item->SetMacType("");
  EXPECT_TRUE(scratch.Has("._name"));

  std::int32_t error = 0;
  EXPECT_EQ(ResourceFork::Open(scratch.Item("absent"), ResourceFork::Access::kReadWrite, error), nil);
  EXPECT_EQ(error, -ENOENT);
}

TEST(SideFile, GoesWithItsItem) {
  const ScratchFolder scratch;
  const Ref<FolderItem> folder = scratch.Item();
  const Ref<FolderItem> item = scratch.Write("old", "data");
  item->SetMacType("TEXT");
  EXPECT_EQ(folder->TrueItem(2), nil);
  scratch.Write("._taken", "another's");
  item->SetName("taken");
  EXPECT_TRUE(scratch.Has("old") && scratch.Has("._old"));
  item->SetName("new");
  EXPECT_FALSE(scratch.Has("old") || scratch.Has("._old"));
  EXPECT_EQ(item->MacType().view(), "TEXT");
  std::filesystem::remove(scratch.Path("new"));
  EXPECT_EQ(folder->TrueItem(1)->Name().view(), "._new") << "alone it is shown";
  scratch.Write("new", "");
  item->Delete();
  EXPECT_FALSE(scratch.Has("._new"));
}

TEST(SideFile, RenamingTouchesNothingElse) {
  const std::string side_file = AppleDoubleOf({{9, "TEXT" + std::string(28, '\0')}, {2, ""}});
  const struct {
    const char* name;
    const char* before;  // the shell makes this state
    const char* after;
  } cases[] = {
      {"a text that is only named like a side file stays", "echo text > ._old", "._old new"},
      {"another's side file is not adopted", "cp s ._new", "._new old"},
      {"a text in the way of the side file stays", "cp s ._old; echo text > ._new", "._new ._old old"},
      {"a text in the way of none is no hindrance", "echo text > ._new", "._new new"},
  };
  for (const auto& [name, before, after] : cases) {
    const ScratchFolder scratch;
    const Ref<FolderItem> item = scratch.Write("old", "");
    scratch.Write("s", side_file);
    scratch.Run(std::string(before) + "; rm s");
    item->SetName("new");
    EXPECT_EQ(scratch.Run("echo $(ls -A)"), std::string(after) + "\n") << name;
  }
}

TEST(SideFile, ThereIsNoneForTheLongestNames) {
  const ScratchFolder scratch;
  const Ref<FolderItem> item = scratch.Write("name", "data");
  for (const std::size_t length : {254U, 255U, 9U}) {
    const std::string name(length, 'x');
    item->SetName(String::Bytes(name));
    EXPECT_EQ(item->Name().view(), name);
    EXPECT_TRUE(scratch.Has(name) && item->MacType().empty());
  }
}

TEST(SideFile, ForeignEntriesAreKept) {
  const std::string finder = "TEXTttxt" + std::string(24, '\1');
  const std::string attributes = finder + std::string(3728, 'A');  // as other systems add them
  const std::string long_fork(40'000, 'f');
  const std::tuple<const char*, std::vector<Entry>> cases[] = {
      {"fork before others", {{3, "real name"}, {2, long_fork}, {9, finder}, {8, "dates"}}},
      {"fork last", {{9, attributes}, {2, "fork"}}},
      {"no Finder info", {{2, "fork"}, {4, "comment"}}},
      {"no fork", {{4, "comment"}, {9, finder}}},
      {"Finder info too short", {{9, "TEXT"}, {4, "comment"}, {2, "fork"}}},
  };
  for (const auto& [name, entries] : cases) {
    SCOPED_TRACE(name);
    const ScratchFolder scratch;
    const Ref<FolderItem> item = scratch.Write("name", "");
    scratch.Write("._name", AppleDoubleOf(entries));
    std::map<std::uint32_t, std::string> expected = EntriesOf(scratch.Read("._name"));
    EXPECT_EQ(ForkOf(item), expected[2]);

    expected[9].resize(std::max(expected[9].size(), std::size_t{32}));
    if (std::string_view(name) == "Finder info too short") expected[9].assign(32, '\0');
    expected[9].replace(0, 4, "APPL");
    item->SetMacType("APPL");
    EXPECT_EQ(EntriesOf(scratch.Read("._name")), expected);

    std::int32_t error = 0;
    const Ref<ResourceFork> fork = ResourceFork::Open(item, ResourceFork::Access::kReadWrite, error);
    fork->SetFPos(2);
    fork->Write(std::string(50'000, 'w'));
    EXPECT_EQ(fork->Close(), 0);
    expected[2].resize(50'002);
    expected[2].replace(2, 50'000, 50'000, 'w');
    EXPECT_EQ(EntriesOf(scratch.Read("._name")), expected);
    WithFork(item, "short");
    expected[2] = "short";
    EXPECT_EQ(EntriesOf(scratch.Read("._name")), expected);
    EXPECT_EQ(scratch.Run("ls -A"), "._name\nname\n");
  }
}

TEST(SideFile, WhatIsNoAppleDoubleFileIsLeftAlone) {
  const std::string good = AppleDoubleOf({{9, std::string(32, 'x')}, {2, "fork"}});
  const std::tuple<const char*, std::string> cases[] = {
      {"AppleSingle", Big(0x00051600) + good.substr(4)},
      {"text", "just a file"},
      {"version 1", good.substr(0, 4) + Big(0x00010000) + good.substr(8)},
      {"cut in its table", good.substr(0, 49)},
      {"more entries than there is room for", good.substr(0, 24) + Big(0xFFFF, 2) + good.substr(26)},
  };
  for (const auto& [name, content] : cases) {
    SCOPED_TRACE(name);
    const ScratchFolder scratch;
    const Ref<FolderItem> item = scratch.Write("name", "");
    scratch.Write("._name", content);
    EXPECT_TRUE(item->MacType().empty());
    EXPECT_EQ(ForkOf(item), "");
    EXPECT_EQ(item->SetFinderInfo({.script = 1}), -EEXIST);
    std::int32_t error = 0;
    EXPECT_EQ(ResourceFork::Open(item, ResourceFork::Access::kReadWrite, error), nil);
    EXPECT_EQ(error, -EEXIST);
    EXPECT_EQ(scratch.Read("._name"), content);
  }
  const ScratchFolder scratch;
  scratch.Run("touch name; mkdir ._name; ln -s other ._link; touch link other");
  EXPECT_EQ(ForkOf(scratch.Item("name")), "");
  scratch.Item("link")->SetMacType("TEXT");
  EXPECT_EQ(scratch.Read("other"), "") << "a link is not written through";
}

TEST(ResourceFork, AFullDiskShowsAtCloseAndLeavesNoHalfFile) {
  const ScratchFolder scratch;
  std::int32_t error = 0;
  const auto fork = ResourceFork::Open(scratch.Write("name", ""), ResourceFork::Access::kReadWrite, error);
  const ResourceLimit full_disk(RLIMIT_FSIZE, 100);
  fork->Write(std::string(200, 'x'));
  EXPECT_EQ(fork->Close(), -EFBIG);
  EXPECT_FALSE(scratch.Has("._name"));
}

}  // namespace
}  // namespace vantorel::testing
