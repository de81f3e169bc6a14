// Turning one item of the file system into a member.
#include "platform/base/Arithmetic.h"
#include "zip/archive/RuntimeGuard.h"
#include "zip/archive/ZipArchive.h"
#include "zip/extract/FileReader.h"
#include "zip/extract/MacBinaryHeader.h"
#include "zip/extract/RsrcForkReader.h"
#include "zip/records/ZipRecords.h"
#include "zip/write/AddResult.h"
#include "zip/write/EntryWriter.h"

namespace vantorel {

namespace {

// The forks of the item that are to go in, and their lengths. With `size_only` no readers are made.
MemberForks ForksOf(ZipArchive& archive, const Ref<FolderItem>& item, std::int32_t mode, bool size_only) {
  MemberForks source;
  if (item->Directory()) return source;
  source.data_length = ToSInt32(item->Length());
  if (!size_only) source.data_in = New<FileReader>(item);
  if (mode <= archive.MacBinaryNever()) return source;
  const std::int32_t rsrc_length = item->ResourceForkLength();
  if (rsrc_length > 0) {
    source.rsrc_length = rsrc_length;
    if (!size_only) source.rsrc_in = New<RsrcForkReader>(item);
  }
  return source;
}

// Records the item's Unix mode, if it can be had.
void SetPermissions(ZipArchive& archive, const Ref<FolderItem>& item, const Ref<ZipEntry>& entry) {
  std::int32_t mode = 0;
  if (!archive.GetUnixPermissions(item, mode)) return;
  entry->SetOSMadeBy(ZipHost::kUnix);
  entry->SetExternalFileAttributes(archive.d->shiftLeft16(mode) | (entry->ExternalFileAttributes() & 0xFFFF));
}

std::int32_t AddItem(ZipArchive& archive, const Ref<FolderItem>& item, const String& path, std::int32_t mode,
                     bool unix_permissions, bool size_only) {
  MemberForks source = ForksOf(archive, item, mode, size_only);
  // The mode for everything wraps folders too.
  const bool wrapped =
      mode == archive.MacBinaryAlways() || (mode == archive.MacBinarySmart() && source.rsrc_length > 0);
  if (size_only) {
    return wrapped ? MacBinaryHeader::TotalLength(source.data_length, source.rsrc_length)
                   : source.data_length;
  }
  if (wrapped) {
    source.mac_binary_header =
        archive.MakeMacBinaryHeader(item, source.data_length, source.rsrc_length, item->Name());
  }
  const Ref<ZipExtraField> extra =
      wrapped ? archive.MakeZipExtraField(item) : archive.MakeZipExtraField(item, "");
  const std::int32_t result =
      archive.z_zip(source.data_in, source.data_length, source.rsrc_in, source.rsrc_length,
                    source.mac_binary_header, path, item->ModificationDate(), extra);
  if (unix_permissions && result > 0) {
    SetPermissions(archive, item, archive.d->entries_1[static_cast<std::size_t>(result)]);
  }
  return result;
}

}  // namespace

std::int32_t ZipArchive::z_addItem(const Ref<FolderItem>& item, const String& path, std::int32_t mode,
                                   bool unixPermissions, bool sizeOnly) {
  if (!sizeOnly && !writeMode) {
    z_noWriteMsg();
    return AddResult::kNotStored;
  }
  if (!item) {
    errmsg = "no file reference given";
    return AddResult::kNotStored;
  }
  return WithRuntimeGuard(errmsg, AddResult::kUnexpectedFault, AddResult::kItemFault,
                          [&] { return AddItem(*this, item, path, mode, unixPermissions, sizeOnly); });
}

std::int32_t ZipArchive::AddItemWithRawPath(const Ref<FolderItem>& item, const String& path,
                                            std::int32_t mode) {
  return z_addItem(item, path, mode, d->addUnixPerm, false);
}

std::int32_t ZipArchive::AddItemToRoot(const Ref<FolderItem>& item, std::int32_t mode) {
  String path;
  if (item) {
    path = d->cleanName(item->Name());
    if (item->Directory()) path += "/";
  }
  return z_addItem(item, path, mode, d->addUnixPerm, false);
}

std::int32_t ZipArchive::CalcItemSize(const Ref<FolderItem>& item, std::int32_t mode) {
  return z_addItem(item, "", mode, false, true);
}

}  // namespace vantorel
