// The classic attributes of an item and the AppleDouble file that holds them.
#include <sys/stat.h>

#include <cerrno>
#include <map>

#include "platform/base/ByteOrder.h"
#include "tests/support/Forks.h"
#include "tests/support/MacBytes.h"
#include "tests/support/ResourceLimit.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

std::string Big(std::size_t value, int size = 4) {
  return BigEndian(static_cast<std::uint32_t>(value), size);
}

using Entries = std::vector<std::pair<std::uint32_t, std::string>>;

// An AppleDouble file with these entries, their data in the same order.
std::string AppleDoubleOf(const Entries& entries) {
  std::string table;
  std::string data;
  for (const auto& [id, bytes] : entries) {
    table += Big(id) + Big(26 + 12 * entries.size() + data.size()) + Big(bytes.size());
    data += bytes;
  }
  return Big(0x00051607) + Big(0x00020000) + std::string(16, '\0') + Big(entries.size(), 2) + table + data;
}

// The other way.
std::map<std::uint32_t, std::string> EntriesOf(const std::string& file) {
  EXPECT_EQ(file.substr(0, 8), AppleDoubleOf({}).substr(0, 8));
  std::map<std::uint32_t, std::string> entries;
  const auto number = [&](std::size_t at) { return Load32(&file.at(at), ByteOrder::kBig); };
  for (std::size_t at = 26, end = at + 12U * Load16(&file.at(24), ByteOrder::kBig); at < end; at += 12) {
    EXPECT_LE(number(at + 4) + std::size_t{number(at + 8)}, file.size());
    entries[number(at)] = file.substr(number(at + 4), number(at + 8));
  }
  return entries;
}

class SideFileTest : public ::testing::Test {
 protected:
  std::string SideFile() const { return scratch_.Read("._name"); }
  bool HasSideFile() const { return scratch_.Has("._name"); }
  Ref<ResourceFork> OpenFork(const Ref<FolderItem>& item, std::int32_t expected) const {
    std::int32_t error = 0;
    const Ref<ResourceFork> fork = ResourceFork::Open(item, ResourceFork::Access::kReadWrite, error);
    EXPECT_EQ(error, expected);
    EXPECT_EQ(fork == nil, error != 0);
    return fork;
  }

  const ScratchFolder scratch_;
  const Ref<FolderItem> item_ = scratch_.Write("name", "data");
};

TEST_F(SideFileTest, HoldsWhatWasSetAndNothingMore) {
  const FinderInfo info{{'T', 'E', 'X', 'T'}, {'R', '*', ' ', ' '}, 0x4A0B, -2, 3, 4, 0x81, 0x20};
  EXPECT_EQ(item_->SetFinderInfo(info), 0);
  WithFork(item_, "fork");
  const std::string finder = std::string("TEXTR*  \x4A\x0B\xFF\xFE\0\3\0\4", 16) + std::string(8, '\0') +
                             "\x81\x20" + std::string(6, '\0');
  EXPECT_EQ(SideFile(), AppleDoubleOf({{9, finder}, {2, "fork"}}));
  MacData data;
  {
    const ResourceLimit no_more_files(RLIMIT_NOFILE, 0);
    EXPECT_EQ(item_->GetMacData(data), -EMFILE);
    EXPECT_EQ(data.fork_length, 0);
  }
  EXPECT_EQ(item_->GetMacData(data), 0) << "a refusal is told for ever";
  EXPECT_EQ(data.finder, info);
  EXPECT_EQ(ForkOf(item_), "fork");
}

TEST_F(SideFileTest, MayBeReadByNoOneElseThanTheItemAndByItsOwner) {
  const std::pair<std::uint16_t, const char*> cases[] = {
      {0600, "600\n"}, {0200, "600\n"}, {0000, "600\n"}, {0444, "644\n"}, {0755, "644\n"}};
  for (const auto& [mode, expected] : cases) {
    SCOPED_TRACE(mode);
    scratch_.Run("rm -f ._name");
    item_->SetUnixMode(mode);
    WithFork(item_, "secret");
    EXPECT_EQ(scratch_.Run("stat -c %a ._name"), expected) << "made after the mode was set";
    scratch_.Run("chmod 666 ._name");
    item_->SetUnixMode(mode);
    EXPECT_EQ(scratch_.Run("stat -c %a ._name"), expected) << "made by another, before the mode was set";
  }
  scratch_.Run("chmod 664 name ._name");
  item_->SetLocked(true);
  EXPECT_EQ(scratch_.Run("stat -c %a ._name"), "644\n") << "others may still write the fork of a locked item";
}

TEST_F(SideFileTest, IsThereOnlyWhileItHoldsSomething) {
  item_->SetMacType("");
  EXPECT_FALSE(HasSideFile());
  WithFork(item_, "fork");
  item_->SetMacType("TEXT");
  item_->SetMacType("");
  EXPECT_TRUE(HasSideFile());
  WithFork(item_, "");
  EXPECT_FALSE(HasSideFile());

  // What no field here stands for is something too: an icon number, say.
  const std::string icon = "TEXT" + std::string(13, '\0') + '\7' + std::string(14, '\0');
  scratch_.Write("._name", AppleDoubleOf({{9, icon}}));
  item_->SetMacType("");
  EXPECT_TRUE(HasSideFile());
  OpenFork(scratch_.Item("absent"), -ENOENT);
}

