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

TEST(Companions, NeedTheUnixRecordAndNothingElse) {
  const std::string zpit = ExtraRecordBytes(0x2705, "ZPITTEXTttxt");
  for (const std::string& extra : {std::string(), kUnix + kUnix, kUnix + zpit, kUnix.substr(0, 11)}) {
    std::vector<ZipMember> members = Ditto({"a", "__MACOSX/", "__MACOSX/._a"});
    members[1].central_extra = members[2].central_extra = extra;
    EXPECT_EQ(OpenedZip(members).archive->EntryCount(), 3);
  }
}

TEST(Companions, AreFoldedByACallersIndex) {
  const OpenedZip zip(MakeZip({{"a"}}), true);
  const Ref<ZipArchiveData> d = zip.archive->d;
  const Ref<ZipExtraField> extra = zip.archive->MakeZipExtraField(String::Bytes(kUnix));
  extra->Lock();
  for (const char* name : {"._a", "d/", "__MACOSX/._d", "._d"}) {
    d->entries_1.push_back(New<ZipEntry>(d, nil, String::Bytes(name), extra, ""));
  }
  const Ref<Dictionary> index = New<Dictionary>();
  index->SetValue(EncodeBase64("d", 76), Ref<Object>(d->entries_1[3]));
  d->checkDirectory(index);
  EXPECT_EQ(Shown(zip), (Strings{"a", "._a", "d/ <- ._d", "__MACOSX/._d"}));
  EXPECT_EQ(index->Count(), 0);
}

// Sees what the reader of the directory hands to it.
struct OwnCheck : ZipArchiveData {
  void checkDirectory(const Ref<Dictionary>& index) override {
    ZipArchiveData::checkDirectory(index);
    for (std::int32_t i = 0; i < index->Count(); ++i) keys.emplace_back(index->Key(i).view());
  }
  Strings keys;
};

TEST(Companions, AreFoldedByAClassOfItsOwn) {
  const ScratchFolder folder;
  const Ref<OwnCheck> own = New<OwnCheck>();
  const Ref<ZipArchive> archive = New<ZipArchive>();
  archive->d = own;
  ASSERT_TRUE(archive->Open(folder.Write("a.zip", MakeZip(Ditto({"d/", "__MACOSX/._d"}))), false));
  EXPECT_EQ(own->keys, (Strings{"X19NQUNPU1gvLl9k"})) << "the key of the main entry is used up";
  EXPECT_EQ(archive->EntryCount(), 1);
}

// What a failed Open leaves in the list takes no part in what the next one reads.
TEST(Companions, AreNotTakenByWhatIsLeftOver) {
  std::vector<ZipMember> bad = Ditto({"a", "__MACOSX/", "bad"});
  bad[2].central_magic = 1;
  OpenedZip zip(bad);
  EXPECT_FALSE(zip.opened);
  ASSERT_TRUE(zip.archive->Open(zip.folder.Write("b.zip", MakeZip(Ditto({"x", "._a"}))), false));
  EXPECT_EQ(Shown(zip), (Strings{"a", "x", "._a"}));
}

}  // namespace
}  // namespace vantorel::testing
