#include "platform/text/TextFunctions.h"
#include "tests/zip/archive/OpenedZip.h"

namespace vantorel {
namespace {

using namespace testing;

Strings Views(const std::vector<String>& texts) {
  Strings views;
  for (const String& text : texts) views.emplace_back(text.view());
  return views;
}

TEST(Names, AreSplitIntoComponents) {
  struct Case {
    std::string name;
    Strings path;
    bool folder;
    bool ditto;
  };
  const Case cases[] = {
      {"a/b/", {"a", "b"}, true, false},
      {"./a/./b", {"a", "b"}, false, false},
      {"a/.", {"a", "."}, false, false},
      {"a:b/c:d", {"ab", "cd"}, false, false},
      {"a/:", {"a"}, false, false},
      {"a/b:", {"a", "b"}, false, false},
      {"a/:/", {"a", ""}, true, false},
      {"/", {""}, true, false},
      {"//", {"", ""}, true, false},
      {"/a//b", {"", "a", "", "b"}, false, false},
      {"../x", {"..", "x"}, false, false},
      {":.:/a", {"a"}, false, false},
      {"__MACOSX/x", {"__MACOSX", "x"}, false, true},
      {"./__MAC:OSX/", {"__MACOSX"}, true, true},
      {"__macosx/x", {"__macosx", "x"}, false, false},
      {"dir/._x", {"dir", "._x"}, false, true},
      {"._dir/", {"._dir"}, true, false},
      {"._a/:", {"._a"}, false, false},
      {"a:/:._b", {"a", "._b"}, false, true},
  };
  for (const Case& c : cases) {
    const OpenedZip zip({{c.name}});
    const Ref<ZipEntry> e = zip.First();
    std::vector<String> path = {"left over", "left over", "left over", "left over", "left over"};
    e->GetPath(path);
    EXPECT_EQ(Views(path), c.path) << c.name;
    EXPECT_EQ(e->Name().view(), c.path.back()) << c.name;
    EXPECT_EQ(e->IsDirectory(), c.folder) << c.name;
    EXPECT_EQ(e->z_hasDittoName, c.ditto) << c.name;
    EXPECT_EQ(e->RawPath().view(), c.name);
    EXPECT_EQ(e->z_origEncodedName().view(), c.name);
  }
}

TEST(Names, OfNothingHaveNoLastComponent) {
  for (const char* name : {"", ":", "./", "./:./"}) {
    EXPECT_THROW(OpenedZip({{name}}).First()->Name(), OutOfBoundsException) << name;
  }
}

TEST(Names, AreFoundByTheirBytesIgnoringCase) {
  const OpenedZip zip({{"readme"}, {"b"}, {"README"}, {"/odd"}, {"ä"}});
  const auto find = [&](const char* path, int start) { return zip.archive->EntryIdxByRawPath(path, start); };
  EXPECT_EQ(find("ReadMe", 1), 1);
  EXPECT_EQ(find("ReadMe", 2), 3);
  EXPECT_EQ(find("readme", 4), 0);
  EXPECT_EQ(find("readme", 6), 0);
  EXPECT_EQ(find("/b", 1), 2);
  EXPECT_EQ(find("/odd", 1), 0);
  EXPECT_EQ(find("//odd", 1), 4);
  EXPECT_EQ(zip.archive->EntryIdxByRawPath(String::Bytes("ä"), 1), 5);
  EXPECT_EQ(zip.archive->z_pathToEncName("").view(), "/");
  EXPECT_EQ(zip.archive->z_pathToEncName("/").view(), "/");
  EXPECT_TRUE(zip.First()->SameRawPath("README"));
  EXPECT_THROW(find("b", 0), OutOfBoundsException);
  EXPECT_THROW(find("b", 7), OutOfBoundsException);
  zip.archive->Close();
  EXPECT_THROW(find("b", 1), RuntimeException);
}

TEST(Names, GoThroughTheEncodingOfTheArchive) {
  const ScratchFolder folder;
  const Ref<ZipArchive> archive = New<ZipArchive>();
  folder.Write("a.zip", MakeZip({{"\x81.txt"}, {"\x9F.txt"}}));  // u with diaeresis, florin sign
  ASSERT_TRUE(archive->Open(folder.Item("a.zip"), false, archive->EncodedAsDOSLatinUS()));
  EXPECT_EQ(ConvertEncoding(archive->Entry(1)->RawPath(), Encodings::UTF8()).view(), "ü.txt");
  EXPECT_EQ(archive->EntryIdxByRawPath("ü.txt", 1), 1);
  EXPECT_EQ(archive->d->encodeForZip("ü").view(), "\x81");
  EXPECT_EQ(archive->d->encodeForZip("α").view(), "?");  // DOS could write it, Windows cannot
}

TEST(Names, AreCleanedBeforeTheyAreJoined) {
  const Ref<ZipArchive> archive = New<ZipArchive>();
  EXPECT_EQ(archive->EncodedAsMacDefault(), Encodings::MacRoman());
  EXPECT_EQ(archive->CleanName("a/b\\c").view(), "a-b-c");
  EXPECT_THROW(archive->CleanName(String::Bytes("a")), NilObjectException);
  EXPECT_FALSE(archive->IsValidName("a/b"));
  EXPECT_FALSE(archive->IsValidName("a\\b"));
  EXPECT_TRUE(archive->IsValidName("a-b"));
  EXPECT_EQ(archive->RawPath({"a/b", "c", ""}).view(), "a-b/c/");
  EXPECT_EQ(archive->RawPath(std::vector<String>{}).view(), "");
  EXPECT_EQ(archive->d->lastInStr("xAxaXa", "XA"), 5);
  EXPECT_EQ(archive->d->lastInStr("aaa", "aa"), 2);
}

TEST(Names, OfFilesAreTakenFromTheBaseFolder) {
  const ScratchFolder folder;
  folder.Run("mkdir -p base/sub/deep && touch base/sub/deep/f other");
  const Ref<ZipArchive> archive = New<ZipArchive>();
  const auto path = [&](const char* item) {
    return std::string(archive->RawPath(folder.Item("base"), folder.Item(item)).view());
  };
  EXPECT_EQ(path("base/sub/deep/f"), "sub/deep/f");
  EXPECT_EQ(path("base/sub"), "sub");
  EXPECT_EQ(path("base"), "");
  EXPECT_THROW(path("other"), NilObjectException);  // the climb passes the root of the file system
  EXPECT_EQ(archive->RawPath(folder.Item("other"), folder.Item("base")).view(), "");
}

}  // namespace
}  // namespace vantorel