TEST_F(SideFileTest, GoesWithItsItem) {
  const Ref<FolderItem> folder = scratch_.Item();
  item_->SetMacType("TEXT");
  EXPECT_EQ(folder->TrueItem(2), nil);
  item_->SetName("new");
  EXPECT_FALSE(scratch_.Has("name") || HasSideFile());
  EXPECT_EQ(item_->MacType().view(), "TEXT");
  std::filesystem::remove(scratch_.Path("new"));
  EXPECT_EQ(folder->TrueItem(1)->Name().view(), "._new") << "alone it is shown";
  scratch_.Write("new", "");
  item_->Delete();
  EXPECT_FALSE(scratch_.Has("._new"));
  for (const std::size_t length : {254U, 255U, 9U}) {  // of the longest names there is none
    const std::string name(length, 'x');
    const Ref<FolderItem> renamed = scratch_.Write("short", "");
    renamed->SetName(String::Bytes(name));
    EXPECT_TRUE(scratch_.Has(name) && renamed->MacType().empty()) << length;
  }
}

TEST_F(SideFileTest, RenamingTouchesNothingElse) {
  const std::string side_file = AppleDoubleOf({{9, "TEXT" + std::string(28, '\0')}, {2, ""}});
  const std::tuple<const char*, const char*, const char*> cases[] = {
      // name, the shell makes the state before, the state after
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

TEST_F(SideFileTest, ForeignEntriesAreKept) {
  const std::string finder = "TEXTttxt" + std::string(24, '\1');
  const std::string attributes = finder + std::string(3728, 'A');  // as other systems add them
  Entries full_table(0xFFFD, {50, ""});  // takes minutes if the whole of it is walked for each entry
  full_table.insert(full_table.end(), {{9, std::string(32, '\0')}, {2, ""}});
  const std::tuple<const char*, Entries> cases[] = {
      {"fork before others", {{3, "real name"}, {2, std::string(40'000, 'f')}, {9, finder}, {8, "dates"}}},
      {"fork last", {{9, attributes}, {2, "fork"}}},
      {"no Finder info", {{2, "fork"}, {4, "comment"}}},
      {"no fork", {{4, "comment"}, {9, finder}}},
      {"Finder info too short", {{9, "TEXT"}, {4, "comment"}, {2, "fork"}}},
      {"a full table", full_table},
  };
  for (const auto& [name, entries] : cases) {
    SCOPED_TRACE(name);
    std::map<std::uint32_t, std::string> expected(entries.begin(), entries.end());
    scratch_.Write("._name", AppleDoubleOf(entries));
    EXPECT_EQ(ForkOf(item_), expected[2]);

    if (expected[9].size() < 32) expected[9].assign(32, '\0');
    expected[9].replace(0, 4, "APPL");
    item_->SetMacType("APPL");
    EXPECT_EQ(EntriesOf(SideFile()), expected);

    const Ref<ResourceFork> fork = OpenFork(item_, 0);
    fork->SetFPos(2);
    fork->Write(std::string(50'000, 'w'));
    EXPECT_EQ(fork->Close(), 0);
    expected[2].resize(50'002);
    expected[2].replace(2, 50'000, 50'000, 'w');
    EXPECT_EQ(EntriesOf(SideFile()), expected);
    WithFork(item_, "short");
    expected[2] = "short";
    EXPECT_EQ(EntriesOf(SideFile()), expected);
    EXPECT_EQ(scratch_.Run("ls -A"), "._name\nname\n");
  }
}

TEST_F(SideFileTest, WhatIsNoAppleDoubleFileIsLeftAlone) {
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
    scratch_.Write("._name", content);
    EXPECT_TRUE(item_->MacType().empty());
    EXPECT_EQ(ForkOf(item_), "");
    EXPECT_EQ(item_->SetFinderInfo({.script = 1}), -EEXIST);
    OpenFork(item_, -EEXIST);
    EXPECT_EQ(SideFile(), content);
  }
  scratch_.Run("rm ._name; mkdir ._name; ln -s other ._link; touch link other");
  EXPECT_EQ(ForkOf(item_), "");
  scratch_.Item("link")->SetMacType("TEXT");
  EXPECT_EQ(scratch_.Read("other"), "") << "a link is not written through";
}

TEST_F(SideFileTest, AFullDiskShowsAtCloseAndLeavesNoHalfFile) {
  const Ref<ResourceFork> fork = OpenFork(item_, 0);
  const ResourceLimit full_disk(RLIMIT_FSIZE, 100);
  fork->Write(std::string(200, 'x'));
  EXPECT_EQ(fork->Close(), -EFBIG);
  EXPECT_FALSE(HasSideFile());
}

}  // namespace
}  // namespace vantorel::testing
