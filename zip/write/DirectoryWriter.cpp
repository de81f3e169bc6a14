// Writing the central directory and the end record back from the entries in memory.
#include "platform/base/Arithmetic.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"
#include "zip/archive/RuntimeGuard.h"
#include "zip/archive/ZipArchive.h"
#include "zip/extract/SeqDataInputStream.h"
#include "zip/records/ZipRecords.h"

namespace vantorel {

namespace {

// Brings the three lengths in the header up to date and writes the record. False with a message in the
// archive's errmsg.
bool WriteCentralRecord(ZipArchive& archive, const Ref<ZipEntry>& entry) {
  const Ref<MemoryBlock> header = entry->z_Header();
  const String name = entry->z_origEncodedName();
  const String comment = entry->z_origEncodedComment();
  const Ref<ZipExtraField> extra = entry->ExtraFieldInCentralDir();
  if (!extra) {
    archive.errmsg = entry->ErrorMessage();
    return false;
  }
  // Whoever changes an extra field keeps the stored length in step; only a fake duplicate may not.
  const String extra_data = extra->AsData();
  if (header->UShort(CentralHeader::kExtraLength) != LenB(extra_data)) {
    archive.errmsg = "Internal error (extra field length mismatch)";
    return false;
  }
  header->SetUShort(CentralHeader::kNameLength, LenB(name));
  header->SetUShort(CentralHeader::kExtraLength, LenB(extra_data));
  header->SetUShort(CentralHeader::kCommentLength, LenB(comment));
  if (header->Size() < CentralHeader::kSize) RaiseOutOfBoundsException();

  BinaryStream& stream = *archive.d->zipStream;
  stream.WriteBytes(header->View().substr(0, CentralHeader::kSize));
  stream.Write(name);
  if (!extra_data.empty()) stream.Write(extra_data);
  stream.Write(comment);
  return true;
}

void WriteEndRecord(const ZipArchive& archive, std::int32_t entry_count) {
  BinaryStream& stream = *archive.d->zipStream;
  const std::int32_t directory_size = ToSInt32(stream.Position() - ToPosition(archive.startOfDirInArchive));
  stream.WriteLong(EndRecord::kMagic);
  stream.WriteShort(0);  // this disk
  stream.WriteShort(0);  // disk with the directory
  stream.WriteShort(static_cast<std::int16_t>(entry_count));
  stream.WriteShort(static_cast<std::int16_t>(entry_count));
  stream.WriteLong(directory_size);
  stream.WriteLong(archive.startOfDirInArchive);
  stream.WriteShort(static_cast<std::int16_t>(LenB(archive.comment_)));
  stream.Write(archive.comment_);
}

bool WriteDirectory(ZipArchive& archive) {
  ZipArchiveData& data = *archive.d;
  // An archive on disk always holds a member: without one it could not be opened again. What becomes of this
  // one is not looked at.
  if (data.UpperBound() == 0) archive.z_zip(nil, 0, nil, 0, nil, "/", nil, nil);

  // Forged, or the archive has grown beyond 2^31 bytes.
  if (archive.startOfDirInArchive < 0) throw RuntimeException("a directory at no position");
  data.zipStream->SetPosition(ToPosition(archive.startOfDirInArchive));
  const std::int32_t count = data.UpperBound();
  for (std::int32_t i = 1; i <= count; ++i) {
    if (!WriteCentralRecord(archive, data.entries_1[static_cast<std::size_t>(i)])) return false;
    RuntimeBackgroundTask();
  }
  WriteEndRecord(archive, count);
  // Cuts off the rest of an older directory, of aborted members, and whatever else lies behind.
  data.zipStream->SetLength(data.zipStream->Position());
  // The archive is whole from here on, also for others who look at the file.
  data.zipStream->Flush();
  data.dirty = false;
  return true;
}

}  // namespace

bool ZipArchive::z_writeDirectory() {
  if (!d->dirty) return true;
  return WithRuntimeGuard(errmsg, "Internal error (Exception in z_writeDirectory)", false,
                          [&] { return WriteDirectory(*this); });
}

bool ZipArchive::Flush() {
  if (!writeMode) {
    z_noWriteMsg();
    return false;
  }
  if (!entriesRead) throw RuntimeException("Flush on an archive whose directory is not read");
  // A first failed write is deliberately answered with true; the reason stands in errmsg.
  if (!z_writeDirectory()) return true;
  return z_writeDirectory();
}

}  // namespace vantorel
