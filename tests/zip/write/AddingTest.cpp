// Files and folders on their way in: sizes, paths, order, links, permissions, failures, MacBinary.
#include "tests/support/Forks.h"
#include "tests/support/MacBytes.h"
#include "tests/support/OpenZip.h"
#include "tests/support/ResourceLimit.h"

namespace vantorel::testing {
namespace {

TEST(Sizes, CountWhatTheCompressorWouldBeFed) {
  const ScratchFolder scratch;
  const Ref<FolderItem> items[] = {scratch.Write("plain", Noise(100)),
                                   WithFork(scratch.Write("forked", Noise(100)), Noise(129)), scratch.Item()};
  const std::int32_t expected[3][3] = {{100, 100, 0}, {100, 512, 0}, {256, 512, 128}};
  const auto archive = New<ZipArchive>();
  for (const std::int32_t mode : {0, 1, 2}) {
    for (const int item : {0, 1, 2}) {
      EXPECT_EQ(archive->CalcItemSize(items[item], mode), expected[mode][item])
          << item << " in mode " << mode;
    }
    EXPECT_EQ(archive->CalcFolderSize(items[2], false, mode), expected[mode][0] + expected[mode][1]) << mode;
  }
  scratch.Run("rm -f ._forked forked plain; truncate -s 1G a b");
  EXPECT_EQ(archive->CalcFolderSize(items[2], false, 0), INT32_MAX) << "2^31 is refused";
  scratch.Write("c", "x");
  EXPECT_EQ(archive->CalcFolderSize(items[2], false, 0), -1);
}

TEST(AddingFolders, NamesOrderAndLinks) {
  const std::tuple<const char*, bool, Strings> cases[] = {
      {"", false, {"2", "b-c", "a/1", "a/x/3", "z/4"}},
      {"p/", true, {"p/2", "p/b-c", "p/target", "p/a/1", "p/a/x/3", "p/z/4"}},
  };
  for (const auto& [prefix, follow, names] : cases) {
    const OwnZip zip;
    zip.Run(
        "mkdir -p t/a/x t/z t/empty d; touch t/2 't/b\\c' t/a/1 t/a/x/3 t/z/4; echo data > target;"
        "ln -s ../target t/link; ln -s ../d t/folder; ln -s nowhere t/dangling; ln -s . t/loop");
    EXPECT_EQ(zip->CalcFolderSize(zip.Item("t"), follow, 0), follow ? 5 : 0);
    EXPECT_TRUE(zip->AddFolderContents(zip.Item("t"), prefix, 0, follow));
    EXPECT_FALSE(zip->AddFolderContents(nil, "", 0, false));
    EXPECT_EQ(Text(zip->errmsg), "no folder reference given");
    EXPECT_TRUE(zip->Close());
    EXPECT_EQ(NamesOf(*Open(zip, false)), names);
  }
}

// A monitor that goes on behind the failure of "b", unless told not to, and stops before `stop_before`.
struct WalkMonitor : RecordingMonitor {
  void ItemFailed(const Ref<FolderItem>& item, std::int32_t code, const String& message,
                  bool& stop) override {
    EXPECT_EQ(Text(item->Name()) + std::to_string(code), "b-2");
    EXPECT_EQ(Text(message), "Write error, the archived item may be corrupted");
    stop = stop_before == "b";
  }
  void ItemStarting(const Ref<FolderItem>& item, bool& abort) override {
    abort = Text(item->Name()) == stop_before && stop_before != "b";
  }
  std::string stop_before;
};

TEST(AddingFolders, TheMonitorDecidesBehindAFailure) {
  const std::tuple<const char*, Strings> cases[] = {
      {"no monitor", {"a"}}, {"", {"a", "c", "d/e"}}, {"b", {"a"}}, {"e", {"a", "c"}}};
  for (const auto& [stop_before, names] : cases) {
    const OwnZip zip;
    zip.Run("mkdir -p t/d; echo text | tee t/a t/c t/d/e");
    zip.Write("t/b", Noise(500000));
    const auto monitor = New<WalkMonitor>();
    monitor->stop_before = stop_before;
    if (monitor->stop_before != "no monitor") zip->SetProgressMonitor(monitor);
    const ResourceLimit limit(RLIMIT_FSIZE, 100000);
    const bool whole = monitor->stop_before.empty();
    EXPECT_EQ(zip->AddFolderContents(zip.Item("t"), "", 0, false), whole) << stop_before;
    EXPECT_TRUE(zip->Close());
    EXPECT_EQ(NamesOf(*Open(zip, false)), names) << stop_before;
  }
}

TEST(AddingItems, RecordPermissionsWhereAskedTo) {
  const OwnZip zip;
  zip.Run("echo x > f; chmod 751 f; mkdir d; chmod 1700 d");
  EXPECT_EQ(zip->AddItemToRoot(zip.Item("f"), 0), 1);
  zip->PreserveUnixPermissions(true);
  EXPECT_EQ(zip->AddItemToRoot(zip.Item("f"), 0), 2);
  EXPECT_EQ(zip->AddItemToRoot(zip.Item("d"), 0), 3);
  EXPECT_EQ(zip->AddItemWithRawPath(zip.Item("f"), "", 0), -50);
  EXPECT_EQ(zip->AddItemToRoot(nil, 0), 0);
  EXPECT_EQ(Text(zip->errmsg), "no file reference given");
  std::int32_t mode = -1;
  EXPECT_FALSE(zip->GetUnixPermissions(nil, mode) || zip->GetUnixPermissions(zip.Item("none"), mode));
  EXPECT_EQ(mode, -1);
  const std::uint32_t attributes[] = {1, 0100751U << 16 | 1, 0041700U << 16 | 1};
  for (std::int32_t i = 1; i <= 3; ++i) {
    EXPECT_EQ(static_cast<std::uint32_t>(zip->Entry(i)->ExternalFileAttributes()), attributes[i - 1]);
    EXPECT_EQ(zip->Entry(i)->OSMadeBy(), i == 1 ? 0 : 3);
  }
}

TEST(AddingItems, ForksTravelInMacBinary) {
  const OwnZip zip;
  const Ref<FolderItem> file = WithFork(zip.Write("Über", Noise(300)), Noise(1000, 2));
  file->SetMacType("TEXT");
  file->SetMacCreator("ttxt");
  for (const std::int32_t mode : {0, 1, 2}) EXPECT_EQ(zip->AddItemToRoot(file, mode), mode + 1);
  EXPECT_EQ(zip->AddItemToRoot(zip.Item(), 2), 4) << "a folder is wrapped too";
  const std::int32_t sizes[] = {300, 128 + 384 + 1024, 128 + 384 + 1024, 128};
  for (std::int32_t i = 1; i <= 4; ++i) EXPECT_EQ(zip->Entry(i)->Size(), sizes[i - 1]) << i;
  String type, creator, name;
  EXPECT_TRUE(zip->Entry(2)->ExtraFieldInCentralDir()->GetTypeCreatorName(type, creator, name));
  EXPECT_EQ(Text(type) + Text(creator) + Text(name), "TEXTttxtÜber");
  EXPECT_TRUE(zip->Entry(1)->ExtraFieldInCentralDir()->GetTypeCreatorName(type, creator, name));
  EXPECT_EQ(Text(name), "") << "an unwrapped file's record holds no name";
}

TEST(MacBinaryBuilding, FieldByField) {
  const ScratchFolder scratch;
  const auto archive = New<ZipArchive>();
  const auto date = New<Date>();
  date->SetTotalSeconds(3000000000.0);
  const auto bare =
      archive->MakeMacBinaryHeader(10, 20, std::string(70, 'n').c_str(), "TYPE", "CREA", date, nil);
  // The offsets are those of the MacBinary III standard.
  std::string expected(128, '\0');
  Put(expected, 1, "\x3F" + std::string(63, 'n') + "TYPECREA");
  Put(expected, 83, BigEndian(10, 4) + BigEndian(20, 4) + BigEndian(3000000000U, 4));
  Put(expected, 102, "mBIN");
  Put(expected, 122, "\x82\x81");
  Seal(expected);
  EXPECT_EQ(bare->View(), expected);
  EXPECT_THROW(archive->MakeMacBinaryHeader(0, 0, "", "TYPE", "CREA", nil, nil), RuntimeException);
  const std::pair<double, std::int32_t> seconds[] = {
      {2147483647.0, INT32_MAX}, {2147483648.0, INT32_MIN}, {4294967295.0, -1}};
  for (const auto& [number, pattern] : seconds) EXPECT_EQ(archive->z_dblToLong(number), pattern);

  const Ref<FolderItem> hidden = scratch.Write(".hidden", "");
  EXPECT_EQ(archive->MakeMacBinaryHeader(hidden)->Byte(73), 64);
  ASSERT_EQ(hidden->SetFinderInfo({.flags = 0x0320, .script = 0x87}), 0);
  hidden->SetLocked(true);
  for (const char* name : {".hidden", "other"}) {
    const auto header = archive->MakeMacBinaryHeader(hidden, 1, 2, name);
    EXPECT_EQ(Text(header->PString(1)), name);
    EXPECT_EQ(header->Byte(73), 2) << "stored flags win, without their low bit";
    EXPECT_EQ(header->Byte(101), 0x20);
    EXPECT_EQ(header->Byte(81), 1);
    EXPECT_EQ(header->Byte(106), name[0] == '.' ? 0x87 : 0) << "it belongs to the item's own name";
  }
}

}  // namespace
}  // namespace vantorel::testing
