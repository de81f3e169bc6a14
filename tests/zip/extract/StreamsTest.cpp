// The sequential streams over the forks of real files, and the one that makes a gzip member of a Zip member.
#include <fcntl.h>

#include <limits>

#include "tests/support/ResourceLimit.h"
#include "tests/support/ScratchFolder.h"
#include "zip/extract/FileReader.h"
#include "zip/extract/FileWriter.h"
#include "zip/extract/RsrcForkReader.h"
#include "zip/extract/RsrcForkWriter.h"
#include "zip/extract/ZipBinaryStreamReader.h"
#include "zip/extract/ZipBinaryStreamWriter.h"

namespace vantorel::testing {
namespace {

template <typename Stream>
std::string ErrorOf(Stream& stream) {
  std::int32_t code = 0;
  String text;
  stream.GetErrorDescription(code, text);
  return code == 0 && text.empty() ? "" : std::to_string(code) + " " + std::string(text.view());
}

TEST(FileReader, SkipsAndEndsAsItShould) {
  const ScratchFolder folder;
  const auto reader = New<FileReader>(folder.Write("a", std::string(25, 'x') + "rest"));
  EXPECT_THROW(reader->Read(1), RuntimeException);
  EXPECT_TRUE(reader->AtEOF());
  ASSERT_TRUE(reader->Open() && reader->Skip(10));
  EXPECT_FALSE(reader->Skip(15)) << "an error anywhere but at the start, and it moves all the same";
  EXPECT_EQ(reader->Read(100).view(), "rest");
  EXPECT_TRUE(reader->AtEOF());
  EXPECT_EQ(ErrorOf(*reader), "-1 open or read error");
  reader->ClearError();
  // Gives no bytes, as a disk that fails.
  reader->bs = New<BinaryStream>(open("/", O_RDONLY), false, std::uint64_t{100});
  EXPECT_EQ(reader->Read(100).view(), "");
  EXPECT_TRUE(reader->HadError());
  EXPECT_FALSE(New<FileReader>(folder.Item("none"))->Open());
}

TEST(FileWriter, AFullDiskShowsAtCloseOnly) {
  const ScratchFolder folder;
  const auto writer = New<FileWriter>(folder.Write("a", "old"));
  ASSERT_TRUE(writer->Open() && writer->Skip(5) && writer->Close());
  EXPECT_EQ(folder.Read("a"), std::string(5, '\0')) << "emptied, and grown";
  EXPECT_TRUE(writer->Close()) << "a second close is harmless";
  EXPECT_THROW(writer->Write("x"), RuntimeException);

  ASSERT_TRUE(writer->Open());
  writer->written = 0;
  {
    const ResourceLimit limit(RLIMIT_FSIZE, 1000);
    EXPECT_TRUE(writer->Write(String::Bytes(std::string(20000, 'x'))));
  }
  writer->Write(String::Bytes(std::string(20000, 'y')));
  EXPECT_FALSE(writer->Flush()) << "a hole in the middle";
  writer->ClearError();
  EXPECT_FALSE(writer->Close());
  EXPECT_EQ(ErrorOf(*writer), "-1 open or write error");
  EXPECT_FALSE(New<FileWriter>(folder.Item("none/a"))->Open());
}

TEST(RsrcForkStreams, KeepToTheFork) {
  const ScratchFolder folder;
  const Ref<FolderItem> file = folder.Write("a", "data");
  const auto reader = New<RsrcForkReader>(file);
  ASSERT_TRUE(reader->Open()) << "a file without a fork offers an empty one";
  reader->Close();
  EXPECT_THROW(reader->Read(1), RuntimeException);

  const auto writer = New<RsrcForkWriter>(file);
  EXPECT_TRUE(writer->Close()) << "a member without a fork closes a writer never opened";
  EXPECT_THROW(writer->Write("x"), RuntimeException);
  ASSERT_TRUE(writer->Open());
  EXPECT_TRUE(writer->Write("first ") && writer->Write("second") && writer->Flush() && writer->Close());

  ASSERT_TRUE(reader->Open());
  EXPECT_EQ(reader->Read(5).view(), "first");
  EXPECT_TRUE(reader->Skip(1));
  EXPECT_EQ(reader->Read(100).view(), "second") << "a count above what is left is cut";
  EXPECT_FALSE(reader->Skip(1)) << "past the end";
  EXPECT_TRUE(reader->AtEOF() && !reader->HadError());
  EXPECT_FALSE(reader->Skip(std::numeric_limits<std::int32_t>::min())) << "in front of the fork";
  ASSERT_TRUE(writer->Open());
  EXPECT_EQ(file->ResourceForkLength(), 0) << "opening again empties the fork";
}

TEST(RsrcForkStreams, AnErrorIsStickyUntilItIsCleared) {
  const ScratchFolder folder;
  const auto writer = New<RsrcForkWriter>(folder.Write("a", "data"));
  ASSERT_TRUE(writer->Open());
  writer->errCode = -36;
  EXPECT_FALSE(writer->Write("x") || writer->Skip(1) || writer->Flush() || writer->Close());
  EXPECT_EQ(ErrorOf(*writer), "-36 open or write error");

  const auto reader = New<RsrcForkReader>(folder.Item("a"));
  reader->errCode = -36;
  EXPECT_TRUE(reader->Read(1).empty() && !reader->Skip(0));
  EXPECT_EQ(ErrorOf(*reader), "-36 open or read error (-36)");
  EXPECT_TRUE(reader->Open() && !reader->HadError()) << "opening forgets the error";
  EXPECT_FALSE(New<RsrcForkWriter>(folder.Item("none/a"))->Open());
}

TEST(ZipBinaryStreamReader, TakesANegativeStretchFromWhatIsDelivered) {
  const ScratchFolder folder;
  const Ref<BinaryStream> stream = folder.Write("a", "0123456789")->OpenAsBinaryFile(false);
  const auto reader = New<ZipBinaryStreamReader>(stream, -9, "<prefix>", "tail!");
  EXPECT_EQ(reader->Remaining(), 4);
  EXPECT_EQ(reader->Read(2).view(), "<p");
  EXPECT_EQ(reader->Read(100).view(), "re");
  EXPECT_EQ(reader->LastError(), 0);
  EXPECT_EQ(reader->Read(1).view(), "");
  EXPECT_EQ(reader->LastError(), -39);
}

TEST(ZipBinaryStreamWriter, DropsTheLeadingBytesInHoweverManyPieces) {
  const ScratchFolder folder;
  const Ref<BinaryStream> stream = folder.Write("a", "")->OpenAsBinaryFile(true);
  const auto writer = New<ZipBinaryStreamWriter>(stream, 10);
  for (const char* piece : {"0123", "456789a", "bcde"}) writer->Write(piece);
  EXPECT_EQ(writer->BytesWritten(), 5);
  stream->Close();
  EXPECT_EQ(folder.Read("a"), "abcde");
}

}  // namespace
}  // namespace vantorel::testing
