// Extraction to disk: what is in the way, what a failure leaves, and the metadata that files get.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

#include "platform/text/TextFunctions.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/MacBytes.h"
#include "tests/support/OpenZip.h"
#include "zip/archive/ZipExtractor.h"

namespace vantorel {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace): builders of bytes

// While this lives the process has no special rights.
class WithoutRoot {
 public:
  WithoutRoot() { EXPECT_TRUE(geteuid() != 0 || seteuid(65534) == 0); }
  WithoutRoot(const WithoutRoot&) = delete;
  WithoutRoot& operator=(const WithoutRoot&) = delete;
  ~WithoutRoot() { EXPECT_EQ(seteuid(getuid()), 0); }
};

// While this lives messages go to a terminal.
class Terminal {
 public:
  Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)), before_(dup(STDERR_FILENO)) {
    EXPECT_TRUE(grantpt(master_) == 0 && unlockpt(master_) == 0);
    const int slave = open(ptsname(master_), O_RDWR | O_NOCTTY);
    EXPECT_EQ(dup2(slave, STDERR_FILENO), STDERR_FILENO);
    close(slave);
    fcntl(master_, F_SETFL, O_NONBLOCK);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    dup2(before_, STDERR_FILENO);
    close(before_);
    close(master_);
  }
  // What has been shown since the last call.
  std::string Shown() const {
    std::array<char, 100> bytes{};
    const ssize_t count = read(master_, bytes.data(), bytes.size());
    return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }

 private:
  int master_;
  int before_;
};

mode_t ModeOf(const ScratchFolder& folder, const std::string& name) {
  struct stat status {};
  EXPECT_EQ(lstat(folder.Path(name).c_str(), &status), 0) << name;
  return status.st_mode;
}

// Extracts the only member to `out/name`; gives its message, empty on success.
std::string ExtractTo(const ScratchFolder& folder, const std::string& name, const ZipMember& member) {
  const auto archive = OpenZip(folder, {member});
  const Ref<ZipEntry> entry = archive->Entry(1);
  const bool done = entry->Extract(folder.Item(name));
  EXPECT_EQ(done, entry->ErrorMessage().empty());
  return std::string(entry->ErrorMessage().view());
}

// What another reader of AppleDouble finds in the side file of `name`: type, creator, flags, script and
// extended flags in hex, and the resource fork.
std::string SideFile(const ScratchFolder& folder, const std::string& name) {
  folder.Write("read.py", R"(
import struct, sys
b = open(sys.argv[1], 'rb').read()
magic, version, count = struct.unpack_from('>II16xH', b)
assert (magic, version) == (0x51607, 0x20000)
entries = {}
for i in range(count):
    id, offset, length = struct.unpack_from('>III', b, 26 + 12 * i)
    assert offset + length <= len(b)
    entries[id] = b[offset:offset + length]
info = entries[9]
print(info[:8].decode(), info[8:10].hex(), info[24:26].hex(), entries.get(2, b'').decode(), end='')
)");
  return folder.Run("python3 read.py '._" + name + "'");
}

