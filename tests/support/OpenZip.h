// What the tests of the Zip library share: bytes and members opened as archives, written ones read back.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/ScratchFolder.h"
#include "tests/support/StringStreams.h"
#include "tests/support/ZipBytes.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::testing {

using Strings = std::vector<std::string>;

inline std::string Text(const String& text) {
  return std::string(text.view());
}

// `length` bytes that deflate a little.
inline std::string Noise(std::size_t length, unsigned seed = 1) {
  std::string bytes(length, '\0');
  for (char& c : bytes) c = static_cast<char>('!' + ((seed = seed * 1103515245 + 12345) >> 16) % 40);
  return bytes;
}

inline ZipMember DeflatedMember(const std::string& name, const std::string& plain) {
  const ScratchFolder folder;
  folder.Write("plain", plain);
  const std::string gzip = folder.Run("gzip -n < plain");  // a header of 10 bytes, a trailer of 8
  ZipMember member{.name = name, .data = gzip.substr(10, gzip.size() - 18), .method = 8};
  member.crc = Crc32Of(plain);
  member.uncompressed_size = static_cast<std::uint32_t>(plain.size());
  return member;
}

// The file a.zip in a folder.
inline Ref<ZipArchive> Open(const ScratchFolder& folder, bool writable = true) {
  auto archive = New<ZipArchive>();
  EXPECT_TRUE(archive->Open(folder.Item("a.zip"), writable)) << Text(archive->errmsg);
  return archive;
}
// Archives to read, which stay open when their file is gone.
inline Ref<ZipArchive> OpenBytes(std::string_view bytes) {
  const ScratchFolder folder;
  folder.Write("a.zip", bytes);
  return Open(folder, false);
}
inline Ref<ZipArchive> OpenZip(const std::vector<ZipMember>& members) {
  return OpenBytes(MakeZip(members));
}

inline std::int32_t Add(ZipArchive& archive, const std::string& name, const std::string& bytes) {
  return archive.AddItemByStreams(New<StringSource>(bytes), static_cast<std::int32_t>(bytes.size()), nil, 0,
                                  nil, name.c_str(), nil, nil);
}

inline Strings NamesOf(ZipArchive& archive) {
  Strings names;
  for (const String& name : archive.AllEntriesAsRawPaths()) names.push_back(Text(name));
  return names;
}
// Names and contents in the order of the entries.
using Members = std::vector<std::pair<std::string, std::string>>;

inline Members MembersOf(ZipArchive& archive) {
  Members members;
  for (std::int32_t i = 1; i <= archive.EntryCount(); ++i) {
    const Ref<ZipEntry> entry = archive.Entry(i);
    const auto sink = New<StringSink>();
    Ref<MemoryBlock> header;
    EXPECT_TRUE(entry->Extract(false, sink, nil, header)) << Text(entry->errmsg);
    members.emplace_back(Text(entry->RawPath()), sink->bytes);
  }
  return members;
}

// An archive in a folder of its own, new or of these bytes, to be changed.
struct OwnZip : ScratchFolder {
  OwnZip() : archive(Open(*this)) {}
  explicit OwnZip(std::string_view bytes) {
    Write("a.zip", bytes);
    archive = Open(*this);
  }
  ZipArchive* operator->() const { return archive.get(); }
  // Closes it, and gives what it then holds.
  Members Close() const {
    EXPECT_TRUE(archive->Close());
    return MembersOf(*Open(*this, false));
  }
  Ref<ZipArchive> archive;
};

// Keeps what it is told of a member's progress.
struct RecordingMonitor : ZipProgressNotifier {
  void EntryProgress(const Ref<ZipEntry>& entry, std::int32_t total, std::int32_t done,
                     bool& abort) override {
    EXPECT_EQ(entry->Size(), total);
    progress.push_back(done);
    abort = done >= abort_at;
  }
  void ItemFailed(const Ref<FolderItem>&, std::int32_t, const String&, bool&) override {}
  void ItemStarting(const Ref<FolderItem>&, bool&) override {}

  std::vector<std::int32_t> progress;
  std::int32_t abort_at = INT32_MAX;
};

}  // namespace vantorel::testing
