// Decompression into streams: what it refuses, and the order in which forks come out.
#include "tests/support/MacBytes.h"
#include "tests/support/OpenZip.h"

namespace vantorel::testing {
namespace {

// Notes what happens to it, in a log that several share.
struct LoggedOutput : StringSink {
  LoggedOutput(std::string name_in, std::string& log_in) : name(std::move(name_in)), log(log_in) {}
  bool Write(const String& data) override {
    largest_write = std::max(largest_write, data.size());
    return StringSink::Write(data) && refuses != "write";
  }
  bool Open() override { return log += name + ".open ", refuses != "open"; }
  bool Close() override { return log += name + ".close ", refuses != "close"; }

  std::string name;
  std::string& log;
  std::size_t largest_write = 0;
  std::string refuses;
};

class Unzip : public ::testing::Test {
 protected:
  // Extracts the last entry; gives its message, empty on success.
  std::string Extract(const Ref<ZipArchive>& archive, bool mac_binary = true) {
    log_.clear();
    for (const auto& output : {data_, rsrc_}) output->bytes.clear();
    const Ref<ZipEntry> entry = archive->Entry(archive->EntryCount());
    entry->EnableMacBinary1Detection(true);
    const bool done = entry->Extract(mac_binary, data_, rsrc_, block_);
    EXPECT_EQ(done, entry->ErrorMessage().empty());
    return Text(entry->ErrorMessage());
  }

