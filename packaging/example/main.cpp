// Lists the members of an archive, and adds a note to it: the Zip library in forty lines.
#include <cstdio>
#include <string>

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
  const Ref<FolderItem> file = GetFolderItem(String::Bytes(argv[2]));
  if (!file || !file->Exists()) {  // which the library would store as an empty member
    std::fprintf(stderr, "%s: no such file\n", argv[2]);
    return 1;
  }
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
