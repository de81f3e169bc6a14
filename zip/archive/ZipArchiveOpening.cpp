// Construction, opening and closing.
#include "zip/archive/RuntimeGuard.h"
#include "zip/archive/ZipArchive.h"

namespace vantorel {

namespace {

constexpr std::int32_t kCopyChunkSize = 16384;

}  // namespace

ZipArchive::ZipArchive() {
  ZipArchive::z_setup();
}

// The entries hold the shared state that holds them: a dropped archive lets go of them.
ZipArchive::~ZipArchive() {
  if (d) d->entries_1.resize(1);
}

void ZipArchive::z_setup() {
  d = New<ZipArchiveData>();
  d->copyChunkSize = kCopyChunkSize;
}

bool ZipArchive::Fail(const char* message) {
  errmsg = message;
  return false;
}

bool ZipArchive::Open(const Ref<FolderItem>& file, bool writable) {
  return Open(file, writable, EncodedAsUnicode());
}

bool ZipArchive::Open(const Ref<FolderItem>& file, bool writable, const Ref<TextEncoding>& encoding) {
  errmsg = "";
  return WithRuntimeGuard(errmsg, "Unexpected error (exception)", false,
                          [&] { return OpenUnguarded(file, writable, encoding); });
}

bool ZipArchive::OpenUnguarded(const Ref<FolderItem>& file, bool writable,
                               const Ref<TextEncoding>& encoding) {
  if (entriesRead) throw RuntimeException("the archive is open already");
  if (!file) return Fail("No file specified");
  d->theFile = file;
  d->setArchiveEncoding(encoding);
  const bool create = writable && !file->Exists();
  const bool opened = create ? OpenCreating() : OpenExisting(writable);
  writeMode = writable && opened && !centralDirCorrupted;
  // A writable archive rewrites its directory at Close, whether or not anything was changed.
  if (writeMode) d->dirty = true;
  return opened;
}

bool ZipArchive::OpenCreating() {
  d->zipStream = d->theFile->CreateBinaryFile("application/zip");
  if (!d->zipStream) return Fail("Creating the archive file failed");
  d->zipStream->SetLittleEndian(true);
  startOfDirInArchive = 0;
  entriesRead = true;
  justCreated = true;
  return true;
}

bool ZipArchive::OpenExisting(bool writable) {
  d->zipStream = d->theFile->OpenAsBinaryFile(writable);
  if (!d->zipStream) return Fail("Opening the archive file failed");
  d->zipStream->SetLittleEndian(true);
  z_readDirectory();
  if (!entriesRead) {
    d->zipStream->Close();
    d->zipStream = nil;
  }
  return entriesRead;
}

bool ZipArchive::Close() {
  if (!d || !d->zipStream) return true;
  const bool written = z_writeDirectory();
  d->zipStream->Close();
  d->zipStream = nil;
  d->entries_1.resize(1);
  entriesRead = false;
  justCreated = false;
  marked = false;
  return written;
}

void ZipArchive::Desctructor() {
  const bool was_new = d && d->zipStream && justCreated;
  if (!Close() && was_new) d->theFile->Delete();
}

}  // namespace vantorel
