// Members and archives for tests that extract: data deflated, bytes opened as an archive.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/compress/ZStream.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/ZipBytes.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::testing {

// Raw deflate data.
inline std::string Deflated(const std::string& plain) {
  struct Collector : IStreamWriter {
    void Write(const String& data) override { bytes += data.view(); }
    std::int32_t LastError() override { return 0; }
    std::string bytes;
  };
  const auto collector = New<Collector>();
  const auto stream = New<ZStream>(true, collector, nil);
  stream->Write(String::Bytes(plain));
  stream->Close();
  return collector->bytes.substr(10, collector->bytes.size() - 18);
}
inline ZipMember DeflatedMember(const std::string& name, const std::string& plain) {
  ZipMember member{.name = name, .data = Deflated(plain), .method = 8};
  member.crc = PlainCrc32(plain);
  member.uncompressed_size = static_cast<std::uint32_t>(plain.size());
  return member;
}

using Strings = std::vector<std::string>;

// An archive in a folder of its own, opened.
struct OpenedZip {
  OpenedZip() = default;
  explicit OpenedZip(std::string_view bytes, bool writable) : opened(Open(bytes, writable)) {}
  explicit OpenedZip(const std::vector<ZipMember>& members) : OpenedZip(MakeZip(members), false) {}

  bool Open(std::string_view bytes, bool writable = false) {
    return archive->Open(folder.Write("a.zip", bytes), writable);
  }
  std::string Message() const { return std::string(archive->ErrorMessage().view()); }
  Strings Names() const {
    Strings names;
    for (const String& name : archive->AllEntriesAsRawPaths()) names.emplace_back(name.view());
    return names;
  }
  Ref<ZipEntry> First() const { return archive->Entry(1); }

  ScratchFolder folder;
  Ref<ZipArchive> archive = New<ZipArchive>();
  bool opened = false;
};

// The archive `name` in a folder, opened for reading.
inline Ref<ZipArchive> OpenZip(const ScratchFolder& folder, const std::string& name) {
  const auto archive = New<ZipArchive>();
  EXPECT_TRUE(archive->Open(folder.Item(name), false)) << archive->ErrorMessage().view();
  return archive;
}
inline Ref<ZipArchive> OpenZip(const ScratchFolder& folder, const std::vector<ZipMember>& members) {
  folder.Write("a.zip", MakeZip(members));
  return OpenZip(folder, "a.zip");
}

}  // namespace vantorel::testing
