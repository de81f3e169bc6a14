// Decompression into streams: what it refuses, and the order in which forks come out.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/MacBytes.h"
#include "tests/support/OpenZip.h"
#include "zip/extract/SeqDataOutputStream.h"

namespace vantorel {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace): builders of bytes

// Notes what happens to it, in a log that several share.
struct LoggedOutput : SeqDataOutputStream {
  LoggedOutput(std::string name_in, std::string& log_in) : name(std::move(name_in)), log(log_in) {}
  bool Write(const String& data) override {
    bytes += data.view();
    largest_write = std::max(largest_write, data.size());
    return writable;
  }
  bool Open() override {
    log += name + ".open ";
    return can_open;
  }
  bool Close() override {
    log += name + ".close ";
    return can_close;
  }
  void GetErrorDescription(std::int32_t& /*code*/, String& /*text*/) override {}
  bool Skip(std::int32_t /*count*/) override { return false; }
  void ClearError() override {}
  bool Flush() override { return true; }

  std::string name;
  std::string& log;
  std::string bytes;
  std::size_t largest_write = 0;
  bool can_open = true;
  bool can_close = true;
  bool writable = true;
};

struct Monitor : ZipProgressNotifier {
  void EntryProgress(const Ref<ZipEntry>& /*entry*/, std::int32_t total, std::int32_t done,
                     bool& abort) override {
    log += std::to_string(done) + "/" + std::to_string(total) + " ";
    abort = done >= abort_at;
  }
  void ItemFailed(const Ref<FolderItem>& /*item*/, std::int32_t /*code*/, const String& /*message*/,
                  bool& /*stop*/) override {}
  void ItemStarting(const Ref<FolderItem>& /*item*/, bool& /*abort*/) override {}
  std::int32_t abort_at = 1 << 30;
  std::string log;
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
  std::string Extract(const std::vector<ZipMember>& members) { return Extract(OpenZip(folder_, members)); }

  const ScratchFolder folder_;
  std::string log_;
  Ref<LoggedOutput> data_ = New<LoggedOutput>("data", log_);
  Ref<LoggedOutput> rsrc_ = New<LoggedOutput>("rsrc", log_);
  Ref<MemoryBlock> block_;
};

constexpr const char* kNoLocalHeader =
    "Invalid Local File Header signature (archive appears to be severely corrupted)";
constexpr const char* kCorrupted = "Data appears to be corrupted";

ZipMember Forged(const char* what, std::uint32_t value) {
  ZipMember m = DeflatedMember("f", "some text, some text");
  const std::string field = what;
  if (field == "crc") m.crc = value;
  if (field == "size") m.uncompressed_size = value;
  if (field == "compressed size") m.compressed_size = value;
  if (field == "flags") m.flags = value;
  if (field == "local flags") m.local_flags = value;
  if (field == "method") m.method = value;
  if (field == "offset") m.local_offset = value;
  return m;
}

