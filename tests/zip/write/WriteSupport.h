// What the tests of writing share.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/ScratchFolder.h"
#include "tests/support/StringStreams.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::testing {

inline std::string Text(const String& text) {
  return std::string(text.view());
}

// `length` bytes that deflate a little.
inline std::string Noise(std::size_t length, unsigned seed = 1) {
  std::string bytes(length, '\0');
  for (char& c : bytes) c = static_cast<char>('!' + ((seed = seed * 1103515245 + 12345) >> 16) % 40);
  return bytes;
}

// The file a.zip in a folder.
inline Ref<ZipArchive> Open(const ScratchFolder& scratch, bool writable = true) {
  auto archive = New<ZipArchive>();
  EXPECT_TRUE(archive->Open(scratch.Item("a.zip"), writable)) << archive->errmsg.view();
  return archive;
}

// Names and contents in the order of the entries.
using Members = std::vector<std::pair<std::string, std::string>>;

inline std::int32_t Add(ZipArchive& archive, const std::string& name, const std::string& bytes) {
  return archive.AddItemByStreams(New<StringSource>(bytes), static_cast<std::int32_t>(bytes.size()), nil, 0,
                                  nil, name.c_str(), nil, nil);
}

inline Members MembersOf(ZipArchive& archive) {
  Members members;
  for (std::int32_t i = 1; i <= archive.EntryCount(); ++i) {
    const Ref<ZipEntry> entry = archive.Entry(i);
    auto sink = New<StringSink>();
    Ref<MemoryBlock> header;
    EXPECT_TRUE(entry->Extract(false, sink, nil, header)) << entry->errmsg.view();
    members.emplace_back(entry->RawPath().view(), sink->bytes);
  }
  return members;
}
inline Members MembersOf(const ScratchFolder& scratch) {
  return MembersOf(*Open(scratch, false));
}
inline std::vector<std::string> NamesOf(const ScratchFolder& scratch) {
  std::vector<std::string> names;
  for (const String& name : Open(scratch, false)->AllEntriesAsRawPaths()) names.emplace_back(name.view());
  return names;
}

}  // namespace vantorel::testing
