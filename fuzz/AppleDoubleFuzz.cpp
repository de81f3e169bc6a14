// Any bytes as the side file of an item: reading it stays within the file, and what is then stored in it can
// be read back without the file growing out of proportion.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/files/FolderItem.h"
#include "platform/files/ResourceFork.h"
#include "platform/text/TextFunctions.h"

namespace {

using vantorel::FinderInfo;
using vantorel::FolderItem;
using vantorel::Ref;
using vantorel::ResourceFork;
namespace fs = std::filesystem;

void Require(bool condition) {
  if (!condition) std::abort();
}

// A folder with the file `name`, for the life of the process.
const fs::path& Folder() {
  static const fs::path folder = [] {
    std::string path = (fs::temp_directory_path() / "vantorel-fuzz-XXXXXX").string();
    Require(mkdtemp(path.data()) != nullptr);
    std::ofstream(fs::path(path) / "name");
    std::atexit([] { fs::remove_all(Folder()); });
    return fs::path(path);
  }();
  return folder;
}

std::string ForkOf(const Ref<FolderItem>& item) {
  std::int32_t error = 0;
  const Ref<ResourceFork> fork = ResourceFork::Open(item, ResourceFork::Access::kRead, error);
  std::string bytes;
  Require(fork && fork->Read(0x7FFFFFFF, bytes) == 0);
  return bytes;
}

bool WriteFork(const Ref<FolderItem>& item, std::int32_t position, std::string_view bytes) {
  std::int32_t error = 0;
  const Ref<ResourceFork> fork = ResourceFork::Open(item, ResourceFork::Access::kReadWrite, error);
  return fork && fork->SetFPos(position) == 0 && fork->Write(bytes) == 0 && fork->Close() == 0;
}

FinderInfo FinderInfoOf(const Ref<FolderItem>& item) {
  vantorel::MacData data;
  Require(item->GetMacData(data) == 0);
  return data.finder;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fs::path side_file = Folder() / "._name";
  std::ofstream(side_file, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  const Ref<FolderItem> item = vantorel::GetFolderItem(vantorel::String::Bytes((Folder() / "name").string()));

  std::string fork = ForkOf(item);
  Require(fork.size() <= size && item->ResourceForkLength() == static_cast<std::int32_t>(fork.size()));

  FinderInfo info = FinderInfoOf(item);
  info.script ^= 0x55;
  const bool stored = item->SetFinderInfo(info) == 0;
  if (stored) Require(FinderInfoOf(item) == info && ForkOf(item).size() == fork.size());
  fork = ForkOf(item);  // a table may let it share bytes with the Finder info

  const std::int32_t position = size > 0 ? data[size - 1] : 0;
  if (WriteFork(item, position, "bytes")) {
    const auto at = static_cast<std::size_t>(position);
    fork.resize(std::max(fork.size(), at + 5));
    fork.replace(at, 5, "bytes");
    Require(ForkOf(item) == fork);
    if (stored) Require(FinderInfoOf(item) == info);
  }
  Require(fs::file_size(side_file) <= 2 * size + 1000);
  fs::remove(side_file);
  return 0;
}
