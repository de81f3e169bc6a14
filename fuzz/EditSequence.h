// A sequence of edits, chosen by the input, of an archive and of its model side by side.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/Choices.h"
#include "fuzz/EditModel.h"
#include "tests/support/StringStreams.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::fuzzing {

using testing::StringSource;

class AbortAt : public ZipProgressNotifier {
 public:
  explicit AbortAt(std::size_t done) : done_(static_cast<std::int32_t>(done)) {}
  void EntryProgress(const Ref<ZipEntry>&, std::int32_t, std::int32_t done, bool& abort) override {
    abort = done >= done_;
  }
  void ItemFailed(const Ref<FolderItem>&, std::int32_t, const String&, bool&) override {}
  void ItemStarting(const Ref<FolderItem>&, bool&) override {}

 private:
  std::int32_t done_;
};

class Editing {
 public:
  Editing(std::string path, Choices& choices) : path_(std::move(path)), choices_(choices) { Open(); }

  // Gives the members as the directory was last written.
  const std::vector<Member>& Run() {
    for (int step = 0; step < 40 && choices_.More(); ++step) {
      Step();
      Require(archive_->EntryCount() == Count(), "count of entries");
      if (members_.empty()) continue;
      const std::size_t i = choices_.Below(members_.size());
      CheckEntry(*EntryAt(i), members_[i]);
    }
    Close();
    return on_disk_;
  }

 private:
  static constexpr std::size_t kMostMembers = 10;

  Ref<ZipEntry> EntryAt(std::size_t i) const { return archive_->Entry(static_cast<std::int32_t>(i) + 1); }
  std::int32_t Count() const { return static_cast<std::int32_t>(members_.size()); }

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
    archive_->SetProgressMonitor(New<AbortAt>(choices_.Below(data.size() + 1)));
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
    Require(archive_->ReplaceEntry(static_cast<std::int32_t>(to) + 1, EntryAt(from)) != nil, "replacement");
    members_[to] = members_[from];
    marked_ = false;
    dirty_ = true;
  }

  void Duplicate() {
    if (members_.empty() || members_.size() > kMostMembers) return;
    const std::size_t i = choices_.Below(members_.size());
    const std::string name = Name();
    const std::int32_t index = archive_->AddFakeDuplicate(EntryAt(i), name.c_str(), New<Date>(), nil);
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
    CheckFile(path_, on_disk_);
  }

  void SetComment() {
    if (members_.empty()) return;
    const std::size_t i = choices_.Below(members_.size());
    const std::string comment(choices_.Below(3), 'c');
    EntryAt(i)->SetComment(comment.c_str());
    *members_[i].comment = comment;
    dirty_ = true;
  }

  void Close() {
    Require(archive_->Close(), "close");
    WriteDirectory();
    CheckFile(path_, on_disk_);
  }

  void Open() {
    archive_ = New<ZipArchive>();
    Require(archive_->Open(GetFolderItem(String::Bytes(path_)), true), "open");
    members_ = AsRead(on_disk_);
    marked_ = false;
    dirty_ = true;
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

}  // namespace vantorel::fuzzing
