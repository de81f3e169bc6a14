// ZStream against gzip itself, over whichever engines the build has.
#include "platform/compress/ZStream.h"

#include <algorithm>
#include <random>

#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

constexpr std::size_t kHeader = 10;

// Text-like: words of a small vocabulary.
std::string Words(std::size_t size) {
  std::mt19937 random(1);
  std::string text;
  while (text.size() < size) {
    const auto word = random() % 4096;
    text += std::to_string(word * word % 7919) + (word % 11 == 0 ? "\n" : " ");
  }
  text.resize(size);
  return text;
}

// Nothing to gain by compressing.
std::string Noise(std::size_t size) {
  std::mt19937 random(2);
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

const std::string kLargeText = Words(3'000'000);

std::string Gzip(std::string_view contents) {
  const ScratchFolder folder;
  folder.Write("contents", contents);
  return folder.Run("gzip -n < contents");
}

// The contents of a member that must be whole and right; otherwise "(bad)".
std::string Gunzip(std::string_view member) {
  const ScratchFolder folder;
  folder.Write("member", member);
  return folder.Run("gunzip < member > contents 2> /dev/null && cat contents || printf '(bad)'");
}

struct StringWriter : IStreamWriter {
  void Write(const String& data) override { written += data.view(); }
  std::int32_t LastError() override { return kError; }

  std::string written;
  static constexpr std::int32_t kError = -34;
};

TEST(Deflating, MakesOneMemberThatZlibReads) {
  constexpr std::size_t kHeldLimit = 8U << 20U;
  const std::tuple<const char*, std::string, std::size_t> cases[] = {
      {"nothing written", "", 1},
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

// Delivers a string in pieces of at most `piece` bytes.
class PieceReader : public IStreamReader {
 public:
  PieceReader(std::string bytes, std::size_t piece) : bytes_(std::move(bytes)), piece_(piece) {}
  String Read(std::int32_t count) override {
    const std::size_t n = std::min({piece_, static_cast<std::size_t>(count), bytes_.size() - position_});
    position_ += n;
    return String::Bytes(std::string_view(bytes_).substr(position_ - n, n));
  }
  std::int32_t LastError() override { return 0; }

 private:
  std::string bytes_;
  std::size_t piece_;
  std::size_t position_ = 0;
};

// Reads to the end or to the first fault.
std::pair<std::string, std::int32_t> Inflate(const std::string& member) {
  constexpr std::int32_t kCount = 16256;
  ZStream stream(false, nil, New<PieceReader>(member, 1U << 30U));
  std::string all;
  while (stream.ErrorValue() == 0) {
    const String bytes = stream.Read(kCount);
    all += bytes.view();
    if (bytes.size() == static_cast<std::size_t>(kCount)) continue;
    EXPECT_NE(stream.ErrorValue(), 0) << "a short read without end or fault";
    break;
  }
  const std::int32_t error = stream.ErrorValue();
  EXPECT_TRUE(stream.Read(kCount).empty()) << "bytes behind the end";
  EXPECT_EQ(stream.ErrorValue(), error) << "the outcome does not last";
  return {all, error};
}

TEST(Inflating, GivesBackWhatWasCompressedAndTellsFaultsApart) {
  const std::tuple<const char*, std::string (*)(std::string member), std::int32_t> cases[] = {
      {"a second member is not read", [](std::string m) { return m + m; }, 1},
      {"a name in the header", [](std::string m) { return m[3] = 8, m.insert(kHeader, "name", 5); }, 1},
      {"wrong checksum", [](std::string m) { return m[m.size() - 5] ^= 1, m; }, -3},
      {"wrong length", [](std::string m) { return m[m.size() - 4] ^= 1, m; }, -3},
      {"no gzip at all", [](std::string m) { return m[0] = 'P', m; }, -3},
      {"a method other than deflate", [](std::string m) { return m[2] = 9, m; }, -3},
      {"reserved flag set", [](std::string m) { return m[3] = '\x80', m; }, -3},
      {"a block type that does not exist", [](std::string m) { return m[kHeader] |= 6, m; }, -3},
      {"cut in the header", [](std::string m) { return m.substr(0, 7); }, -5},
      {"cut in the data", [](std::string m) { return m.substr(0, m.size() / 2); }, -5},
      {"cut before the trailer", [](std::string m) { return m.substr(0, m.size() - 8); }, -5},
      {"cut in the trailer", [](std::string m) { return m.substr(0, m.size() - 3); }, -5},
  };
  // The third just fills a window; the trailer is still to come then.
  for (const std::string& contents : {std::string("x"), Noise(300'000), Words(65536), kLargeText}) {
    const std::string member = Gzip(contents);
    for (const auto& [name, damage, error] : cases) {
      SCOPED_TRACE(std::string(name) + ", contents of " + std::to_string(contents.size()));
      const auto [bytes, found] = Inflate(damage(member));
      EXPECT_EQ(found, error);
      EXPECT_TRUE(contents.starts_with(bytes)) << "bytes that were never compressed";
      for (const std::size_t piece : {std::size_t{777}, member.size() - 8}) {
        ZStream stream(false, nil, New<PieceReader>(member, piece));
        EXPECT_TRUE(stream.Read(static_cast<std::int32_t>(contents.size())).view() == contents);
        EXPECT_EQ(stream.ErrorValue(), 1) << "the read of the last byte does not tell the end";
      }
    }
  }
}

}  // namespace
}  // namespace vantorel::testing
