// Lists the members of an archive, and adds a note to it: the Zip library in forty lines.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "platform/files/FolderItem.h"
#include "zip/archive/ZipArchive.h"

using namespace vantorel;

namespace {

int Complain(const char* path, const Ref<ZipArchive>& archive) {
  std::fprintf(stderr, "%s: %s\n", path, std::string(archive->ErrorMessage().view()).c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: list-archive ARCHIVE FILE-TO-ADD\n");
    return 2;
  }
  // Only a regular file goes in with its data: the library would store a link, a pipe or a missing file as an
  // empty member, and a file of 2 GiB or more cut short. So links are followed here.
  std::error_code error;
  const std::filesystem::path path = std::filesystem::canonical(argv[2], error);
  if (error || !std::filesystem::is_regular_file(path) || std::filesystem::file_size(path) > INT32_MAX) {
    std::fprintf(stderr, "%s: not a file that can be added\n", argv[2]);
    return 1;
  }
  const Ref<FolderItem> file = GetFolderItem(String::Bytes(path.string()));
  const auto archive = New<ZipArchive>();
  if (!archive->Open(GetFolderItem(String::Bytes(argv[1])), true)) return Complain(argv[1], archive);

  for (std::int32_t i = 1; i <= archive->EntryCount(); ++i) {
    const Ref<ZipEntry> entry = archive->Entry(i);
    std::printf("%10d  %s\n", entry->Size(), std::string(entry->RawPath().view()).c_str());
  }

  const std::int32_t added = archive->AddItemToRoot(file, archive->MacBinarySmart());
  int exit_code = added < 1 ? Complain(argv[2], archive) : 0;
  if (!archive->Close()) exit_code = Complain(argv[1], archive);  // in any case, or the directory is lost
  if (exit_code == 0) std::printf("added as member %d\n", added);
  return exit_code;
}
