// ZipEntry: from a member to a file or folder on disk.
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/ZipEntry.h"
#include "zip/archive/ZipRecords.h"
#include "zip/extract/FileWriter.h"
#include "zip/extract/RsrcForkWriter.h"

namespace vantorel {

namespace {

constexpr std::int32_t kKeepAllBits = -1;
constexpr std::int32_t kExecuteBits = 0511;  // read and execute for the owner, execute for all others

bool MayHoldUnixMode(std::int32_t os) {
  return os == ZipHost::kDos || os == ZipHost::kUnix || os == ZipHost::kMacintosh;
}

// Deals with what is at the destination and sees to it that a folder, or a file that can be written, is
// there. Empty on success, else why not.
String PrepareDestination(const Ref<FolderItem>& destination, bool is_folder) {
  if (!destination) return "No destination given";
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
    const Ref<BinaryStream> stream = destination->CreateBinaryFile(String());
    if (!stream) return "Creating destination file failed";
    stream->Close();
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

// From the first source that there is: the header block, whose dates win too; the extra field; the name.
void ApplyTypeAndCreator(ZipEntry& entry, const Ref<FolderItem>& item, const Ref<MemoryBlock>& block) {
  String type;
  String creator;
  String name;
  if (block) {
    entry.ApplyMacBinaryInformation(item, block);
  } else if (entry.extra && entry.extra->GetTypeCreatorName(type, creator, name)) {
    item->SetMacType(type);
    item->SetMacCreator(creator);
    if (!name.empty()) entry.z_adjustMacFilename(name, 0, item);
  } else if (entry.z_icMapFilename(item->Name(), type, creator)) {
    item->SetMacType(type);
    item->SetMacCreator(creator);
  }
}

void ApplyPermissions(ZipEntry& entry, const Ref<FolderItem>& item, bool make_executable) {
  const std::int32_t attributes = entry.ExternalFileAttributes();
  // Negative: the top bit is set, as in the Unix mode of every regular file.
  if (attributes < 0 && MayHoldUnixMode(entry.OSMadeBy())) {
    entry.ApplyUnixPermissions(item, attributes);
  } else if (make_executable && !entry.isFolder && !entry.IsTextFile()) {
    const Ref<MemoryBlock> reference = entry.d->makeFSRef(item);
    if (reference) entry.d->updateUnixPermissions(reference, kKeepAllBits, kExecuteBits);
  }
}

}  // namespace

bool ZipEntry::Extract(const Ref<FolderItem>& destination) {
  return Extract(destination, true);
}

// The flag is not looked at: callers rely on forks and execute bits whatever they pass.
bool ZipEntry::Extract(const Ref<FolderItem>& destination, bool /*flag*/) {
  return Extract(destination, true, true);
}

bool ZipEntry::Extract(bool mac_binary, const Ref<SeqDataOutputStream>& data_out,
                       const Ref<SeqDataOutputStream>& rsrc_out, Ref<MemoryBlock>& header_block) {
  header_block = nil;
  if (!data_out && !rsrc_out && !mac_binary) throw RuntimeException("extraction to nowhere");
  return z_unzip(data_out, rsrc_out, mac_binary, isFolder, header_block);
}

// The metadata comes when both forks are closed, and its failures do not count.
bool ZipEntry::Extract(const Ref<FolderItem>& destination, bool mac_binary, bool make_executable) {
  const String problem = PrepareDestination(destination, isFolder);
  if (!problem.empty()) {
    errmsg = problem;
    return false;
  }
  const Ref<FileWriter> data_fork = New<FileWriter>(destination);
  Ref<RsrcForkWriter> resource_fork;
  if (mac_binary) resource_fork = New<RsrcForkWriter>(destination);
  Ref<MemoryBlock> block;
  if (!z_unzip(data_fork, resource_fork, mac_binary, isFolder, block)) {
    destination->Delete();
    return false;
  }
  ApplyDate(*this, destination);
  ApplyTypeAndCreator(*this, destination, block);
  ApplyPermissions(*this, destination, make_executable);
  return true;
}

Ref<FolderItem> ZipEntry::MakeDestination(const Ref<FolderItem>& root, bool resolve_aliases) {
  Ref<FolderItem> current = root;
  for (const String& component : path) {
    current = MakeDestinationChild(current, component, resolve_aliases);
    RuntimeBackgroundTask();
  }
  return current;
}

// Steps up at "..", out of the root of the extraction too: keeping inside is the caller's business.
Ref<FolderItem> ZipEntry::MakeDestinationChild(const Ref<FolderItem>& parent, const String& name,
                                               bool resolve_aliases) {
  const String clean = d->decodeFromZip(d->encodeForZip(name));
  if (SameText(clean, "..")) return parent->Parent();
  if (clean.empty()) return parent;
  if (!parent->Exists()) parent->CreateAsFolder();
  return resolve_aliases ? parent->Child(clean) : parent->TrueChild(clean);
}

}  // namespace vantorel
