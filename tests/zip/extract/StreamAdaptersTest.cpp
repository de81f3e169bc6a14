// The adapters between gzip streams and the raw bytes of a member.
#include "tests/support/ScratchFolder.h"
#include "zip/extract/ZipBinaryStreamReader.h"
#include "zip/extract/ZipBinaryStreamWriter.h"

namespace vantorel::testing {
namespace {

TEST(ZipBinaryStreamReader, DeliversPrefixStretchAndSuffixWithoutSeams) {
  const struct {
    const char* name;
    std::vector<std::int32_t> counts;
    std::vector<std::string> pieces;
    std::int32_t length;
    std::int32_t error;
  } cases[] = {
      {"an empty stretch joins prefix and suffix", {13}, {"<prefix>tail!"}, 0, 0},
      {"one read takes the rest across both seams", {4, 100, 1}, {"<pre", "fix>01234tail!", ""}, 5, -39},
      {"a read within the stretch", {9, 2, 3}, {"<prefix>0", "12", "34t"}, 5, 0},
      {"nothing asked for is no error", {0, -1}, {"", ""}, 5, 0},
      {"a stretch beyond the file shows by length only", {22, 3}, {"<prefix>0123456789ta", "il!"}, 12, 0},
      {"a negative stretch takes from what is delivered", {100, 1}, {"<pre", ""}, -9, -39},
  };
  const ScratchFolder folder;
  const Ref<FolderItem> file = folder.Write("a", "0123456789");
  for (const auto& [name, counts, pieces, length, error] : cases) {
    const auto reader = New<ZipBinaryStreamReader>(file->OpenAsBinaryFile(false), length,
                                                   String::Bytes("<prefix>"), String::Bytes("tail!"));
    EXPECT_EQ(reader->Remaining(), 13 + length) << name;
    for (std::size_t i = 0; i < counts.size(); ++i) {
      EXPECT_EQ(reader->Read(counts[i]).view(), pieces[i]) << name;
    }
    EXPECT_EQ(reader->LastError(), error) << name;
  }
}

TEST(ZipBinaryStreamWriter, DropsTheLeadingBytesInHoweverManyPieces) {
  const ScratchFolder folder;
  const Ref<BinaryStream> stream = folder.Write("a", "")->OpenAsBinaryFile(true);
  const auto writer = New<ZipBinaryStreamWriter>(stream, 10);
  for (const char* piece : {"0123", "456789", "abcde"}) writer->Write(piece);
  EXPECT_EQ(writer->BytesWritten(), 5);
  stream->Close();
  EXPECT_EQ(folder.Read("a"), "abcde");
}

}  // namespace
}  // namespace vantorel::testing
