// A folder of the test's own that goes with it, whatever its members' modes.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "platform/files/FolderItem.h"

namespace vantorel::testing {

class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "vantorel-XXXXXX").string();
    path_ = mkdtemp(name.data());
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  // Another process may still be at work in it.
  ~ScratchFolder() {
    const std::string line = "chmod -R u+rwX '" + path_.string() + "'; rm -rf '" + path_.string() + "'";
    std::system((line + " 2> /dev/null").c_str());  // NOLINT(cert-env33-c)
  }

  std::string Path(std::string_view name = "") const { return (path_ / name).string(); }
  Ref<FolderItem> Item(std::string_view name = "") const { return GetFolderItem(String::Bytes(Path(name))); }
  bool Has(std::string_view name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(Path(name)));
  }

  // Makes or replaces a file; gives its item.
  Ref<FolderItem> Write(std::string_view name, std::string_view bytes) const {
    std::ofstream file(Path(name), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    EXPECT_TRUE(file.good()) << name;
    return Item(name);
  }
  std::string Read(std::string_view name) const {
    std::ifstream file(Path(name), std::ios::binary);
    EXPECT_TRUE(file.good()) << name;
    return {std::istreambuf_iterator<char>(file), {}};
  }
  // What a command of the shell prints, run in this folder; it must succeed.
  std::string Run(const std::string& command) const {
    const std::string output = path_.string() + ".out";
    const std::string line = "cd '" + path_.string() + "' && { " + command + " ; } > '" + output + "' 2>&1";
    const int status = std::system(line.c_str());  // NOLINT(cert-env33-c): the tests drive other tools
    std::ifstream file(output, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    std::filesystem::remove(output);
    EXPECT_EQ(status, 0) << command << "\n" << text;
    return text;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace vantorel::testing
