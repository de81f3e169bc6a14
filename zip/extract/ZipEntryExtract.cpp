// ZipEntry: from a member to a file or folder on disk.
#include <sys/stat.h>

#include <string>

#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipEntry.h"
#include "zip/extract/FileWriter.h"
#include "zip/extract/RsrcForkWriter.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

constexpr std::int32_t kKeepAllBits = -1;
constexpr std::int32_t kExecuteBits = 0511;  // read and execute for the owner, execute for all others

// A component of a path as the file system can hold it.
String CleanComponent(ZipArchiveData& archive, const String& name) {
  return archive.decodeFromZip(archive.encodeForZip(name));
}

bool IsRealFolder(const std::string& path, struct stat& status) {
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Whether there is such a folder, with no link on the way to it from the root, which it lies below.
bool IsReachedWithoutLinks(const std::string& root, const std::string& folder, FolderWithoutLinks& known) {
  struct stat status {};
  if (!IsRealFolder(folder, status)) return false;
  const FolderWithoutLinks found{root, folder, status.st_dev, status.st_ino};
  if (found == known) return true;
  struct stat between {};
  for (std::size_t slash = folder.find('/', root.size() + 1); slash != std::string::npos;
       slash = folder.find('/', slash + 1)) {
    if (!IsRealFolder(folder.substr(0, slash), between)) return false;
  }
  known = found;
  return true;
}

// The destination, without touching anything, if the folders on the way are there. nil if not, or if that
// would not be the whole story.
Ref<FolderItem> DestinationInExistingFolder(ZipEntry& entry, const Ref<FolderItem>& root) {
  Ref<FolderItem> folder;
  Ref<FolderItem> current = root;
  for (const String& component : entry.path) {
    const String clean = CleanComponent(*entry.d, component);
    if (clean.empty()) continue;
    folder = current;
    current = folder->TrueChild(clean);
    if (!current) return nil;  // ".." among others
    RuntimeBackgroundTask();
  }
  if (!folder) return nil;
  const bool reached = folder == root
                           ? root->Exists()
                           : IsReachedWithoutLinks(root->Path(), folder->Path(), entry.d->last_folder);
  return reached ? current : nil;
}

// Clears the way for a file or folder and makes it, if something is there already or could not be made at
// once. Empty on success, else why not.
String ClearDestination(const Ref<FolderItem>& destination, bool is_folder, Ref<BinaryStream>& stream) {
  if (is_folder) {
    if (!destination->Exists()) destination->CreateAsFolder();
    if (!destination->Exists()) return "Folder creation failed";
    if (!destination->Directory())
      return "Archive entry is a folder but a file exists at the destination already. Won't replace that.";
  } else if (destination->Directory()) {
    return "Archive entry is a file but a folder exists at the destination already. Won't replace that.";
  }
  if (destination->Alias()) {
    destination->Delete();
    if (destination->Exists()) return "Destination exists as an alias file that can't be deleted";
  }
  if (!destination->Exists()) {
    stream = destination->CreateBinaryFile(String());
    if (!stream) return "Creating destination file failed";
  }
  return {};
}

// Sees to it that a folder, or a file that can be written, is at the destination. `stream` is the file, open
// and empty, if it had to be made. Empty on success, else why not.
String PrepareDestination(const Ref<FolderItem>& destination, bool is_folder, Ref<BinaryStream>& stream) {
  if (!destination) return "No destination given";
  // A file that can be made has nothing in its way: one system call in place of several for most members.
  if (!is_folder) stream = destination->CreateBinaryFile(String());
  if (!stream) {
    String problem = ClearDestination(destination, is_folder, stream);
    if (!problem.empty()) return problem;
  }
  if (destination->Locked()) return "Destination file is write protected";
  return {};
}

// The member's own date, as far as it has one.
void ApplyDate(ZipEntry& entry, const Ref<FolderItem>& item) {
  const Ref<Date> date = entry.Time();
  if (!date) return;
  item->SetCreationDate(date);
  item->SetModificationDate(date);
}

void ApplyPermissions(ZipEntry& entry, const Ref<FolderItem>& item, bool make_executable) {
  const std::int32_t attributes = entry.ExternalFileAttributes();
  // Negative: the top bit is set, as in the Unix mode of every regular file.
  if (attributes < 0 && ZipHost::HasUnixMode(entry.OSMadeBy())) {
    entry.ApplyUnixPermissions(item, attributes);
  } else if (make_executable && !entry.isFolder && !entry.IsTextFile()) {
    const Ref<MemoryBlock> reference = entry.d->makeFSRef(item);
    if (reference) entry.d->updateUnixPermissions(reference, kKeepAllBits, kExecuteBits);
  }
}

}  // namespace

bool ZipEntry::Extract(bool mac_binary, const Ref<SeqDataOutputStream>& data_out,
                       const Ref<SeqDataOutputStream>& rsrc_out, Ref<MemoryBlock>& header_block) {
  header_block = nil;
  if (!data_out && !rsrc_out && !mac_binary) throw RuntimeException("extraction to nowhere");
  return z_unzip(data_out, rsrc_out, mac_binary, isFolder, header_block);
}

// The metadata comes when both forks are closed, and its failures do not count.
bool ZipEntry::Extract(const Ref<FolderItem>& destination, bool mac_binary, bool make_executable) {
  Ref<BinaryStream> stream;
  const String problem = PrepareDestination(destination, isFolder, stream);
  if (!problem.empty()) {
    errmsg = problem;
    return false;
  }
  const Ref<FileWriter> data_fork = New<FileWriter>(destination);
  data_fork->bs = stream;  // a file that was made is open and empty already
  Ref<RsrcForkWriter> resource_fork;
  if (mac_binary) resource_fork = New<RsrcForkWriter>(destination);
  Ref<MemoryBlock> block;
  if (!z_unzip(data_fork, resource_fork, mac_binary, isFolder, block)) {
    destination->Delete();
    return false;
  }
  ApplyDate(*this, destination);
  ApplyMacAttributes(destination, block);
  ApplyPermissions(*this, destination, make_executable);
  return true;
}

// The folder below which the last component lies exists for most members; then all folders on the way do.
Ref<FolderItem> ZipEntry::MakeDestination(const Ref<FolderItem>& root, bool resolve_aliases) {
  if (!resolve_aliases) {
    Ref<FolderItem> destination = DestinationInExistingFolder(*this, root);
    if (destination) return destination;
  }
  Ref<FolderItem> current = root;
  for (const String& component : path) {
    const Ref<FolderItem> next = MakeDestinationChild(current, component, resolve_aliases);
    // A path goes through a link by itself. There is nothing below one that is not followed.
    const bool below = next && next->Path().size() > current->Path().size();
    if (below && !resolve_aliases && current != root && current->Alias()) return nil;
    current = next;
    RuntimeBackgroundTask();
  }
  return current;
}

// Steps up at "..", out of the root of the extraction too: keeping inside is the caller's business.
Ref<FolderItem> ZipEntry::MakeDestinationChild(const Ref<FolderItem>& parent, const String& name,
                                               bool resolve_aliases) {
  const String clean = CleanComponent(*d, name);
  if (SameText(clean, "..")) return parent->Parent();
  if (clean.empty()) return parent;
  if (!parent->Exists()) parent->CreateAsFolder();
  return resolve_aliases ? parent->Child(clean) : parent->TrueChild(clean);
}

}  // namespace vantorel