TEST(Extract, WhatIsInTheWay) {
  const ScratchFolder folder;
  folder.Write("file", "old");
  folder.Write("locked", "old");
  folder.Run(
      "chmod 444 locked; mkdir folder; mkdir tree; ln -s ../file tree/link; chmod 555 tree; ln -s file link");
  const ZipMember file{.name = "f", .data = "new"};
  const ZipMember directory{.name = "f/"};
  struct Case {
    const char* name;
    const char* destination;
    ZipMember member;
    const char* message;
  };
  const Case cases[] = {
      {"a folder for a file", "folder", file,
       "Archive entry is a file but a folder exists at the destination already. Won't replace that."},
      {"a file for a folder", "file", directory,
       "Archive entry is a folder but a file exists at the destination already. Won't replace that."},
      {"a folder below nothing", "none/f", directory, "Folder creation failed"},
      {"a file below nothing", "none/f", file, "Creating destination file failed"},
      {"a locked file", "locked", file, "Destination file is write protected"},
      {"a folder for a folder", "folder", directory, ""},
  };
  for (const Case& c : cases) EXPECT_EQ(ExtractTo(folder, c.destination, c.member), c.message) << c.name;
  EXPECT_EQ(folder.Read("file") + folder.Read("locked"), "oldold") << "what is there already stays";

  const auto archive = OpenZip(folder, {file});
  EXPECT_FALSE(archive->Entry(1)->Extract(nil));
  EXPECT_EQ(archive->Entry(1)->ErrorMessage().view(), "No destination given");
  EXPECT_TRUE(archive->Entry(1)->Extract(folder.Item("link")));
  EXPECT_EQ(folder.Read("file") + folder.Read("link"), "oldnew") << "a link is replaced and not followed";
  folder.Run("chmod 755 .");
  const WithoutRoot limited;
  EXPECT_FALSE(archive->Entry(1)->Extract(folder.Item("tree/link")));
  EXPECT_EQ(archive->Entry(1)->ErrorMessage().view(),
            "Destination exists as an alias file that can't be deleted");
}

TEST(Extract, AFailureLeavesNoFile) {
  const ScratchFolder folder;
  folder.Write("f", "old");
  ZipMember wrong_sum = DeflatedMember("f", std::string(100000, 'x'));
  wrong_sum.crc = 1;
  EXPECT_EQ(ExtractTo(folder, "f", wrong_sum), "An error -3 occured while deflation");
  EXPECT_FALSE(folder.Has("f")) << "the earlier file is lost";
  const auto archive = OpenZip(folder, {DeflatedMember("f", std::string(100000, 'x'))});
  const FileSizeLimit limit(50000);
  EXPECT_FALSE(archive->Entry(1)->Extract(folder.Item("f")));
  EXPECT_EQ(archive->Entry(1)->ErrorMessage().view(), "File write error (disk full?)");
  EXPECT_FALSE(folder.Has("f"));
}

TEST(Extract, Permissions) {
  struct Case {
    const char* name;
    std::uint32_t os;
    std::uint32_t attributes;
    bool text;
    bool make_executable;
    mode_t mode;
  };
  const Case cases[] = {
      {"Unix mode", 3, 0x81A40000, false, true, 0100644},
      {"Unix mode replaces the present one whole", 3, 0x81400000, false, true, 0100500},
      {"Unix mode on a Mac", 7, 0x81ED0000, false, true, 0100755},
      {"Unix mode under DOS", 0, 0x89C00000, false, true, 0104700},
      {"Unix mode under another system is none", 1, 0x81ED0000, false, false, 0100600},
      {"no mode: execute bits", 1, 0x81ED0000, false, true, 0100711},
      {"not the mode of a regular file", 3, 0x01ED0000, false, true, 0100711},
      {"text gets no execute bits", 0, 0, true, true, 0100600},
      {"execute bits not asked for", 0, 0, false, false, 0100600},
  };
  const mode_t before = umask(077);
  for (const Case& c : cases) {
    const ScratchFolder folder;
    const auto archive = OpenZip(folder, {{.name = "f",
                                           .data = "x",
                                           .os_made_by = c.os,
                                           .internal_attributes = c.text ? 1U : 0U,
                                           .external_attributes = c.attributes}});
    EXPECT_TRUE(archive->Entry(1)->Extract(folder.Item("f"), true, c.make_executable));
    EXPECT_EQ(ModeOf(folder, "f"), c.mode) << c.name;
  }
  umask(before);
}

