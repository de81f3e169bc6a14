// Archives made by other programs.
#include <algorithm>

#include "platform/text/TextFunctions.h"
#include "tests/zip/archive/OpenedZip.h"

namespace vantorel {
namespace {

using namespace testing;

TEST(Makers, NamesSizesModesAndTimesAreWhatWentIn) {
  const std::pair<const char*, std::string> cases[] = {
      {"zip", "zip -qr a.zip in"},
      {"7zz", "7zz a -bso0 a.zip in"},
      {"bsdtar", "bsdtar --format zip -cf a.zip in"},
      {"python", "python3 -c \"import shutil; shutil.make_archive('a', 'zip', '.', 'in')\""},
  };
  for (const auto& [maker, command] : cases) {
    const ScratchFolder folder;
    folder.Run("mkdir -p in/ä && printf 'hello, hello' > in/ä/f && printf x > in/run && chmod 755 in/run");
    folder.Run("touch -d '2020-02-03 04:05:06' in/run");
    folder.Run(command);
    const Ref<ZipArchive> archive = New<ZipArchive>();
    ASSERT_TRUE(archive->Open(folder.Item("a.zip"), false)) << maker << archive->ErrorMessage().view();

    const std::int32_t file = archive->EntryIdxByRawPath("in/ä/f", 1);
    ASSERT_GT(file, 0) << maker;
    EXPECT_EQ(archive->Entry(file)->Size(), 12) << maker;
    EXPECT_TRUE(archive->Entry(file)->CanExtract()) << maker;
    const std::int32_t directory = archive->EntryIdxByRawPath("in/ä/", 1);
    ASSERT_GT(directory, 0) << maker;
    EXPECT_TRUE(archive->Entry(directory)->IsDirectory()) << maker;
    const Ref<ZipEntry> run = archive->Entry(archive->EntryIdxByRawPath("in/run", 1));
    EXPECT_EQ(archive->d->shiftRight16(run->ExternalFileAttributes()), 0100755) << maker;
    const Ref<Date> time = run->Time();
    EXPECT_EQ(time->Year() * 10000 + time->Month() * 100 + time->Day(), 20200203) << maker;
    EXPECT_EQ(time->Hour() * 10000 + time->Minute() * 100 + time->Second(), 40506) << maker;
  }
}

TEST(Makers, BeyondTheFormatIsRefusedOrKnown) {
  const ScratchFolder folder;
  folder.Write("in", "some text, some text");
  folder.Run(
      "python3 -c \"import zipfile; z = zipfile.ZipFile('zip64.zip', 'w');\n"
      "with z.open('in', 'w', force_zip64=True) as f: f.write(b'x')\nz.close()\"");
  folder.Run("7zz a -bso0 -psecret secret.zip in && 7zz a -bso0 -mm=Deflate64 method.zip in");

  const Ref<ZipArchive> archive = New<ZipArchive>();
  EXPECT_FALSE(archive->Open(folder.Item("zip64.zip"), false));
  EXPECT_TRUE(archive->ErrorMessage().view().starts_with("Archive was written in a newer format"));
  const Ref<ZipArchive> encrypted = New<ZipArchive>();
  ASSERT_TRUE(encrypted->Open(folder.Item("secret.zip"), false));
  EXPECT_TRUE(encrypted->Entry(1)->IsEncrypted());
  EXPECT_FALSE(encrypted->Entry(1)->CanExtract());
}

}  // namespace
}  // namespace vantorel
