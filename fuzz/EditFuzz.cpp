// Sequences of edits of a small archive against a plain model of it: a list of names, contents and comments.
// What the archive holds is read back by this library on the way, and by libzip at the end.
#include <unistd.h>
#include <zip.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/StringStreams.h"
#include "zip/archive/ZipArchive.h"

namespace {

using namespace vantorel;  // NOLINT(google-build-using-namespace): the harness is about nothing else
using testing::StringSink;
using testing::StringSource;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

class AbortAt : public ZipProgressNotifier {
 public:
  explicit AbortAt(std::int32_t done) : done_(done) {}
  void EntryProgress(const Ref<ZipEntry>&, std::int32_t, std::int32_t done, bool& abort) override {
    abort = done >= done_;
  }
  void ItemFailed(const Ref<FolderItem>&, std::int32_t, const String&, bool&) override {}
  void ItemStarting(const Ref<FolderItem>&, bool&) override {}

 private:
  std::int32_t done_;
};

// The choices that the input makes; zeros once it is used up.
class Choices {
 public:
  Choices(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool More() const { return position_ < size_; }
  std::uint8_t Byte() { return More() ? data_[position_++] : std::uint8_t{0}; }
  std::size_t Below(std::size_t bound) { return bound == 0 ? 0 : Byte() % bound; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t position_ = 0;
};

struct Member {
  std::string name;
  std::string content;
  std::shared_ptr<std::string> comment = std::make_shared<std::string>();  // shared where the entry is
};

class Editing {
 public:
  Editing(std::string path, Choices& choices) : path_(std::move(path)), choices_(choices) { Open(); }

  void Run() {
    for (int step = 0; step < 40 && choices_.More(); ++step) {
      Step();
      Require(archive_->EntryCount() == Count(), "count of entries");
      if (!members_.empty()) CheckMember(choices_.Below(members_.size()));
    }
    Close();
    CheckByLibzip();
  }

 private:
  static constexpr std::size_t kMostMembers = 10;

  std::int32_t Count() const { return static_cast<std::int32_t>(members_.size()); }
  Ref<FolderItem> File() const { return GetFolderItem(String::Bytes(path_)); }

  void Step() {
    switch (choices_.Below(14)) {
      case 0:
      case 1:
      case 2:
        return Add();
      case 3:
        return AddAborted();
      case 4:
        return AddShort();
      case 5:
        return Remove();
      case 6:
        return Replace();
      case 7:
        return Duplicate();
      case 8:
        return Mark();
      case 9:
        return Rollback();
      case 10:
        return Compact();
      case 11:
        return Flush();
      case 12:
        return SetComment();
      default:
        return Close(), Open();
    }
  }

  std::string Name() {
    static const char* const kNames[] = {"a", "b", "dir/", "dir/ü", "._a", "__MACOSX/x", "日本", "a"};
    return kNames[choices_.Below(std::size(kNames))];
  }

  std::string Content() {
    static const std::size_t kSizes[] = {0, 1, 127, 128, 129, 500, 4096, 16383, 16384, 16385, 33000, 0};
    std::string bytes(kSizes[choices_.Below(std::size(kSizes))], '\0');
    std::uint32_t state = choices_.Byte();
    const bool noise = (state & 1) != 0;
    for (char& c : bytes) {
      state = state * 1103515245 + 12345;
      c = static_cast<char>(noise ? state >> 16 : 'x');
    }
    return bytes;
  }

  void Add() {
    if (members_.size() > kMostMembers) return;
    const std::string name = Name();
    std::string data = Content();
    const auto length = static_cast<std::int32_t>(data.size());
    const std::uint8_t form = choices_.Byte();
    const Ref<ZipExtraField> extra = (form & 1) != 0 ? archive_->MakeZipExtraField("TYPE", "CREA", "n") : nil;
    Ref<SeqDataInputStream> fork;
    Ref<MemoryBlock> header;
    std::string fork_bytes;
    if ((form & 2) != 0) {
      fork_bytes = Content();
      fork = New<StringSource>(fork_bytes);
      header = archive_->MakeMacBinaryHeader(length, static_cast<std::int32_t>(fork_bytes.size()), "n",
                                             "TYPE", "CREA", nil, nil);
    }
    const std::int32_t index = archive_->AddItemByStreams(New<StringSource>(data), length, fork,
                                                          static_cast<std::int32_t>(fork_bytes.size()),
                                                          header, name.c_str(), extra, nil);
    if (header) {
      const auto filled = [](std::string bytes) {
        return bytes.resize((bytes.size() + 127) / 128 * 128), bytes;
      };
      data = std::string(header->View()) + filled(data) + filled(fork_bytes);
    }
    members_.push_back({name, data});
    dirty_ = true;
    Require(index == Count(), "index of a new entry");
  }

  void AddAborted() {
    const std::string data = Content();
    if (data.empty()) return;
    const auto length = static_cast<std::int32_t>(data.size());
    archive_->SetProgressMonitor(New<AbortAt>(static_cast<std::int32_t>(choices_.Below(data.size() + 1))));
    Require(archive_->AddItemByStreams(New<StringSource>(data), length, nil, 0, nil, "n", nil, nil) == 0,
            "abort");
    archive_->SetProgressMonitor(nil);
    dirty_ = true;
  }

  void AddShort() {
    const std::string data = Content();
    const auto length = static_cast<std::int32_t>(data.size()) + 1;
    const Ref<MemoryBlock> header = archive_->MakeMacBinaryHeader(length, 0, "n", "TYPE", "CREA", nil, nil);
    Require(archive_->AddItemByStreams(New<StringSource>(data), length, nil, 0, header, "n", nil, nil) == -2,
            "short");
    dirty_ = true;
  }

  void Remove() {
    if (members_.empty()) return;
    const std::size_t i = choices_.Below(members_.size());
    Require(archive_->RemoveEntry(static_cast<std::int32_t>(i) + 1), "removal");
    members_.erase(members_.begin() + static_cast<std::ptrdiff_t>(i));
    marked_ = false;
    dirty_ = true;
  }

  void Replace() {
    if (members_.empty()) return;
    const std::size_t to = choices_.Below(members_.size());
    const std::size_t from = choices_.Below(members_.size());
    const Ref<ZipEntry> entry = archive_->Entry(static_cast<std::int32_t>(from) + 1);
    Require(archive_->ReplaceEntry(static_cast<std::int32_t>(to) + 1, entry) != nil, "replacement");
    members_[to] = members_[from];
    marked_ = false;
    dirty_ = true;
  }

  void Duplicate() {
    if (members_.empty() || members_.size() > kMostMembers) return;
    const std::size_t i = choices_.Below(members_.size());
    const std::string name = Name();
    const Ref<ZipEntry> entry = archive_->Entry(static_cast<std::int32_t>(i) + 1);
    const std::int32_t index = archive_->AddFakeDuplicate(entry, name.c_str(), New<Date>(), nil);
    members_.push_back({name, members_[i].content, std::make_shared<std::string>(*members_[i].comment)});
    Require(index == Count(), "index of a duplicate");
  }

  void Mark() {
    archive_->Mark();
    marked_ = true;
    mark_ = members_.size();
  }

  void Rollback() {
    const bool possible = marked_ && mark_ <= members_.size();
    Require(archive_->Rollback() == possible, "rollback");
    marked_ = possible;
    if (!possible) return;
    members_.resize(mark_);
    dirty_ = true;
  }

  void Compact() {
    Require(archive_->Compact(), "compaction");
    marked_ = false;
    dirty_ = true;
  }

  void WriteDirectory() {
    if (dirty_ && members_.empty()) members_.push_back({"/", ""});
    if (dirty_) on_disk_ = members_;
    dirty_ = false;
  }

  void Flush() {
    Require(archive_->Flush() && archive_->errmsg.view() != "Internal error (Exception in z_writeDirectory)",
            "flush");
    WriteDirectory();
    CheckFile();
  }

  void SetComment() {
    if (members_.empty()) return;
    const std::size_t i = choices_.Below(members_.size());
    const std::string comment(choices_.Below(3), 'c');
    archive_->Entry(static_cast<std::int32_t>(i) + 1)->SetComment(comment.c_str());
    *members_[i].comment = comment;
    dirty_ = true;
  }

  void Close() {
    Require(archive_->Close(), "close");
    WriteDirectory();
    CheckFile();
  }

  void Open() {
    archive_ = New<ZipArchive>();
    Require(archive_->Open(File(), true), "open");
    members_ = AsRead(on_disk_);
    marked_ = false;
    dirty_ = true;
  }

  // A record without a comment takes over the one of the record before.
  static std::vector<Member> AsRead(const std::vector<Member>& written) {
    std::vector<Member> read = written;
    std::string comment;
    for (Member& member : read) {
      if (!member.comment->empty()) comment = *member.comment;
      member.comment = std::make_shared<std::string>(comment);
    }
    return read;
  }

  static void CheckEntry(ZipEntry& entry, const Member& member) {
    Require(entry.RawPath().view() == member.name, "name");
    Require(entry.Comment().view() == *member.comment, "comment");
    if (entry.IsDirectory()) return;  // what a folder holds is not for reading
    const auto sink = New<StringSink>();
    Ref<MemoryBlock> header;
    Require(entry.Extract(false, sink, nil, header) && sink->bytes == member.content, "content");
  }

  void CheckMember(std::size_t i) {
    CheckEntry(*archive_->Entry(static_cast<std::int32_t>(i) + 1), members_[i]);
  }

  void CheckFile() const {
    const auto reader = New<ZipArchive>();
    Require(reader->Open(File(), false), "reopening");
    const std::vector<Member> expected = AsRead(on_disk_);
    Require(reader->EntryCount() == static_cast<std::int32_t>(expected.size()), "count in the file");
    for (std::size_t i = 0; i < expected.size(); ++i) {
      CheckEntry(*reader->Entry(static_cast<std::int32_t>(i) + 1), expected[i]);
    }
    reader->Close();
  }

  void CheckByLibzip() const {
    int error = 0;
    zip_t* const archive = zip_open(path_.c_str(), ZIP_RDONLY, &error);
    Require(archive != nullptr, "libzip opens it");
    Require(zip_get_num_entries(archive, 0) == static_cast<zip_int64_t>(on_disk_.size()), "libzip's count");
    for (std::size_t i = 0; i < on_disk_.size(); ++i) {
      const std::string& content = on_disk_[i].content;
      Require(zip_get_name(archive, i, ZIP_FL_ENC_RAW) == on_disk_[i].name, "libzip's name");
      zip_file_t* const file = zip_fopen_index(archive, i, 0);
      Require(file != nullptr, "libzip opens a member");
      std::string bytes(content.size() + 1, '\0');
      const zip_int64_t got = zip_fread(file, bytes.data(), bytes.size());
      Require(
          got == static_cast<zip_int64_t>(content.size()) && bytes.compare(0, content.size(), content) == 0,
          "libzip's content");
      zip_fclose(file);
    }
    zip_discard(archive);
  }

  std::string path_;
  Choices& choices_;
  Ref<ZipArchive> archive_;
  std::vector<Member> members_;  // as the open archive lists them
  std::vector<Member> on_disk_;  // as the directory was last written
  bool dirty_ = false;
  bool marked_ = false;
  std::size_t mark_ = 0;
};

// Somebody else's archive, or a forged one: edits may fail, and no more.
void EditForged(const std::string& path, std::string_view bytes, Choices& choices) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  const auto archive = New<ZipArchive>();
  if (!archive->Open(GetFolderItem(String::Bytes(path)), true)) return;
  for (int step = 0; step < 4; ++step) {
    const auto index = static_cast<std::int32_t>(choices.Below(4));
    if (index >= 1 && index <= archive->EntryCount()) archive->RemoveEntry(index);
    if ((choices.Byte() & 1) != 0) archive->Compact();
    if ((choices.Byte() & 1) != 0) {
      archive->AddItemByStreams(New<StringSource>("text"), 4, nil, 0, nil, "added", nil, nil);
    }
  }
  archive->Close();
}

const std::string& Workplace() {
  static const std::string path =
      (std::filesystem::temp_directory_path() / ("edit-fuzz-" + std::to_string(getpid()) + ".zip")).string();
  static const auto registered = std::atexit([] { std::filesystem::remove(path); });
  static_cast<void>(registered);
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kForgedChoices = 12;
  const std::string& path = Workplace();
  std::filesystem::remove(path);
  if (size > kForgedChoices && data[0] == 'P') {
    Choices choices(data + 1, kForgedChoices - 1);
    EditForged(path, {reinterpret_cast<const char*>(data) + kForgedChoices, size - kForgedChoices}, choices);
    return 0;
  }
  Choices choices(data, size);
  Editing(path, choices).Run();
  return 0;
}
