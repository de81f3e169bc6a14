// An archive in a scratch folder, opened for a test.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/ScratchFolder.h"
#include "tests/support/ZipBytes.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel::testing {

struct OpenedZip {
  explicit OpenedZip(std::string_view bytes, bool writable) {
    opened = archive->Open(folder.Write("a.zip", bytes), writable);
  }
  explicit OpenedZip(const std::vector<ZipMember>& members) : OpenedZip(MakeZip(members), false) {}

  std::string Message() const { return std::string(archive->ErrorMessage().view()); }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const String& name : archive->AllEntriesAsRawPaths()) names.emplace_back(name.view());
    return names;
  }
  Ref<ZipEntry> First() const { return archive->Entry(1); }

  ScratchFolder folder;
  Ref<ZipArchive> archive = New<ZipArchive>();
  bool opened = false;
};

using Strings = std::vector<std::string>;

}  // namespace vantorel::testing
