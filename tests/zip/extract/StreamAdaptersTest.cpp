// The adapters between gzip streams and the raw bytes of a member.
#include <gtest/gtest.h>

#include <string>

#include "platform/compress/Crc32.h"
#include "tests/support/ScratchFolder.h"
#include "zip/extract/ZipBinaryStreamReader.h"
#include "zip/extract/ZipBinaryStreamWriter.h"

namespace vantorel {
namespace {

using testing::ScratchFolder;

TEST(ZipBinaryStreamReader, DeliversPrefixStretchAndSuffixWithoutSeams) {
  struct Case {
    const char* name;
    std::vector<std::int32_t> counts;
    std::vector<std::string> pieces;
    std::int32_t length;
    std::int32_t error;
  };
  const Case cases[] = {
      {"an empty stretch joins prefix and suffix", {13}, {"<prefix>tail!"}, 0, 0},
      {"one read takes the rest across both seams", {4, 100, 1}, {"<pre", "fix>01234tail!", ""}, 5, -39},
      {"a read within the stretch", {9, 2, 3}, {"<prefix>0", "12", "34t"}, 5, 0},
      {"nothing asked for is no error", {0, -1}, {"", ""}, 5, 0},
      {"a stretch beyond the file shows by missing bytes only",
       {22, 3},
       {"<prefix>0123456789ta", "il!"},
       12,
       0},
      {"a negative stretch takes from what is delivered", {100, 1}, {"<pre", ""}, -9, -39},
  };
  const ScratchFolder folder;
  const Ref<FolderItem> file = folder.Write("a", "0123456789");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto reader = New<ZipBinaryStreamReader>(file->OpenAsBinaryFile(false), c.length,
                                                   String::Bytes("<prefix>"), String::Bytes("tail!"));
    EXPECT_EQ(reader->Remaining(), 13 + c.length);
    for (std::size_t i = 0; i < c.counts.size(); ++i)
      EXPECT_EQ(reader->Read(c.counts[i]).view(), c.pieces[i]);
    EXPECT_EQ(reader->LastError(), c.error);
  }
}

TEST(ZipBinaryStreamWriter, DropsTheLeadingBytes) {
  struct Case {
    const char* name;
    std::int32_t discard;
    std::vector<std::string> writes;
    std::string file;
  };
  const Case cases[] = {
      {"nothing to drop", 0, {"abc", "", "de"}, "abcde"},
      {"dropped in pieces", 10, {"0123", "456789", "abcde"}, "abcde"},
      {"dropped from the front of one write", 10, {"0123456789abcdefghijklmno"}, "abcdefghijklmno"},
  };
  const ScratchFolder folder;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Ref<BinaryStream> stream = folder.Write("a", "")->OpenAsBinaryFile(true);
    const auto writer = New<ZipBinaryStreamWriter>(stream, c.discard);
    writer->EnableCRCCalculation();
    std::string all;
    for (const std::string& each : c.writes) {
      writer->Write(String::Bytes(each));
      all += each;
    }
    writer->Close();
    EXPECT_EQ(writer->BytesWritten(), static_cast<std::int32_t>(c.file.size()));
    EXPECT_EQ(writer->CRC(), Crc32OfBytes(all, 0)) << "the sum covers what is dropped";
    stream->WriteBytes("!");
    stream->Close();
    EXPECT_EQ(folder.Read("a"), c.file + "!") << "the archive's stream stays open";
  }
}

}  // namespace
}  // namespace vantorel
