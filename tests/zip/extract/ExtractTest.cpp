// Extraction to disk: what is in the way, what a failure leaves, and the metadata that files get.
#include <sys/stat.h>

#include "platform/base/Failures.h"
#include "platform/text/TextFunctions.h"
#include "tests/support/Forks.h"
#include "tests/support/MacBytes.h"
#include "tests/support/OpenZip.h"
#include "tests/support/ResourceLimit.h"
#include "zip/archive/ZipExtractor.h"

namespace vantorel::testing {
namespace {

// Extracts the only member to `name`; gives its message, empty on success.
std::string ExtractTo(const ScratchFolder& folder, const std::string& name, const ZipMember& member) {
  const Ref<ZipEntry> entry = OpenZip({member})->Entry(1);
  const bool done = entry->Extract(folder.Item(name));
  EXPECT_EQ(done, entry->ErrorMessage().empty());
  return Text(entry->ErrorMessage());
}

// Type, creator, flags, script and extended flags of a file, and its resource fork.
std::string MacFacts(const ScratchFolder& folder, const std::string& name) {
  MacData data;
  EXPECT_EQ(folder.Item(name)->GetMacData(data), 0);
  const FinderInfo& info = data.finder;
  return std::string(info.type.data(), 4) + std::string(info.creator.data(), 4) + " " +
         Text(Hex(info.flags) + " " + Hex(info.script << 8 | info.extended_flags)) + " " +
         ForkOf(folder.Item(name));
}

TEST(Extract, WhatIsInTheWay) {
  const ScratchFolder folder;
  folder.Write("file", "old");
  folder.Write("locked", "old");
  folder.Run("chmod 444 locked; mkdir folder; ln -s file link");
  const ZipMember file{.name = "f", .data = "new"};
  const ZipMember directory{.name = "f/"};
  const struct {
    const char* name;
    const char* destination;
    ZipMember member;
    const char* message;
  } cases[] = {
      {"a folder for a file", "folder", file,
       "Archive entry is a file but a folder exists at the destination already. Won't replace that."},
      {"a file for a folder", "file", directory,
       "Archive entry is a folder but a file exists at the destination already. Won't replace that."},
      {"a folder below nothing", "none/f", directory, "Folder creation failed"},
      {"a file below nothing", "none/f", file, "Creating destination file failed"},
      {"a locked file", "locked", file, "Destination file is write protected"},
      {"a folder for a folder", "folder", directory, ""},
      {"a link", "link", file, ""},
      {"a link that stays", "/proc/self/exe", file,
       "Destination exists as an alias file that can't be deleted"},
  };
  for (const auto& [name, destination, member, message] : cases) {
    EXPECT_EQ(ExtractTo(folder, destination, member), message) << name;
  }
  EXPECT_EQ(folder.Read("file") + folder.Read("locked") + folder.Read("link"), "oldoldnew")
      << "what is there already stays, and a link is replaced and not followed";
}

TEST(Extract, AFailureLeavesNoFile) {
  const ScratchFolder folder;
  folder.Write("f", "old");
  const ZipMember large{.name = "f", .data = std::string(100000, 'x')};
  const Ref<ZipEntry> entry = OpenZip({large})->Entry(1);
  const ResourceLimit limit(RLIMIT_FSIZE, 50000);
  EXPECT_FALSE(entry->Extract(folder.Item("f")));
  EXPECT_EQ(entry->ErrorMessage().view(), "File write error (disk full?)");
  EXPECT_FALSE(folder.Has("f")) << "the earlier file is lost";
}

TEST(Extract, Permissions) {
  const struct {
    const char* name;
    std::uint32_t os;
    std::uint32_t attributes;
    int mode;
    bool make_executable = true;
    std::uint32_t is_text = 0;
  } cases[] = {
      {"Unix mode replaces the present one whole", 3, 0x81400000, 0100500},
      {"Unix mode under DOS", 0, 0x89C00000, 0104700},
      {"Unix mode under another system is none", 1, 0x81ED0000, 0100600, false},
      {"no mode: execute bits", 1, 0x81ED0000, 0100711},
      {"not the mode of a regular file", 3, 0x01ED0000, 0100711},
      {"text gets no execute bits", 0, 0, 0100600, true, 1},
  };
  const mode_t before = umask(077);
  for (const auto& [name, os, attributes, mode, make_executable, is_text] : cases) {
    const ScratchFolder folder;
    const ZipMember member{
        .name = "f", .os_made_by = os, .internal_attributes = is_text, .external_attributes = attributes};
    EXPECT_TRUE(OpenZip({member})->Entry(1)->Extract(folder.Item("f"), true, make_executable)) << name;
    std::uint16_t found = 0;
    folder.Item("f")->GetUnixMode(found);
    EXPECT_EQ(found, mode) << name;
  }
  umask(before);
}

TEST(Extract, MacBinaryMetadata) {
  const ScratchFolder folder;
  const ZipMember member{.name = "a-b", .data = MacBinaryMember("a\\b", "data", "rsrc"), .date = 0x5A21};
  const auto archive = OpenZip({member});
  // Whatever the flag says.
  ASSERT_TRUE(archive->Entry(1)->Extract(folder.Item("a-b"), false));
  EXPECT_EQ(folder.Read("a\\b"), "data") << "the exact name, where it is clearly the same";
  EXPECT_EQ(MacFacts(folder, "a\\b"), "TEXTttxt EE80 0 rsrc") << "0xEE masks the high byte of the flags";
  EXPECT_EQ(folder.Item("a\\b")->ModificationDate()->TotalSeconds(), 3221225472.0) << "dates are unsigned";
  EXPECT_FALSE(folder.Item("a\\b")->Locked());

  const ZipMember renamed{.name = "other", .data = MacBinaryMember("c\\d", "more", "")};
  for (const char* name : {"other", "c-d"}) {
    EXPECT_EQ(ExtractTo(folder, name, renamed), "");
    EXPECT_EQ(folder.Read(name), "more") << "a name that is not the member's stays";
  }

  archive->Entry(1)->EnableFileLocking(true);
  folder.Run("touch x; mkdir ._x");
  const auto locked = New<MemoryBlock>(128);
  locked->SetByte(81, 1);
  EXPECT_NE(archive->Entry(1)->ApplyMacBinaryInformation(folder.Item("x"), locked), 0);
  EXPECT_TRUE(folder.Item("x")->Locked()) << "Finder info that cannot be read stops nothing else";

  EXPECT_TRUE(archive->Entry(1)->Extract(folder.Item("raw"), false, false));
  EXPECT_EQ(folder.Read("raw"), member.data);
  EXPECT_FALSE(folder.Has("._raw"));
}

TEST(Extract, CompanionMetadata) {
  const std::string times = UnixExtra(1000000000, 1000000000);
  const ZipMember main{.name = "f", .data = "data", .central_extra = times, .date = 0x5A21};
  ZipMember companion{.name = "._f", .data = AppleDoubleBytes("rsrc"), .central_extra = times};
  const ScratchFolder folder;
  EXPECT_TRUE(OpenZip({main, companion})->Entry(1)->Extract(folder.Item("f")));
  EXPECT_EQ(folder.Item("f")->ModificationDate()->UnixTime(), 1000000000);
  EXPECT_EQ(MacFacts(folder, "f"), "PICTogle 480 8102 rsrc");
  companion.central_extra = UnixExtra(0, 5);
  EXPECT_TRUE(OpenZip({main, companion})->Entry(1)->Extract(folder.Item("f")));
  EXPECT_EQ(folder.Item("f")->ModificationDate()->TotalSeconds(), 0.0) << "no time is the start of 1904";
}

TEST(Extract, TypeAndCreatorFromTheExtraField) {
  const ScratchFolder folder;
  const std::string extra = ExtraRecordBytes(0x2605, std::string("ZPIT\x03") + "a\\bTEXTttxt");
  EXPECT_EQ(ExtractTo(folder, "a-b", {.name = "a-b", .data = "data", .central_extra = extra}), "");
  EXPECT_EQ(MacFacts(folder, "a\\b") + folder.Read("a\\b"), "TEXTttxt 0 0 data");
}

TEST(MakeDestination, WalksBelowTheRoot) {
  const ScratchFolder folder;
  folder.Run("mkdir target; ln -s target link; mkdir in; ln -s ../target in/link");
  const struct {
    const char* root;
    const char* member;
    std::string place;  // empty: none
    const char* made;
    bool follow_links = false;
  } cases[] = {
      {"new", "a//f", "new/a/f", "new/a"},
      {"new/deeper", "../../f", "f", "new"},
      {"new", "../link/f", "target/f", "target", true},
      {"in", "link/../f", "in/f", "in"},
      {"in", "link/a/b", "", "in"},
      {"link", "f", "link/f", "link"},
  };
  for (const auto& [root, member, place, made, follow_links] : cases) {
    const Ref<ZipEntry> entry = OpenZip({{.name = member}})->Entry(1);
    const Ref<FolderItem> found = entry->MakeDestination(folder.Item(root), follow_links);
    EXPECT_EQ(found ? found->Path() : "", place.empty() ? "" : folder.Path(place)) << root << " " << member;
    EXPECT_TRUE(folder.Has(made)) << member;
    EXPECT_FALSE(!place.empty() && folder.Has(place)) << member;
  }
  EXPECT_EQ(folder.Run("ls target"), "") << "nothing was made behind the links";

  folder.Run("mkdir -p in/d/e target/e");
  const Ref<ZipEntry> entry = OpenZip({{.name = "d/e/f"}})->Entry(1);
  EXPECT_TRUE(entry->MakeDestination(folder.Item("in"), false));
  folder.Run("mv in/d was; ln -s ../target in/d");
  EXPECT_EQ(entry->MakeDestination(folder.Item("in"), false), nil) << "a link came in place of a folder";
}

TEST(MakeDestination, TakesOneStepPerComponent) {
  std::string name = std::string(300, 'x') + "/";  // no folder that can be made
  for (int i = 0; i < 10000; ++i) name += "a/";
  const ScratchFolder folder;
  const Ref<ZipEntry> entry = OpenZip({{.name = name}})->Entry(1);
  EXPECT_EQ(entry->MakeDestination(folder.Item(), false)->Path() + "/", folder.Path(name));
  EXPECT_LE(RecentFailures().size(), 3U) << "each folder that cannot be made is kept in mind";
}

TEST(ZipExtractor, StopsAtTheFirstFailure) {
  const ScratchFolder folder;
  folder.Run("mkdir target out; ln -s ../target out/link");
  const Ref<FolderItem> zip =
      folder.Write("a.zip", MakeZip({{"a", "1234"}, {"link/f", "56"}, {"c", "7"}}, "hello"));
  const auto extractor = New<ZipExtractor>();
  EXPECT_FALSE(extractor->ExtractAllSilently(zip, folder.Item("out")));
  EXPECT_EQ(extractor->LastErrMsg().view(), "Extraction of \"link/f\" failed: No destination given");
  EXPECT_EQ(extractor->p_totalBytes, 7);
  EXPECT_EQ(folder.Run("ls out target"), "out:\na\nlink\n\ntarget:\n");
  EXPECT_EQ(extractor->GetComment(zip).view(), "hello");
  EXPECT_TRUE(extractor->IsZipArchive(zip));
  EXPECT_EQ(extractor->LastErrMsg().view(), "");
  EXPECT_FALSE(extractor->IsZipArchive(folder.Item("out/a")));
  EXPECT_EQ(extractor->LastErrMsg().view(), "File does not appear to by a Zip file ('PK' header missing)");
  EXPECT_FALSE(extractor->ExtractAllSilently(nil, folder.Item("out")));
  EXPECT_EQ(extractor->LastErrMsg().view(), "No file specified");
}

}  // namespace
}  // namespace vantorel::testing