TEST_F(Unzip, ForgedMembersGetTheirMessage) {
  struct Case {
    const char* name;
    ZipMember member;
    std::string message;
  };
  const ZipMember stored{.name = "f", .data = "stored"};
  ZipMember cut = stored;
  cut.uncompressed_size = cut.compressed_size = 5000;
  ZipMember wrong_sum = stored;
  wrong_sum.crc = 1;
  ZipMember huge = stored;
  huge.uncompressed_size = 0x80000000;
  const Case cases[] = {
      {"a good one", DeflatedMember("f", "text"), ""},
      {"local header not where it should be", Forged("offset", 1), kNoLocalHeader},
      {"local header beyond the file", Forged("offset", 0x7FFFFFFF), kNoLocalHeader},
      {"local header beyond 2^31", Forged("offset", 0x80000000), kNoLocalHeader},
      {"other flags in the local header", Forged("local flags", 2), "File Headers mismatch"},
      {"encrypted", Forged("flags", 1), "Unsupported format (encrypted)"},
      {"method unknown", Forged("method", 12), "Unsupported compression method (12)"},
      {"wrong sum", Forged("crc", 1), "An error -3 occured while deflation"},
      {"size too large", Forged("size", 21), "An error -3 occured while deflation"},
      {"deflated data cut", Forged("compressed size", 5), "An error -5 occured while deflation"},
      {"negative compressed size", Forged("compressed size", 0x80000000),
       "An error -5 occured while deflation"},
      {"2 GiB claimed, deflated", Forged("size", 0x7FFFFFFF), "An error -3 occured while deflation"},
      {"2^31 bytes claimed", huge, kCorrupted},
      {"a stored member's sum is not looked at", wrong_sum, ""},
      {"stored data beyond the end of the file", cut, kCorrupted},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Extract({c.member}), c.message);
    const auto archive = OpenZip(folder_, {c.member});
    EXPECT_EQ(archive->Entry(1)->Verify(), c.message.empty());
  }
}

TEST_F(Unzip, LocalHeaderMustAgreeWithTheDirectory) {
  const std::string good = MakeZip({{.name = "f", .data = "text"}});
  for (const std::int32_t field : {LocalHeader::kMethod, LocalHeader::kCrc, LocalHeader::kCompressedSize,
                                   LocalHeader::kUncompressedSize}) {
    std::string bytes = good;
    Put(bytes, field, "\x07");
    folder_.Write("a.zip", bytes);
    EXPECT_EQ(Extract(OpenZip(folder_, "a.zip")), "File Headers mismatch") << field;
  }
  std::string descriptor = MakeZip({{.name = "f", .data = "text", .flags = 8}});
  Put(descriptor, LocalHeader::kCrc, std::string(12, '\0'));
  folder_.Write("a.zip", descriptor);
  EXPECT_EQ(Extract(OpenZip(folder_, "a.zip")), "") << "with a data descriptor the directory counts";
  EXPECT_EQ(Extract({{.name = "f", .data = "text", .flags = 8, .local_flags = 0}}), "") << "a fake duplicate";
}

TEST_F(Unzip, OutputsThatFail) {
  const std::vector<ZipMember> mac = {{.name = "f", .data = MacBinaryMember("f", "data", "rsrc")}};
  data_->can_open = false;
  EXPECT_EQ(Extract(mac), "Opening destination file failed");
  data_->can_open = true;
  rsrc_->can_open = false;
  log_.clear();
  EXPECT_EQ(Extract(mac), "Opening destination rsrc fork failed");
  EXPECT_EQ(log_, "data.open data.close rsrc.open ");
  rsrc_->can_open = true;
  rsrc_->can_close = false;
  EXPECT_EQ(Extract(mac), "File write error (disk full?)");
  rsrc_->can_close = true;
  data_->writable = false;
  EXPECT_EQ(Extract(mac), "File write error (disk full?)");
  const auto archive = OpenZip(folder_, mac);
  const Ref<ZipEntry> entry = archive->Entry(1);
  EXPECT_THROW(entry->Extract(false, nil, nil, block_), RuntimeException);
  archive->Close();
  EXPECT_FALSE(entry->Verify());
  EXPECT_EQ(entry->ErrorMessage().view(), "Archive is closed");
}

TEST_F(Unzip, ProgressAndAbort) {
  const auto archive = OpenZip(folder_, {{.name = "f", .data = std::string(40000, 'x')}});
  const auto monitor = New<Monitor>();
  archive->SetProgressMonitor(monitor);
  EXPECT_EQ(Extract(archive), "");
  EXPECT_EQ(monitor->log, "0/40000 128/40000 16384/40000 32640/40000 40000/40000 ");
  monitor->log.clear();
  monitor->abort_at = 0;
  data_->bytes.clear();
  EXPECT_EQ(Extract(archive), "Aborted");
  EXPECT_EQ(monitor->log, "0/40000 40000/40000 ");
  EXPECT_EQ(data_->bytes, "");
}

