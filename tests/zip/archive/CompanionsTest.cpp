#include "platform/text/TextFunctions.h"
#include "tests/support/OpenZip.h"

namespace vantorel::testing {
namespace {

const std::string kUnix = UnixExtra(1, 2);

// Members that all carry what Apple's tools put into the central extra field.
std::vector<ZipMember> Ditto(const Strings& names) {
  std::vector<ZipMember> members;
  for (const std::string& name : names) members.push_back({.name = name, .central_extra = kUnix});
  return members;
}

// What the list shows: each name, with its companion's behind an arrow.
Strings Shown(const OpenedZip& zip) {
  Strings shown;
  for (std::int32_t i = 1; i <= zip.archive->EntryCount(); ++i) {
    const Ref<ZipEntry> e = zip.archive->Entry(i);
    shown.emplace_back(e->RawPath().view());
    if (e->appleDoubleEntry) shown.back() += " <- " + std::string(e->appleDoubleEntry->RawPath().view());
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
      {"in front of its file", {"__MACOSX/._a", "a"}, {"a <- __MACOSX/._a"}},
      {"a name with umlauts", {"ä/ö", "__MACOSX/ä/._ö"}, {"ä/ö <- __MACOSX/ä/._ö"}},
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
    const OpenedZip zip(Ditto(members));
    EXPECT_EQ(Shown(zip), shown) << name;
    EXPECT_EQ(zip.archive->UsesAppleDittoFormat(), ditto) << name;
  }
}

TEST(Companions, NeedTheUnixRecord) {
  EXPECT_EQ(OpenedZip({{"a"}, {"__MACOSX/"}, {"__MACOSX/._a"}}).archive->EntryCount(), 3);
}

// Hides one entry from the folding, and sees what that leaves in the index.
struct OwnCheck : ZipArchiveData {
  void checkDirectory(const Ref<Dictionary>& index) override {
    index->Remove(EncodeBase64("a", 76));
    ZipArchiveData::checkDirectory(index);
    for (std::int32_t i = 0; i < index->Count(); ++i) keys.emplace_back(index->Key(i).view());
  }
  Strings keys;
};

TEST(Companions, AreFoldedByTheIndexOfAClassOfItsOwn) {
  OpenedZip zip;
  const Ref<OwnCheck> own = New<OwnCheck>();
  zip.archive->d = own;
  ASSERT_TRUE(zip.Open(MakeZip(Ditto({"a", "._a", "d/", "__MACOSX/._d"}))));
  EXPECT_EQ(Shown(zip), (Strings{"a", "._a", "d/ <- __MACOSX/._d"}));
  EXPECT_EQ(own->keys, (Strings{"Ll9h", "X19NQUNPU1gvLl9k"})) << "the key of the main entry is used up";
}

// What a failed Open leaves in the list takes no part in what the next one reads.
TEST(Companions, AreNotTakenByWhatIsLeftOver) {
  std::vector<ZipMember> bad = Ditto({"a", "__MACOSX/", "bad"});
  bad[2].central_magic = 1;
  OpenedZip zip(bad);
  EXPECT_FALSE(zip.opened);
  ASSERT_TRUE(zip.Open(MakeZip(Ditto({"x", "._a"}))));
  EXPECT_EQ(Shown(zip), (Strings{"a", "x", "._a"}));
}

}  // namespace
}  // namespace vantorel::testing
