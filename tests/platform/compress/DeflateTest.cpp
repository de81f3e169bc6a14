#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "GzipSamples.h"
#include "platform/base/Exceptions.h"
#include "platform/compress/ZStream.h"

namespace vantorel {
namespace {

using testing::Gunzip;
using testing::Gzip;
using testing::kHeader;
using testing::Noise;
using testing::Words;

class StringWriter : public IStreamWriter {
 public:
  void Write(const String& data) override { written += data.view(); }
  std::int32_t LastError() override { return error; }

  std::string written;
  std::int32_t error = 0;
};

class Deflating : public ::testing::TestWithParam<CompressEngine> {};

INSTANTIATE_TEST_SUITE_P(Engines, Deflating, ::testing::Values(CompressEngine::Zlib, CompressEngine::Fast),
                         testing::EngineName);

std::string Deflate(CompressEngine engine, std::string_view contents, std::size_t piece) {
  const auto writer = New<StringWriter>();
  ZStream stream(true, writer, nil, engine);
  for (; !contents.empty(); contents.remove_prefix(std::min(piece, contents.size()))) {
    stream.Write(String::Bytes(contents.substr(0, piece)));
  }
  stream.Close();
  EXPECT_EQ(stream.ErrorValue(), 0);
  return writer->written;
}

TEST_P(Deflating, MakesOneMemberThatZlibReads) {
  constexpr std::size_t kHeldLimit = 8U << 20U;
  struct Case {
    const char* name;
    std::string contents;
    std::size_t piece;
  };
  const Case cases[] = {
      {"nothing written", "", 1},
      {"one byte", "x", 1},
      {"byte by byte", Words(5000), 1},
      {"nothing to gain", Noise(200'000), 16384},
      {"as much as is held", Words(kHeldLimit), 16384},
      {"one byte more than is held", Words(kHeldLimit + 1), 16384},
      {"far more, in one piece", Words(2 * kHeldLimit), 2 * kHeldLimit},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string member = Deflate(GetParam(), c.contents, c.piece);
    EXPECT_TRUE(Gunzip(member, c.contents.size()) == c.contents);
    EXPECT_EQ(member[3], 0) << "optional fields make the header longer than 10 bytes";
    EXPECT_LT(member.size() * 100, Gzip(c.contents).size() * 101 + 2000) << "not the default level's ratio";
  }
}

TEST_P(Deflating, WithoutCloseTheMemberIsNotEnded) {
  const auto writer = New<StringWriter>();
  { ZStream(true, writer, nil, GetParam()).Write("abc"); }
  EXPECT_EQ(Gunzip(writer->written, 3), "(bad)");
}

TEST_P(Deflating, ClosingTwiceAddsNothing) {
  const auto writer = New<StringWriter>();
  ZStream stream(true, writer, nil, GetParam());
  stream.Write("abc");
  stream.Close();
  const std::string member = writer->written;
  stream.Close();
  EXPECT_EQ(writer->written, member);
  EXPECT_EQ(Gunzip(member, 3), "abc");
}

TEST_P(Deflating, TellsTheWritersFault) {
  const auto writer = New<StringWriter>();
  writer->error = -34;
  ZStream stream(true, writer, nil, GetParam());
  stream.Close();
  EXPECT_EQ(stream.ErrorValue(), -34);
}

TEST_P(Deflating, TheOtherKindOfOperationIsTheCallersFault) {
  EXPECT_THROW(ZStream(true, New<StringWriter>(), nil, GetParam()).Read(1), RuntimeException);
  EXPECT_THROW(ZStream(false, nil, nil, GetParam()).Write("x"), RuntimeException);
}

}  // namespace
}  // namespace vantorel
