#include "zip/extract/FileWriter.h"

#include "platform/base/Arithmetic.h"

namespace vantorel {

void FileWriter::Check() {
  if (bs->Length() != ToPosition(written) || bs->WriteError()) error = true;
}

bool FileWriter::Open() {
  if (bs) return true;
  bs = f->Exists() ? f->OpenAsBinaryFile(true) : f->CreateBinaryFile(String());
  if (bs) bs->SetLength(0);
  error = bs == nil || bs->Length() != 0;
  return !error;
}

bool FileWriter::Write(const String& data) {
  if (!bs) throw RuntimeException("write to a closed file");
  written = AddSInt32(written, ToSInt32(data.size()));
  bs->Write(data);
  return true;
}

bool FileWriter::Close() {
  if (!bs) return true;
  Check();
  bs->Close();
  if (bs->WriteError()) error = true;
  bs = nil;
  return !error;
}

void FileWriter::GetErrorDescription(std::int32_t& code, String& text) {
  code = error ? -1 : 0;
  text = error ? String("open or write error") : String();
}

bool FileWriter::Skip(std::int32_t count) {
  if (!bs) throw RuntimeException("skip in a closed file");
  written = AddSInt32(written, count);
  if (bs->Length() < ToPosition(written)) bs->SetLength(ToPosition(written));
  return true;
}

bool FileWriter::Flush() {
  if (!bs) throw RuntimeException("flush of a closed file");
  Check();
  return !error;
}

}  // namespace vantorel
