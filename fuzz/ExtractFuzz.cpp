// Opens, lists, verifies and extracts whatever bytes it is given as an archive. Quickest on a
// memory file system.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipArchive.h"

namespace {

using namespace vantorel;  // NOLINT(google-build-using-namespace): the harness is about nothing else

// A folder of this process's own; goes with it.
class Workplace {
 public:
  Workplace()
      : folder_(std::filesystem::temp_directory_path() / ("extract-fuzz-" + std::to_string(getpid()))) {
    std::filesystem::create_directories(folder_);
  }
  ~Workplace() { std::filesystem::remove_all(folder_); }
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

  std::string Path(const char* name) const { return (folder_ / name).string(); }

 private:
  std::filesystem::path folder_;
};

// The engine steps up at "..", which would leave the workplace.
bool StaysInside(const ZipEntry& entry) {
  for (const String component : entry.path) {
    if (component.view() == "..") return false;
  }
  return true;
}

void ExtractEntry(ZipEntry& entry, const Ref<FolderItem>& root) {
  entry.EnableFileLocking(true);
  entry.Extract(entry.MakeDestination(root, false), true);
  entry.Extract(entry.MakeDestination(root, false), false, false);
}

void Exercise(ZipEntry& entry, const Ref<FolderItem>& root) {
  try {
    entry.EnableMacBinary1Detection(true);
    entry.Verify();
    Ref<MemoryBlock> block;
    entry.GetMacBinaryHeader(block);
    if (StaysInside(entry)) ExtractEntry(entry, root);
  } catch (const RuntimeException&) {
    // What a forged name or a forged offset in a companion's header raises.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Workplace workplace;
  const std::string file = workplace.Path("in.zip");
  const std::string folder = workplace.Path("out");
  std::ofstream(file, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  std::filesystem::create_directory(folder);

  const Ref<ZipArchive> archive = New<ZipArchive>();
  if (archive->Open(GetFolderItem(String::Bytes(file)), false)) {
    const Ref<FolderItem> root = GetFolderItem(String::Bytes(folder));
    for (std::int32_t i = 1; i <= archive->EntryCount(); ++i) Exercise(*archive->Entry(i), root);
    archive->Close();
  }
  std::filesystem::remove_all(folder);
  return 0;
}
