#include "zip/extract/FileReader.h"

#include "platform/base/Arithmetic.h"

namespace vantorel {

bool FileReader::Open() {
  if (bs) return true;
  bs = f->OpenAsBinaryFile(false);
  error = bs == nil;
  return !error;
}

String FileReader::Read(std::int32_t count) {
  if (!bs) throw RuntimeException("read from a closed file");
  String bytes = bs->Read(count);
  if (bs->ReadError()) error = true;
  return bytes;
}

void FileReader::Close() {
  if (!bs) return;
  bs->Close();
  bs = nil;
}

void FileReader::GetErrorDescription(std::int32_t& code, String& text) {
  code = error ? -1 : 0;
  text = error ? String("open or read error") : String();
}

bool FileReader::Skip(std::int32_t count) {
  if (!bs) throw RuntimeException("skip in a closed file");
  const std::uint64_t target = bs->Position() + ToPosition(count);
  if (bs->Length() < target) bs->SetLength(target);
  bs->SetPosition(target);
  // Compared with the count and not with the target: callers know a second skip by its error.
  if (bs->Position() != ToPosition(count)) error = true;
  return !error;
}

}  // namespace vantorel
