#include "GzipSamples.h"
#include "platform/compress/ZStream.h"

namespace vantorel::testing {
namespace {

class StringWriter : public IStreamWriter {
 public:
  void Write(const String& data) override { written += data.view(); }
  std::int32_t LastError() override { return kError; }

  std::string written;
  static constexpr std::int32_t kError = -34;
};

TEST(Deflating, MakesOneMemberThatZlibReads) {
  constexpr std::size_t kHeldLimit = 8U << 20U;
  const std::tuple<const char*, std::string, std::size_t> cases[] = {
      {"nothing written", "", 1},
      {"one byte", "x", 1},
      {"byte by byte", Words(5000), 1},
      {"nothing to gain", Noise(200'000), 16384},
      {"as much as is held", Words(kHeldLimit), 16384},
      {"one byte more than is held", Words(kHeldLimit + 1), 16384},
      {"far more, in one piece", Words(2 * kHeldLimit), 2 * kHeldLimit},
  };
  for (const auto& [name, contents, piece] : cases) {
    SCOPED_TRACE(name);
    const auto writer = New<StringWriter>();
    ZStream stream(true, writer, nil);
    for (std::size_t at = 0; at < contents.size(); at += piece) {
      stream.Write(String::Bytes(std::string_view(contents).substr(at, piece)));
    }
    EXPECT_EQ(Gunzip(writer->written), "(bad)") << "ended before it is closed";
    stream.Close();
    EXPECT_EQ(stream.ErrorValue(), StringWriter::kError) << "the writer's fault is not told";
    const std::string member = writer->written;
    stream.Close();
    EXPECT_EQ(writer->written.size(), member.size()) << "closing twice adds something";
    EXPECT_TRUE(Gunzip(member) == contents);
    EXPECT_EQ(member[3], 0) << "optional fields make the header longer than 10 bytes";
    EXPECT_LT(member.size() * 100, Gzip(contents).size() * 101 + 2000) << "not the default level's ratio";
  }
}

}  // namespace
}  // namespace vantorel::testing