TEST(Extract, MacBinaryMetadata) {
  const ScratchFolder folder;
  const ZipMember member{.name = "a-b", .data = MacBinaryMember("a\\b", "data", "rsrc"), .date = 0x5A21};
  auto archive = OpenZip(folder, {member});
  // Whatever the flag says.
  ASSERT_TRUE(archive->Entry(1)->Extract(folder.Item("a-b"), false));
  EXPECT_EQ(folder.Read("a\\b"), "data") << "the exact name, where it is clearly the same";
  EXPECT_EQ(SideFile(folder, "a\\b"), "TEXTttxt ee80 0000 rsrc") << "0xEE masks the high byte of the flags";
  EXPECT_EQ(folder.Item("a\\b")->ModificationDate()->TotalSeconds(), 3221225472.0) << "dates are unsigned";
  EXPECT_FALSE(folder.Item("a\\b")->Locked());

  EXPECT_EQ(ExtractTo(folder, "other", member), "");
  EXPECT_EQ(folder.Read("other"), "data") << "a name that is not the member's stays";

  archive =
      OpenZip(folder, {{.name = "x", .data = MacBinaryMember("x", "", "rsrc"), .external_attributes = 0}});
  archive->Entry(1)->EnableFileLocking(true);
  EXPECT_TRUE(archive->Entry(1)->Extract(folder.Item("x"), true, false));
  EXPECT_TRUE(folder.Item("x")->Locked());

  EXPECT_TRUE(archive->Entry(1)->Extract(folder.Item("raw"), false, false));
  EXPECT_EQ(folder.Read("raw"), MacBinaryMember("x", "", "rsrc"));
  EXPECT_FALSE(folder.Has("._raw"));
}

TEST(Extract, FinderInfoThatCannotBeReadIsWorthABeep) {
  const ScratchFolder folder;
  folder.Write("._f", "");
  folder.Run("chmod 755 . && chmod 000 ._f && touch f");
  if (geteuid() == 0) folder.Run("chown 65534 f");
  const auto archive = OpenZip(folder, {{.name = "f", .data = MacBinaryMember("f", "data", "")}});
  const Ref<ZipEntry> entry = archive->Entry(1);
  entry->EnableFileLocking(true);
  const auto block = New<MemoryBlock>(128);
  block->SetLittleEndian(false);
  block->SetByte(MacBinaryHeader::kProtected, 1);
  const Terminal terminal;
  const WithoutRoot limited;
  entry->ApplyMacBinaryInformation(folder.Item("f"), block);
  EXPECT_EQ(terminal.Shown(), "\a");
  EXPECT_TRUE(folder.Item("f")->Locked()) << "what follows is done all the same";
}

TEST(Extract, CompanionMetadata) {
  // In directory order and shuffled, below __MACOSX and beside the member.
  const std::string times = UnixExtra(1000000000, 1000000000);
  const ZipMember main{.name = "d/f", .data = "data", .central_extra = times, .date = 0x5A21};
  for (const char* name : {"__MACOSX/d/._f", "d/._f"}) {
    const ZipMember companion{.name = name, .data = AppleDoubleBytes("rsrc"), .central_extra = times};
    for (const auto& members : {std::vector{main, companion}, std::vector{companion, main}}) {
      const ScratchFolder folder;
      folder.Write("a.zip", MakeZip(members));
      const auto extractor = New<ZipExtractor>();
      EXPECT_TRUE(extractor->ExtractAllSilently(folder.Item("a.zip"), folder.Item("out")))
          << extractor->LastErrMsg().view();
      EXPECT_EQ(folder.Run("find out -type f | sort"), "out/d/._f\nout/d/f\n");
      EXPECT_EQ(folder.Run("stat -c %Y out/d/f"), "1000000000\n");
      folder.Run("mv out/d/._f ._f");
      EXPECT_EQ(SideFile(folder, "f"), "PICTogle 0480 8102 rsrc");
    }
  }
  const ScratchFolder folder;
  ZipMember companion{
      .name = "__MACOSX/d/._f", .data = AppleDoubleBytes("rsrc"), .central_extra = UnixExtra(0, 5)};
  auto archive = OpenZip(folder, {main, companion});
  EXPECT_TRUE(archive->Entry(1)->Extract(folder.Item("f")));
  EXPECT_EQ(folder.Item("f")->ModificationDate()->TotalSeconds(), 0.0) << "a companion without times";
}