TEST_F(Unzip, MacBinaryFallsIntoForks) {
  const std::string data(20000, 'd');
  const std::string rsrc(17000, 'r');
  for (const int level : {1, 2, 3, 4}) {
    SCOPED_TRACE(level);
    log_.clear();
    data_->bytes = rsrc_->bytes = "";
    EXPECT_EQ(Extract({DeflatedMember("f", MacBinaryMember("name", data, rsrc, level))}), "");
    EXPECT_EQ(log_, "data.open data.close rsrc.open rsrc.close data.close ");
    EXPECT_TRUE(data_->bytes == data && rsrc_->bytes == rsrc && block_);
  }
  EXPECT_EQ(data_->largest_write, 16384U - 128) << "reads stay smaller by the header";

  data_->bytes = "";
  const std::string member = MacBinaryMember("name", data, rsrc);
  const auto archive = OpenZip(folder_, {DeflatedMember("f", member)});
  EXPECT_EQ(Extract(archive, false), "");
  EXPECT_TRUE(data_->bytes == member && !block_) << "left as it is on request";
  EXPECT_FALSE(archive->Entry(1)->GetMacBinaryHeader(block_)) << "no peek at a member longer than its header";
  EXPECT_EQ(archive->Entry(1)->ErrorMessage().view(), kCorrupted);
}

TEST_F(Unzip, MacBinaryThatIsNone) {
  data_->bytes = "";
  ZipMember descriptor{.name = "f", .data = MacBinaryMember("f", "data", "rsrc"), .flags = 8};
  std::string bytes = MakeZip({descriptor});
  Put(bytes, LocalHeader::kCrc, std::string(12, '\0'));
  folder_.Write("a.zip", bytes);
  EXPECT_EQ(Extract(OpenZip(folder_, "a.zip")), "");
  EXPECT_EQ(data_->bytes, descriptor.data) << "a data descriptor hides the header";
  data_->bytes = "";
  EXPECT_EQ(Extract({{.name = "f", .data = MacBinaryBytes("f", 5, 0) + "data"}}), kCorrupted);
  EXPECT_EQ(Extract({{.name = "f", .data = MacBinaryBytes("f", 0x7FFFFFFF, 0x7FFFFFFF) + "data"}}),
            kCorrupted);
  EXPECT_EQ(data_->bytes, "") << "nothing is written of forks that the member does not hold";
  const auto archive = OpenZip(folder_, {{.name = "d/", .data = MacBinaryBytes("d", 0, 0)}, {.name = "e/"}});
  EXPECT_TRUE(archive->Entry(1)->GetMacBinaryHeader(block_) && block_) << "a folder's header is all it has";
  EXPECT_FALSE(archive->Entry(2)->GetMacBinaryHeader(block_));
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
  EXPECT_EQ(block_->Long(MacBinaryHeader::kDataLength), 4);

  std::string far = AppleDoubleBytes("");
  PutBytes(far, AppleDoubleHeader::kResourceOffset, BigEndian(3000000, 4) + BigEndian(4, 4));
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
  std::vector<ZipMember> deflated = Pair("");
  deflated[1] = DeflatedMember("__MACOSX/._f", AppleDoubleBytes("r").substr(0, 81));
  deflated[1].central_extra = UnixExtra(1, 1);
  EXPECT_EQ(Extract(deflated), "") << "noticed only with a data descriptor";
  std::string beyond = AppleDoubleBytes("rsrc");
  PutBytes(beyond, AppleDoubleHeader::kResourceLength, BigEndian(0x7FFFFFFF, 4));
  EXPECT_EQ(Extract(Pair(beyond)), kCorrupted);
  EXPECT_EQ(rsrc_->bytes, "");
}

}  // namespace
}  // namespace vantorel
