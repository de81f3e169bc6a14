// The plain model of an archive, and what is held against it: what this library reads back.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/StringStreams.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::fuzzing {

using testing::StringSink;

inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

struct Member {
  std::string name;
  std::string content;
  std::shared_ptr<std::string> comment = std::make_shared<std::string>();  // shared where the entry is
};

// A record without a comment takes over the one of the record before.
inline std::vector<Member> AsRead(const std::vector<Member>& written) {
  std::vector<Member> read = written;
  std::string comment;
  for (Member& member : read) {
    if (!member.comment->empty()) comment = *member.comment;
    member.comment = std::make_shared<std::string>(comment);
  }
  return read;
}

inline void CheckEntry(ZipEntry& entry, const Member& member) {
  Require(entry.RawPath().view() == member.name, "name");
  Require(entry.Comment().view() == *member.comment, "comment");
  if (entry.IsDirectory()) return;  // what a folder holds is not for reading
  const auto sink = New<StringSink>();
  Ref<MemoryBlock> header;
  Require(entry.Extract(false, sink, nil, header) && sink->bytes == member.content, "content");
}

inline void CheckFile(const std::string& path, const std::vector<Member>& members) {
  const auto reader = New<ZipArchive>();
  Require(reader->Open(GetFolderItem(String::Bytes(path)), false), "reopening");
  const std::vector<Member> expected = AsRead(members);
  Require(reader->EntryCount() == static_cast<std::int32_t>(expected.size()), "count in the file");
  for (std::size_t i = 0; i < expected.size(); ++i) {
    CheckEntry(*reader->Entry(static_cast<std::int32_t>(i) + 1), expected[i]);
  }
  reader->Close();
}

}  // namespace vantorel::fuzzing