TEST(Extract, TypeAndCreatorFromTheExtraField) {
  const ScratchFolder folder;
  const std::string with_name = ExtraRecordBytes(0x2605, std::string("ZPIT\x03") + "a\\bTEXTttxt");
  EXPECT_EQ(ExtractTo(folder, "a-b", {.name = "a-b", .data = "1", .central_extra = with_name}), "");
  EXPECT_EQ(SideFile(folder, "a\\b"), "TEXTttxt 0000 0000 ");
  const std::string without = ExtraRecordBytes(0x2705, "ZPITJPEGogle");
  EXPECT_EQ(ExtractTo(folder, "b", {.name = "b", .data = "2", .central_extra = without}), "");
  EXPECT_EQ(SideFile(folder, "b"), "JPEGogle 0000 0000 ");
  EXPECT_EQ(folder.Read("a\\b") + folder.Read("b"), "12");
}

TEST(MakeDestination, WalksBelowTheRoot) {
  const ScratchFolder folder;
  folder.Run("mkdir target; ln -s target link");
  struct Case {
    const char* name;
    bool resolve;
    std::string path;  // below the folder
    const char* made;  // a folder that exists afterwards, or not
  };
  const Case cases[] = {
      {"root/f", false, "new/root/f", "new/root"},
      {"a//f", false, "new/a/f", "new/a"},
      {"../../f", false, "f", "new"},
      {"../link/f", false, "link/f", "link"},
      {"../link/f", true, "target/f", "target"},
  };
  for (const Case& c : cases) {
    const auto archive = OpenZip(folder, {{.name = c.name}});
    const std::string root = std::string(c.name) == "../../f" ? "new/deeper" : "new";
    EXPECT_EQ(archive->Entry(1)->MakeDestination(folder.Item(root), c.resolve)->Path(), folder.Path(c.path));
    EXPECT_TRUE(folder.Has(c.made)) << c.name;
    EXPECT_FALSE(folder.Has(c.path)) << c.name;
  }
}

TEST(MakeDestination, TakesOneStepPerComponent) {
  std::string name = std::string(300, 'x') + "/";  // no folder that can be made
  for (int i = 0; i < 10000; ++i) name += "a/";
  const ScratchFolder folder;
  const auto archive = OpenZip(folder, {{.name = name}});
  EXPECT_EQ(archive->Entry(1)->MakeDestination(folder.Item(), false)->Path(),
            folder.Path(name.substr(0, name.size() - 1)));
}

TEST(ZipExtractor, StopsAtTheFirstFailure) {
  const ScratchFolder folder;
  folder.Write("a.zip", MakeZip({{.name = "a", .data = "1234"},
                                 {.name = "b", .data = "56", .flags = 1},
                                 {.name = "c", .data = "7"}},
                                {.comment = "hello"}));
  const auto extractor = New<ZipExtractor>();
  EXPECT_FALSE(extractor->ExtractAllSilently(folder.Item("a.zip"), folder.Item("out")));
  EXPECT_EQ(extractor->LastErrMsg().view(), "Extraction of \"b\" failed: Unsupported format (encrypted)");
  EXPECT_EQ(extractor->p_totalBytes, 7);
  EXPECT_EQ(folder.Run("ls out"), "a\n");
  EXPECT_EQ(extractor->GetComment(folder.Item("a.zip")).view(), "hello");
  EXPECT_TRUE(extractor->IsZipArchive(folder.Item("a.zip")));
  EXPECT_EQ(extractor->LastErrMsg().view(), "");
  EXPECT_FALSE(extractor->IsZipArchive(folder.Item("out/a")));
  EXPECT_EQ(extractor->LastErrMsg().view(), "File does not appear to by a Zip file ('PK' header missing)");
  EXPECT_FALSE(extractor->ExtractAllSilently(nil, folder.Item("out")));
  EXPECT_EQ(extractor->LastErrMsg().view(), "No file specified");
}

}  // namespace
}  // namespace vantorel