  std::string log_;
  Ref<LoggedOutput> data_ = New<LoggedOutput>("data", log_);
  Ref<LoggedOutput> rsrc_ = New<LoggedOutput>("rsrc", log_);
  Ref<MemoryBlock> block_;
};

constexpr const char* kNoLocalHeader =
    "Invalid Local File Header signature (archive appears to be severely corrupted)";
constexpr const char* kCorrupted = "Data appears to be corrupted";

template <typename Field>
ZipMember With(Field ZipMember::*field, std::uint32_t value, ZipMember member) {
  member.*field = value;
  return member;
}

TEST_F(Unzip, ForgedMembersGetTheirMessage) {
  using M = ZipMember;
  const M packed = DeflatedMember("f", "some text, some text");
  const M stored{.name = "f", .data = "stored"};
  const struct {
    const char* name;
    M member;
    const char* message;
  } cases[] = {
      {"local header beyond 2^31", With(&M::local_offset, 0x80000000, packed), kNoLocalHeader},
      {"other flags in the local header", With(&M::local_flags, 2, packed), "File Headers mismatch"},
      {"encrypted", With(&M::flags, 1, packed), "Unsupported format (encrypted)"},
      {"method unknown", With(&M::method, 12, packed), "Unsupported compression method (12)"},
      {"negative compressed size", With(&M::compressed_size, 0x80000000, packed),
       "An error -5 occured while deflation"},
      {"2 GiB claimed, deflated", With(&M::uncompressed_size, 0x7FFFFFFF, packed),
       "An error -3 occured while deflation"},
      {"2^31 bytes claimed", With(&M::uncompressed_size, 0x80000000, stored), kCorrupted},
      {"a stored member's sum is not looked at", With(&M::crc, 1, stored), ""},
      {"stored data beyond the end of the file",
       With(&M::uncompressed_size, 5000, With(&M::compressed_size, 5000, stored)), kCorrupted},
  };
  for (const auto& [name, member, message] : cases) {
    EXPECT_EQ(Extract(OpenZip({member})), message) << name;
    const Ref<ZipEntry> entry = OpenZip({member})->Entry(1);
    EXPECT_EQ(entry->Verify(), message[0] == '\0') << name;
    EXPECT_EQ(entry->CanExtract(), !std::string_view(message).starts_with("Unsupported")) << name;
  }
}

TEST_F(Unzip, LocalHeaderMustAgreeWithTheDirectory) {
  const std::string good = MakeZip({{.name = "f", .data = "text"}});
  for (const std::int32_t field : {LocalHeader::kMethod, LocalHeader::kCrc, LocalHeader::kCompressedSize,
                                   LocalHeader::kUncompressedSize}) {
    EXPECT_EQ(Extract(OpenBytes(Changed(good, field, "\x07"))), "File Headers mismatch") << field;
  }
}

TEST_F(Unzip, OutputsThatFail) {
  const auto archive = OpenZip({{.name = "f", .data = MacBinaryMember("f", "data", "rsrc")}});
  const struct {
    Ref<LoggedOutput> output;
    const char* refuses;
    const char* message;
    std::string log;
  } cases[] = {
      {data_, "open", "Opening destination file failed", "data.open "},
      {rsrc_, "open", "Opening destination rsrc fork failed", "data.open data.close rsrc.open "},
      {rsrc_, "close", "File write error (disk full?)",
       "data.open data.close rsrc.open rsrc.close data.close "},
      {data_, "write", "File write error (disk full?)", "data.open rsrc.close data.close "},
  };
  for (const auto& [output, refuses, message, log] : cases) {
    output->refuses = refuses;
    EXPECT_EQ(Extract(archive), message);
    EXPECT_EQ(log_, log) << message;
    output->refuses = "";
  }
  const Ref<ZipEntry> entry = archive->Entry(1);
  EXPECT_THROW(entry->Extract(false, nil, nil, block_), RuntimeException);
  archive->Close();
  EXPECT_FALSE(entry->Verify());
  EXPECT_EQ(entry->ErrorMessage().view(), "Archive is closed");
}

TEST_F(Unzip, ProgressAndAbort) {
  const auto archive = OpenZip({{.name = "f", .data = std::string(40000, 'x')}});
  const auto monitor = New<RecordingMonitor>();
  archive->SetProgressMonitor(monitor);
  EXPECT_EQ(Extract(archive), "");
  monitor->abort_at = 0;
  EXPECT_EQ(Extract(archive), "Aborted");
  EXPECT_EQ(monitor->progress, (std::vector{0, 128, 16384, 32640, 40000, 0, 40000}));
  EXPECT_EQ(data_->bytes, "");
}

std::string Stored(const std::string& data) {
  return MakeZip({{.name = "f", .data = data}});
}
// Its sizes and its sum stand in the directory alone.
std::string WithDescriptor(const std::string& data) {
  return Changed(MakeZip({{.name = "f", .data = data, .flags = 8}}), LocalHeader::kCrc,
                 std::string(12, '\0'));
}
// A member `f`, its companion, as the archivers of Macs write them, and perhaps one of that.
std::string Pair(const std::string& companion, std::uint32_t flags = 0, const std::string& second = "") {
  const std::string extra = UnixExtra(1, 1);
  std::vector<ZipMember> members{{.name = "f", .data = "data", .central_extra = extra},
                                 {.name = "._f", .data = companion, .central_extra = extra, .flags = flags}};
  if (!second.empty()) members.push_back({.name = "._._f", .data = second, .central_extra = extra});
  return MakeZip(members);
}
TEST_F(Unzip, MembersFallIntoForks) {
  const std::string data(20000, 'd');
  const std::string rsrc(17000, 'r');
  const std::string wrapped = MacBinaryMember("name", data, rsrc, 1);
  const std::string apple = AppleDoubleBytes("rsrc");
  const std::string far = Changed(AppleDoubleBytes(""), 42, BigEndian(3000000, 4) + BigEndian(4, 4)) +
                          std::string(3000000 - 82, 'x') + "rsrc";
  const struct {
    const char* name;
    std::string archive;
    const char* message;
    std::string data;
    std::string rsrc;
    bool mac_binary = true;
  } cases[] = {
      {"MacBinary", MakeZip({DeflatedMember("f", wrapped)}), "", data, rsrc},
      {"left as it is on request", Stored(wrapped), "", wrapped, "", false},
      {"a data descriptor hides the header", WithDescriptor(wrapped), "", wrapped, ""},
      {"a longer data fork than there is", Stored(MacBinaryBytes("f", 5, 0) + "data"), kCorrupted, "", ""},
      {"longer forks than there can be", Stored(MacBinaryBytes("f", 0x7FFFFFFF, 0x7FFFFFFF) + "data"),
       kCorrupted, "", ""},
      {"a companion", Pair(apple), "", "data", "rsrc"},
      {"left alone on request", Pair(apple), "", "data", "", false},
      {"a fork far behind is read in pieces", Pair(far), "", "data", "rsrc"},
      {"a companion's companion", Pair(apple, 0, AppleDoubleBytes(" again")), "", "data", "rsrc again"},
      {"no companion's header", Pair(Changed(apple, 3, "x")), "Invalid or unsupported AppleDouble header",
       "data", ""},
      {"too short a one, with a descriptor", Pair(apple.substr(0, 81), 8),
       "The AppleDouble header is too short (<82 bytes)", "data", ""},
      {"too short a one", Pair(apple.substr(0, 81)), "", "data", ""},
      {"a companion's longer fork than there is", Pair(Changed(apple, 46, BigEndian(0x7FFFFFFF, 4))),
       kCorrupted, "data", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Extract(OpenBytes(c.archive), c.mac_binary), c.message) << c.name;
    EXPECT_TRUE(data_->bytes == c.data && rsrc_->bytes == c.rsrc) << c.name;
  }
}

TEST_F(Unzip, HeadersAndOrderOfForks) {
  const auto archive =
      OpenBytes(Stored(MacBinaryMember("name", std::string(20000, 'd'), std::string(17000, 'r'))));
  EXPECT_EQ(Extract(archive), "");
  EXPECT_EQ(log_, "data.open data.close rsrc.open rsrc.close data.close ");
  EXPECT_EQ(data_->largest_write, 16384U - 128) << "reads stay smaller by the header";
  EXPECT_TRUE(block_);
  EXPECT_FALSE(archive->Entry(1)->GetMacBinaryHeader(block_)) << "no peek at a member longer than its header";
  EXPECT_EQ(archive->Entry(1)->ErrorMessage().view(), kCorrupted);
  EXPECT_EQ(Extract(OpenBytes(Pair(AppleDoubleBytes("rsrc")))), "");
  EXPECT_EQ(log_, "data.open rsrc.close data.close rsrc.open rsrc.close ");
  EXPECT_EQ(block_->Long(83), 4);
  EXPECT_EQ(block_->UShort(73), 0x0400) << "the low byte of the flags is at 101 alone";
  const auto folders = OpenZip({{.name = "d/", .data = MacBinaryBytes("d", 0, 0)}, {.name = "e/"}});
  EXPECT_TRUE(folders->Entry(1)->GetMacBinaryHeader(block_) && block_) << "a folder's header is all it has";
  EXPECT_FALSE(folders->Entry(2)->GetMacBinaryHeader(block_) || folders->Entry(2)->CanExtract());
  EXPECT_EQ(folders->Entry(2)->ErrorMessage().view(), "");
}

}  // namespace
}  // namespace vantorel::testing
