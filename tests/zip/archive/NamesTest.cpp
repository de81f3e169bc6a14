#include "platform/text/TextFunctions.h"
#include "tests/support/OpenZip.h"

namespace vantorel::testing {
namespace {

TEST(Names, AreSplitIntoComponents) {
  const struct {
    std::string name;
    Strings components;
    bool of_a_companion = false;
  } cases[] = {
      {"a/b/", {"a", "b"}},
      {"./a/./b", {"a", "b"}},
      {"a/.", {"a", "."}},
      {"a:b/c:d", {"ab", "cd"}},
      {"a/:/", {"a", ""}},
      {"//", {"", ""}},
      {"../x", {"..", "x"}},
      {":.:/a", {"a"}},
      {"./__MAC:OSX/", {"__MACOSX"}, true},
      {"__macosx/x", {"__macosx", "x"}},
      {"dir/._x", {"dir", "._x"}, true},
      {"._dir/", {"._dir"}},
      {"._a/:", {"._a"}},
      {"a:/:._b", {"a", "._b"}, true},
  };
  for (const auto& [name, components, of_a_companion] : cases) {
    const Ref<ZipEntry> e = OpenZip({{name}})->Entry(1);
    std::vector<String> path(5, String("left over"));
    e->GetPath(path);
    Strings found;
    for (const String& component : path) found.push_back(Text(component));
    EXPECT_EQ(found, components) << name;
    EXPECT_EQ(e->Name().view(), components.back()) << name;
    EXPECT_EQ(e->IsDirectory(), name.ends_with('/')) << name;
    EXPECT_EQ(e->z_hasDittoName, of_a_companion) << name;
    EXPECT_EQ(e->RawPath().view(), name);
  }
  for (const char* nothing : {"", ":", "./", "./:./"}) {
    EXPECT_THROW(OpenZip({{nothing}})->Entry(1)->Name(), OutOfBoundsException) << nothing;
  }
}

TEST(Names, AreFoundByTheirBytesIgnoringCase) {
  const auto archive = OpenZip({{"readme"}, {"b"}, {"README"}, {"/odd"}, {"ä"}});
  const auto find = [&](const char* path, int start) { return archive->EntryIdxByRawPath(path, start); };
  const std::tuple<const char*, int, int> cases[] = {{"ReadMe", 1, 1}, {"ReadMe", 2, 3}, {"readme", 4, 0},
                                                     {"readme", 6, 0}, {"/b", 1, 2},     {"/odd", 1, 0},
                                                     {"//odd", 1, 4},  {"ä", 1, 5}};
  for (const auto& [path, start, index] : cases) EXPECT_EQ(find(path, start), index) << path << start;
  EXPECT_EQ(archive->z_pathToEncName("").view(), "/");
  EXPECT_EQ(archive->z_pathToEncName("/").view(), "/");
  EXPECT_TRUE(archive->Entry(1)->SameRawPath("README"));
  for (const int outside : {0, 7}) EXPECT_THROW(find("b", outside), OutOfBoundsException);
  archive->Close();
  EXPECT_THROW(find("b", 1), RuntimeException);
}

TEST(Names, GoThroughTheEncodingOfTheArchive) {
  const ScratchFolder folder;
  const Ref<ZipArchive> archive = New<ZipArchive>();
  folder.Write("a.zip", MakeZip({{"\x81.txt"}}));  // u with diaeresis
  ASSERT_TRUE(archive->Open(folder.Item("a.zip"), false, archive->EncodedAsDOSLatinUS()));
  EXPECT_EQ(archive->EntryIdxByRawPath("ü.txt", 1), 1);
  EXPECT_EQ(archive->d->encodeForZip("ü").view(), "\x81");
  EXPECT_EQ(archive->d->encodeForZip("α").view(), "?");  // DOS could write it, Windows cannot

  const Ref<ZipEntry> entry = archive->Entry(1);
  entry->sysEncName = DefineEncoding(entry->sysEncName, Encodings::MacRoman());
  entry->z_checkRawPath();
  EXPECT_EQ(Encoding(entry->Name()), Encodings::MacRoman()) << "the same bytes under a new label";
}

TEST(Names, AreCleanedAndJoined) {
  const Ref<ZipArchive> archive = New<ZipArchive>();
  EXPECT_EQ(archive->CleanName("a/b\\c").view(), "a-b-c");
  EXPECT_THROW(archive->CleanName(String::Bytes("a")), NilObjectException);
  EXPECT_TRUE(archive->IsValidName("a-b"));
  EXPECT_FALSE(archive->IsValidName("a/b") || archive->IsValidName("a\\b"));
  EXPECT_EQ(archive->RawPath({"a/b", "c", ""}).view(), "a-b/c/");
  EXPECT_EQ(archive->d->lastInStr("xAxaXa", "XA"), 5);

  const ScratchFolder folder;
  folder.Run("mkdir -p base/sub/deep && touch base/sub/deep/f other");
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"base", "base/sub/deep/f", "sub/deep/f"}, {"base", "base", ""}, {"other", "base", ""}};
  for (const auto& [base, item, path] : cases) {
    EXPECT_EQ(archive->RawPath(folder.Item(base), folder.Item(item)).view(), path) << base;
  }
  EXPECT_THROW(archive->RawPath(folder.Item("base"), folder.Item("other")), NilObjectException)
      << "the climb passes the root of the file system";
}

}  // namespace
}  // namespace vantorel::testing
