// What names mean: components, look-up, and which member is the companion of another.
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

// Members that all carry what Apple's tools put into the central extra field.
std::string Ditto(const Strings& names) {
  std::vector<ZipMember> members;
  for (const std::string& name : names) members.push_back({.name = name, .central_extra = UnixExtra(1, 2)});
  return MakeZip(members);
}

// What the list shows: each name, with its companion's behind an arrow.
Strings Shown(ZipArchive& archive) {
  Strings shown;
  for (std::int32_t i = 1; i <= archive.EntryCount(); ++i) {
    const Ref<ZipEntry> e = archive.Entry(i);
    shown.push_back(Text(e->RawPath()));
    if (e->appleDoubleEntry) shown.back() += " <- " + Text(e->appleDoubleEntry->RawPath());
    EXPECT_FALSE(e->thisIsTheAppleDoubleEntry);
    EXPECT_TRUE(!e->appleDoubleEntry || e->appleDoubleEntry->thisIsTheAppleDoubleEntry);
  }
  return shown;
}

TEST(Companions, AreFolded) {
  const struct {
    const char* name;
    Strings members;
    Strings shown;
    bool ditto = true;
  } cases[] = {
      {"a file", {"a", "__MACOSX/", "__MACOSX/._a"}, {"a <- __MACOSX/._a"}},
      {"a folder", {"d/", "__MACOSX/d/", "__MACOSX/._d"}, {"d/ <- __MACOSX/._d"}},
      {"beside its file, without the folder", {"d/f", "d/._f"}, {"d/f <- d/._f"}},
      {"in a folder of another case", {"a", "__macosx/._a"}, {"a <- __macosx/._a"}},
      {"of two the one behind", {"a", "._a", "__MACOSX/._a"}, {"a <- __MACOSX/._a", "._a"}},
      {"of two files with one name the later", {"a", "a", "._a"}, {"a", "a <- ._a"}},
      {"without a file it stays", {"b", "__MACOSX/._a"}, {"b", "__MACOSX/._a"}, false},
      {"the folder alone goes", {"a", "__MACOSX/"}, {"a"}, false},
      {"the folder in another case stays", {"a", "__macosx/"}, {"a", "__macosx/"}, false},
      {"the last mark in the name counts", {"x/._d/f", "x/._d/._f"}, {"x/._d/f <- x/._d/._f"}},
      {"an empty rest of the name", {"d/", "d/._"}, {"d/", "d/._"}, false},
      {"names that differ in case only", {"n", "N", "._N", "._n"}, {"n <- ._n", "N <- ._N"}},
      {"of a folder that goes itself", {"a", "__MACOSX/__MACOSX/._d", "__MACOSX/d/"}, {"a"}},
      {"of a companion", {"x", "._x", "._._x"}, {"x <- ._x"}},
  };
  for (const auto& [name, members, shown, ditto] : cases) {
    const auto archive = OpenBytes(Ditto(members));
    EXPECT_EQ(Shown(*archive), shown) << name;
    EXPECT_EQ(archive->UsesAppleDittoFormat(), ditto) << name;
  }
  EXPECT_EQ(OpenZip({{"a"}, {"__MACOSX/"}, {"__MACOSX/._a"}})->EntryCount(), 3) << "no Unix record";
}

// Hides one entry from the folding, and sees what that leaves in the index.
struct OwnCheck : ZipArchiveData {
  void checkDirectory(const Ref<Dictionary>& index) override {
    index->Remove(EncodeBase64("a", 76));
    ZipArchiveData::checkDirectory(index);
    EXPECT_EQ(index->Count(), 2) << "the key of the main entry is used up";
  }
};
struct OwnFields : ZipArchive {
  using ZipArchive::MakeZipExtraField;
  Ref<ZipExtraField> MakeZipExtraField(const String& block) override {
    return last = ZipArchive::MakeZipExtraField(block);
  }
  Ref<ZipExtraField> last;
};

TEST(Companions, AreFoldedByClassesOfTheirOwn) {
  const ScratchFolder folder;
  const auto archive = New<OwnFields>();
  archive->d = New<OwnCheck>();
  ASSERT_TRUE(archive->Open(folder.Write("a.zip", Ditto({"a", "._a", "d/", "__MACOSX/._d"})), false));
  EXPECT_EQ(Shown(*archive), (Strings{"a", "._a", "d/ <- __MACOSX/._d"}));
  EXPECT_EQ(archive->Entry(3)->appleDoubleEntry->ExtraFieldInCentralDir(), archive->last);
}

// What a failed Open leaves in the list takes no part in what the next one reads.
TEST(Companions, AreNotTakenByWhatIsLeftOver) {
  const ScratchFolder folder;
  const auto archive = New<ZipArchive>();
  std::string bad = Ditto({"a", "__MACOSX/", "bad"});
  bad[bad.rfind("PK\1\2")] = 'x';
  EXPECT_FALSE(archive->Open(folder.Write("a.zip", bad), false));
  ASSERT_TRUE(archive->Open(folder.Write("a.zip", Ditto({"x", "._a"})), false));
  EXPECT_EQ(Shown(*archive), (Strings{"a", "x", "._a"}));
}

}  // namespace
}  // namespace vantorel::testing
