// The adapters between gzip streams and the raw bytes of a member.
#include "platform/compress/Crc32.h"
#include "tests/support/ScratchFolder.h"
#include "zip/extract/ZipBinaryStreamReader.h"
#include "zip/extract/ZipBinaryStreamWriter.h"

namespace vantorel::testing {
namespace {

using Strings = std::vector<std::string>;

TEST(ZipBinaryStreamReader, DeliversPrefixStretchAndSuffixWithoutSeams) {
  const std::tuple<const char*, std::vector<std::int32_t>, Strings, std::int32_t, std::int32_t> cases[] = {
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

TEST(ZipBinaryStreamWriter, DropsTheLeadingBytes) {
  const std::tuple<std::int32_t, Strings, std::string> cases[] = {
      {0, {"abc", "", "de"}, "abcde"},
      {10, {"0123", "456789", "abcde"}, "abcde"},
      {10, {"0123456789abcdefghijklmno"}, "abcdefghijklmno"},
  };
  const ScratchFolder folder;
  for (const auto& [discard, writes, kept] : cases) {
    const Ref<BinaryStream> stream = folder.Write("a", "")->OpenAsBinaryFile(true);
    const auto writer = New<ZipBinaryStreamWriter>(stream, discard);
    writer->EnableCRCCalculation();
    std::string all;
    for (const std::string& each : writes) {
      writer->Write(String::Bytes(each));
      all += each;
    }
    writer->Close();
    EXPECT_EQ(writer->BytesWritten(), static_cast<std::int32_t>(kept.size()));
    EXPECT_EQ(writer->CRC(), Crc32OfBytes(all, 0)) << "the sum covers what is dropped";
    stream->WriteBytes("!");
    stream->Close();
    EXPECT_EQ(folder.Read("a"), kept + "!") << "the archive's stream stays open";
  }
}

}  // namespace
}  // namespace vantorel::testing
