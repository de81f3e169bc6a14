// Decompression into streams: what it refuses, and the order in which forks come out.
#include "tests/support/MacBytes.h"
#include "tests/support/OpenZip.h"
#include "tests/support/RecordingMonitor.h"

namespace vantorel::testing {
namespace {

// Notes what happens to it, in a log that several share.
struct LoggedOutput : StringSink {
  LoggedOutput(std::string name_in, std::string& log_in) : name(std::move(name_in)), log(log_in) {}
  bool Write(const String& data) override {
    largest_write = std::max(largest_write, data.size());
    return StringSink::Write(data) && writable;
  }
  bool Open() override { return log += name + ".open ", can_open; }
  bool Close() override { return log += name + ".close ", can_close; }

  std::string name;
  std::string& log;
  std::size_t largest_write = 0;
  bool can_open = true;
  bool can_close = true;
  bool writable = true;
};

class Unzip : public ::testing::Test {
 protected:
  // Extracts the last entry; gives its message, empty on success.
  std::string Extract(const Ref<ZipArchive>& archive, bool mac_binary = true) {
    const Ref<ZipEntry> entry = archive->Entry(archive->EntryCount());
    entry->EnableMacBinary1Detection(true);
    const bool done = entry->Extract(mac_binary, data_, rsrc_, block_);
    EXPECT_EQ(done, entry->ErrorMessage().empty());
    return std::string(entry->ErrorMessage().view());
  }
  // Its sizes and its sum stand in the directory alone.
  Ref<ZipArchive> OpenWithDescriptor(const ZipMember& member) {
    std::string bytes = MakeZip({member});
    Put(bytes, LocalHeader::kCrc, std::string(12, '\0'));
    return OpenBytes(bytes);
  }
  std::string Extract(const std::vector<ZipMember>& members) { return Extract(OpenZip(members)); }

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
  constexpr const char* kOther = "An error -3 occured while deflation";
  constexpr const char* kShort = "An error -5 occured while deflation";
  const M packed = DeflatedMember("f", "some text, some text");
  // A stored block of 40 bytes that ends after 3; in other blocks the engines may find bad codes first.
  const M cut{.name = "f",
              .data = {"\x01\x28\0\xD7\xFF"
                       "abc",
                       8},
              .method = 8,
              .uncompressed_size = 40};
  const M stored{.name = "f", .data = "stored"};
  const struct {
    const char* name;
    M member;
    const char* message;
  } cases[] = {
      {"a good one", packed, ""},
      {"local header not where it should be", With(&M::local_offset, 1, packed), kNoLocalHeader},
      {"local header beyond the file", With(&M::local_offset, 0x7FFFFFFF, packed), kNoLocalHeader},
      {"local header beyond 2^31", With(&M::local_offset, 0x80000000, packed), kNoLocalHeader},
      {"other flags in the local header", With(&M::local_flags, 2, packed), "File Headers mismatch"},
      {"encrypted", With(&M::flags, 1, packed), "Unsupported format (encrypted)"},
      {"method unknown", With(&M::method, 12, packed), "Unsupported compression method (12)"},
      {"wrong sum", With(&M::crc, 1, packed), kOther},
      {"size too large", With(&M::uncompressed_size, 21, packed), kOther},
      {"deflated data cut", cut, kShort},
      {"negative compressed size", With(&M::compressed_size, 0x80000000, packed), kShort},
      {"2 GiB claimed, deflated", With(&M::uncompressed_size, 0x7FFFFFFF, packed), kOther},
      {"2^31 bytes claimed", With(&M::uncompressed_size, 0x80000000, stored), kCorrupted},
      {"a stored member's sum is not looked at", With(&M::crc, 1, stored), ""},
      {"stored data beyond the end of the file",
       With(&M::uncompressed_size, 5000, With(&M::compressed_size, 5000, stored)), kCorrupted},
  };
  for (const auto& [name, member, message] : cases) {
    EXPECT_EQ(Extract({member}), message) << name;
    const Ref<ZipEntry> entry = OpenZip({member})->Entry(1);
    EXPECT_EQ(entry->Verify(), message[0] == '\0') << name;
    EXPECT_EQ(entry->CanExtract(), !std::string_view(message).starts_with("Unsupported")) << name;
  }
}

TEST_F(Unzip, LocalHeaderMustAgreeWithTheDirectory) {
  const std::string good = MakeZip({{.name = "f", .data = "text"}});
  for (const std::int32_t field : {LocalHeader::kMethod, LocalHeader::kCrc, LocalHeader::kCompressedSize,
                                   LocalHeader::kUncompressedSize}) {
    std::string bytes = good;
    Put(bytes, field, "\x07");
    EXPECT_EQ(Extract(OpenBytes(bytes)), "File Headers mismatch") << field;
  }
  EXPECT_EQ(Extract(OpenWithDescriptor({.name = "f", .data = "text", .flags = 8})), "")
      << "with a data descriptor the directory counts";
  EXPECT_EQ(Extract({{.name = "f", .data = "text", .flags = 8, .local_flags = 0}}), "") << "a fake duplicate";
}

TEST_F(Unzip, OutputsThatFail) {
  const auto archive = OpenZip({{.name = "f", .data = MacBinaryMember("f", "data", "rsrc")}});
  const struct {
    Ref<LoggedOutput> output;
    bool LoggedOutput::*ability;
    const char* message;
    std::string log;
  } cases[] = {
      {data_, &LoggedOutput::can_open, "Opening destination file failed", "data.open "},
      {rsrc_, &LoggedOutput::can_open, "Opening destination rsrc fork failed",
       "data.open data.close rsrc.open "},
      {rsrc_, &LoggedOutput::can_close, "File write error (disk full?)",
       "data.open data.close rsrc.open rsrc.close data.close "},
      {data_, &LoggedOutput::writable, "File write error (disk full?)", "data.open rsrc.close data.close "},
  };
  for (const auto& [output, ability, message, log] : cases) {
    log_.clear();
    output.get()->*ability = false;
    EXPECT_EQ(Extract(archive), message);
    EXPECT_EQ(log_, log) << message;
    output.get()->*ability = true;
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
  EXPECT_EQ(monitor->progress, (std::vector{0, 128, 16384, 32640, 40000}));
  monitor->progress.clear();
  monitor->abort_at = 0;
  data_->bytes.clear();
  EXPECT_EQ(Extract(archive), "Aborted");
  EXPECT_EQ(monitor->progress, (std::vector{0, 40000}));
  EXPECT_EQ(data_->bytes, "");
}

TEST_F(Unzip, MacBinaryFallsIntoForks) {
  const std::string data(20000, 'd');
  const std::string rsrc(17000, 'r');
  const std::string member = MacBinaryMember("name", data, rsrc, 1);
  const auto archive = OpenZip({DeflatedMember("f", member)});
  EXPECT_EQ(Extract(archive), "");
  EXPECT_EQ(log_, "data.open data.close rsrc.open rsrc.close data.close ");
  EXPECT_TRUE(data_->bytes == data && rsrc_->bytes == rsrc && block_);
  EXPECT_EQ(data_->largest_write, 16384U - 128) << "reads stay smaller by the header";

  data_->bytes = "";
  EXPECT_EQ(Extract(archive, false), "");
  EXPECT_TRUE(data_->bytes == member && !block_) << "left as it is on request";
  EXPECT_FALSE(archive->Entry(1)->GetMacBinaryHeader(block_)) << "no peek at a member longer than its header";
  EXPECT_EQ(archive->Entry(1)->ErrorMessage().view(), kCorrupted);
}

TEST_F(Unzip, MacBinaryThatIsNone) {
  ZipMember descriptor{.name = "f", .data = MacBinaryMember("f", "data", "rsrc"), .flags = 8};
  EXPECT_EQ(Extract(OpenWithDescriptor(descriptor)), "");
  EXPECT_EQ(data_->bytes, descriptor.data) << "a data descriptor hides the header";
  data_->bytes = "";
  EXPECT_EQ(Extract({{.name = "f", .data = MacBinaryBytes("f", 5, 0) + "data"}}), kCorrupted);
  EXPECT_EQ(Extract({{.name = "f", .data = MacBinaryBytes("f", 0x7FFFFFFF, 0x7FFFFFFF) + "data"}}),
            kCorrupted);
  EXPECT_EQ(data_->bytes, "") << "nothing is written of forks that the member does not hold";
  const auto archive = OpenZip({{.name = "d/", .data = MacBinaryBytes("d", 0, 0)}, {.name = "e/"}});
  EXPECT_TRUE(archive->Entry(1)->GetMacBinaryHeader(block_) && block_) << "a folder's header is all it has";
  EXPECT_FALSE(archive->Entry(2)->GetMacBinaryHeader(block_) || archive->Entry(2)->CanExtract());
  EXPECT_EQ(archive->Entry(2)->ErrorMessage().view(), "");
}

// A member `f` and its companion, as the archivers of Macs write them.
std::vector<ZipMember> Pair(const std::string& companion, std::uint32_t flags = 0) {
  return {{.name = "f", .data = "data", .central_extra = UnixExtra(1, 1)},
          {.name = "__MACOSX/._f", .data = companion, .central_extra = UnixExtra(1, 1), .flags = flags}};
}

TEST_F(Unzip, CompanionGivesTheResourceFork) {
  EXPECT_EQ(Extract(Pair(AppleDoubleBytes("rsrc"))), "");
  EXPECT_EQ(log_, "data.open rsrc.close data.close rsrc.open rsrc.close ");
  EXPECT_EQ(data_->bytes + " " + rsrc_->bytes, "data rsrc");
  EXPECT_EQ(block_->Long(83), 4);
  EXPECT_EQ(block_->UShort(73), 0x0400) << "the low byte of the flags is at 101 alone";
  rsrc_->bytes = "";
  EXPECT_EQ(Extract(OpenZip(Pair(AppleDoubleBytes("rsrc"))), false), "");
  EXPECT_EQ(rsrc_->bytes, "") << "left alone on request";

  std::string far = AppleDoubleBytes("");
  Put(far, 42, BigEndian(3000000, 4) + BigEndian(4, 4));
  far.resize(3000000);
  rsrc_->bytes = "";
  EXPECT_EQ(Extract(Pair(far + "rsrc")), "");
  EXPECT_EQ(rsrc_->bytes, "rsrc") << "what lies in front of it is read in pieces and thrown away";

  std::vector<ZipMember> chain = Pair(AppleDoubleBytes("rsrc"));
  chain[1].name = "._f";
  chain.push_back({.name = "._._f", .data = AppleDoubleBytes(" again"), .central_extra = UnixExtra(1, 1)});
  rsrc_->bytes = "";
  EXPECT_EQ(Extract(chain), "");
  EXPECT_EQ(rsrc_->bytes, "rsrc again") << "a companion's companion comes after it";
}

TEST_F(Unzip, BadCompanions) {
  std::string bad = AppleDoubleBytes("rsrc");
  bad[3] = 'x';
  EXPECT_EQ(Extract(Pair(bad)), "Invalid or unsupported AppleDouble header");
  EXPECT_EQ(Extract(Pair(AppleDoubleBytes("r").substr(0, 81), 8)),
            "The AppleDouble header is too short (<82 bytes)");
  EXPECT_EQ(Extract(Pair(AppleDoubleBytes("r").substr(0, 81))), "") << "noticed with a descriptor only";
  std::string beyond = AppleDoubleBytes("rsrc");
  Put(beyond, 46, BigEndian(0x7FFFFFFF, 4));
  EXPECT_EQ(Extract(Pair(beyond)), kCorrupted);
  EXPECT_EQ(rsrc_->bytes, "");
}

}  // namespace
}  // namespace vantorel::testing
