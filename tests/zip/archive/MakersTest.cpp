// Archives made by other programs.
#include <algorithm>

#include "platform/text/TextFunctions.h"
#include "tests/support/OpenZip.h"

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

// The message of the first member's extraction; that of the archive if it does not open.
std::string Complaint(const ScratchFolder& folder, const char* file) {
  const Ref<ZipArchive> archive = New<ZipArchive>();
  if (!archive->Open(folder.Item(file), false)) return std::string(archive->ErrorMessage().view());
  const Ref<ZipEntry> entry = archive->Entry(1);
  if (entry->CanExtract() || entry->Extract(folder.Item("out"), true)) return "extracted";
  return std::string(entry->ErrorMessage().view());
}

TEST(Makers, BeyondTheFormatIsRefusedInWords) {
  const ScratchFolder folder;
  folder.Run("seq 3000 >in");
  const std::string newer =
      "Archive was written in a newer format than what this software supports (it supports up to v2.0 "
      "archives)";
  const struct {
    const char* file;
    const char* command;
    std::string message;
  } cases[] = {
      {"zip64.zip",
       "python3 -c \"import zipfile; z = zipfile.ZipFile('zip64.zip', 'w')\n"
       "with z.open('in', 'w', force_zip64=True) as f: f.write(b'x')\nz.close()\"",
       newer},
      {"method.zip", "7zz a -bso0 -mm=Deflate64 method.zip in", newer},
      {"aes.zip", "7zz a -bso0 -psecret -mem=AES256 aes.zip in", newer},
      {"secret.zip", "zip -qP secret secret.zip in", "Unsupported format (encrypted)"},
  };
  for (const auto& [file, command, message] : cases) {
    folder.Run(command);
    EXPECT_EQ(Complaint(folder, file), message) << file;
  }
}

}  // namespace
}  // namespace vantorel
