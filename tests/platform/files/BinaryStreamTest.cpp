#include "platform/files/BinaryStream.h"

#include <algorithm>
#include <random>

#include "tests/support/ResourceLimit.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

// A file with the given content, and what of it has reached the kernel.
struct File {
  explicit File(const std::string& content = "") {
    stream = folder.Write("f", content)->OpenAsBinaryFile(true);
  }
  std::string Content() const { return folder.Read("f"); }

  ScratchFolder folder;
  Ref<BinaryStream> stream;
};

std::string Bytes(std::size_t count, unsigned seed) {
  std::string bytes(count, '\0');
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<char>(i * 7 + i / 251 + seed);
  return bytes;
}

TEST(BinaryStream, NumbersAndTheEnd) {
  File file(std::string("\x12\x34\x56\x78\xFF\xFE", 6));
  EXPECT_EQ(file.stream->ReadLong(), 0x12345678);
  EXPECT_EQ(file.stream->ReadShort(), -2);
  file.stream->SetLittleEndian(true);
  file.stream->SetPosition(4);
  EXPECT_EQ(file.stream->ReadLong(), 0xFEFF) << "cut short by the end";
  EXPECT_EQ(file.stream->Position(), 8U);
  file.stream->SetPosition(0);
  file.stream->WriteLong(-2);
  file.stream->SetPosition(0);
  EXPECT_TRUE(file.stream->Read(-5).empty());
  EXPECT_EQ(file.stream->Read(0x7FFFFFFF).view(), "\xFE\xFF\xFF\xFF\xFF\xFE");
  file.stream->SetPosition(static_cast<std::uint64_t>(std::int64_t{-1} << 31));  // a stored offset of 2^31
  EXPECT_TRUE(file.stream->Read(16384).empty());
  for (const std::int64_t stored : {-1, -4}) {
    file.stream->SetPosition(static_cast<std::uint64_t>(stored));
    file.stream->ReadLong();
    file.stream->Write("lost");
    EXPECT_EQ(file.stream->ReadLong() + file.stream->ReadShort(), 0) << "round to the front from " << stored;
  }
  file.stream->Close();
  EXPECT_EQ(file.Content(), "\xFE\xFF\xFF\xFF\xFF\xFE");
}

TEST(BinaryStream, AWriteThatFailsShowsInErrorAndLength) {
  const ScratchFolder folder;
  const Ref<BinaryStream> reader = folder.Write("f", "")->OpenAsBinaryFile(false);
  reader->Write("x");
  EXPECT_TRUE(reader->WriteError() && reader->Length() == 0) << "written without leave";
  for (const std::size_t size : {std::size_t{10}, BinaryStream::kDirect + 10}) {
    File file;
    const ResourceLimit full_disk(RLIMIT_FSIZE, 4);  // takes the part that fits, then none
    file.stream->Write(String::Adopt(std::string(size, 'x'), nil));
    EXPECT_EQ(file.stream->Length(), 4U);
    EXPECT_TRUE(file.stream->WriteError());
  }
}

// Any mixture of operations does to the file what it does to a string in memory, and all of it has reached
// the kernel once the length was read or changed.
TEST(BinaryStream, BehavesLikeAStringOfBytes) {
  std::mt19937 random(1);
  const auto upto = [&](std::size_t limit) { return random() % (limit + 1); };
  for (int round = 0; round < 20; ++round) {
    std::string model = Bytes(upto(200'000), 0);
    File file(model);
    std::size_t position = 0;
    for (unsigned step = 0; step < 400; ++step) {
      const bool large = upto(9) == 0;
      const std::size_t count = upto(large ? 70'000 : 300);
      const std::size_t what = upto(7);
      if (what == 0) {
        position = upto(model.size() + 100);
      } else if (what == 1) {
        position -= std::min(position, count);  // a step back, as to patch a header
      } else if (what == 2) {
        model.resize(upto(1) == 0 ? model.size() : upto(200'000));
        file.stream->SetLength(model.size());
        ASSERT_TRUE(file.Content() == model) << round << " " << step;
      } else if (what <= 4) {
        const std::string bytes = Bytes(count, step);
        file.stream->SetPosition(position);
        file.stream->Write(String::Bytes(bytes));
        if (!bytes.empty()) model.resize(std::max(model.size(), position + count));
        model.replace(std::min(position, model.size()), count, bytes);
        position += count;
      } else {
        file.stream->SetPosition(position);
        const std::string expected = position < model.size() ? model.substr(position, count) : "";
        ASSERT_EQ(file.stream->Read(static_cast<std::int32_t>(count)).view(), expected) << round << step;
        position += expected.size();
      }
    }
    ASSERT_EQ(file.stream->Length(), model.size());
    ASSERT_TRUE(file.Content() == model) << round;
    ASSERT_FALSE(file.stream->WriteError());
  }
}

}  // namespace
}  // namespace vantorel::testing
