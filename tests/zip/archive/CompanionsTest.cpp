#include <algorithm>
#include <map>
#include <random>

#include "platform/text/TextFunctions.h"
#include "tests/zip/archive/OpenedZip.h"

namespace vantorel {
namespace {

using namespace testing;

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
    std::string line(e->RawPath().view());
    if (e->appleDoubleEntry) line += " <- " + std::string(e->appleDoubleEntry->RawPath().view());
    EXPECT_FALSE(e->thisIsTheAppleDoubleEntry);
    EXPECT_TRUE(!e->appleDoubleEntry || e->appleDoubleEntry->thisIsTheAppleDoubleEntry);
    shown.push_back(line);
  }
  return shown;
}

TEST(Companions, AreFolded) {
  struct Case {
    const char* name;
    Strings members;
    Strings shown;
    bool ditto;
  };
  const Case cases[] = {
      {"a file", {"a", "__MACOSX/", "__MACOSX/._a"}, {"a <- __MACOSX/._a"}, true},
      {"a file and a folder",
       {"d/", "d/f", "__MACOSX/d/", "__MACOSX/d/._f", "__MACOSX/._d"},
       {"d/ <- __MACOSX/._d", "d/f <- __MACOSX/d/._f"},
       true},
      {"beside its file, without the folder", {"d/f", "d/._f"}, {"d/f <- d/._f"}, true},
      {"in front of its file", {"__MACOSX/._a", "a"}, {"a <- __MACOSX/._a"}, true},
      {"a name with umlauts", {"ä/ö", "__MACOSX/ä/._ö"}, {"ä/ö <- __MACOSX/ä/._ö"}, true},
      {"in a folder of another case", {"a", "__macosx/._a"}, {"a <- __macosx/._a"}, true},
      {"a second one stays, the one in front",
       {"a", "._a", "__MACOSX/._a"},
       {"a <- __MACOSX/._a", "._a"},
       true},
      {"of two files with one name the later", {"a", "a", "._a"}, {"a", "a <- ._a"}, true},
      {"without a file it stays", {"b", "__MACOSX/._a"}, {"b", "__MACOSX/._a"}, false},
      {"the folder alone goes", {"a", "__MACOSX/"}, {"a"}, false},
      {"the folder in another case stays", {"a", "__macosx/"}, {"a", "__macosx/"}, false},
      {"the last mark in the name counts", {"x/._d/f", "x/._d/._f"}, {"x/._d/f <- x/._d/._f"}, true},
      {"an empty rest of the name", {"d/", "d/._"}, {"d/", "d/._"}, false},
      {"names that differ in case only", {"n", "N", "._N", "._n"}, {"n <- ._n", "N <- ._N"}, true},
      {"of a folder that goes itself", {"a", "__MACOSX/__MACOSX/._d", "__MACOSX/d/"}, {"a"}, true},
      {"of a companion", {"x", "._x", "._._x"}, {"x <- ._x"}, true},
  };
  for (const Case& c : cases) {
    const OpenedZip zip(Ditto(c.members));
    EXPECT_EQ(Shown(zip), c.shown) << c.name;
    EXPECT_EQ(zip.archive->UsesAppleDittoFormat(), c.ditto) << c.name;
  }
}

TEST(Companions, NeedTheUnixRecordAndNothingElse) {
  const std::string zpit = ExtraRecordBytes(0x2705, "ZPITTEXTttxt");
  for (const std::string& extra :
       {std::string(), kUnix + kUnix, kUnix + zpit, UnixExtra(1, 2).substr(0, 11)}) {
    std::vector<ZipMember> members = Ditto({"a", "__MACOSX/", "__MACOSX/._a"});
    members[1].central_extra = members[2].central_extra = extra;
    EXPECT_EQ(OpenedZip(members).archive->EntryCount(), 3);
  }
}

TEST(Companions, FindTheirFilesInAnyOrder) {
  Strings names;
  std::map<std::string, std::string> expected;
  for (int i = 0; i < 500; ++i) {
    const std::string folder = "f" + std::to_string(i % 7) + "/";
    const std::string file = "n" + std::to_string(i);
    names.push_back(folder + file);
    names.push_back("__MACOSX/" + folder + "._" + file);
    expected[folder + file] = names.back();
  }
  for (unsigned seed = 0; seed < 3; ++seed) {
    if (seed > 0) std::shuffle(names.begin(), names.end(), std::minstd_rand(seed));
    const OpenedZip zip(Ditto(names));
    ASSERT_EQ(zip.archive->EntryCount(), 500);
    for (std::int32_t i = 1; i <= 500; ++i) {
      const Ref<ZipEntry> e = zip.archive->Entry(i);
      EXPECT_EQ(e->appleDoubleEntry->RawPath().view(), expected[std::string(e->RawPath().view())]);
    }
  }
}

TEST(Companions, AreFoldedByACallersIndex) {
  const OpenedZip zip(MakeZip({{"a"}}), true);
  const Ref<ZipArchiveData> d = zip.archive->d;
  const Ref<ZipExtraField> extra = zip.archive->MakeZipExtraField(String::Bytes(kUnix));
  extra->Lock();
  const Ref<Dictionary> index = New<Dictionary>();
  for (const char* name : {"._a", "d/", "__MACOSX/._d", "._d"}) {
    d->entries_1.push_back(New<ZipEntry>(d, nil, String::Bytes(name), extra, ""));
  }
  index->SetValue(EncodeBase64("d", 76), Ref<Object>(d->entries_1[3]));
  d->checkDirectory(index);
  EXPECT_EQ(Shown(zip), (Strings{"a", "._a", "d/ <- ._d", "__MACOSX/._d"}));
  EXPECT_EQ(index->Count(), 0);
}

}  // namespace
}  // namespace vantorel
