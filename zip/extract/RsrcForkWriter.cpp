#include "zip/extract/RsrcForkWriter.h"

#include "platform/base/Arithmetic.h"

namespace vantorel {

Ref<FolderItem> RsrcForkWriter::FSSpecOfFolderItem(const Ref<FolderItem>& item) {
  const Ref<FolderItem> folder = item->Parent();
  return folder && folder->Exists() ? item : nil;
}

bool RsrcForkWriter::Open() {
  if (refnum) return true;
  ClearError();
  const Ref<FolderItem> spec = FSSpecOfFolderItem(f);
  if (!spec) return false;
  const Ref<ResourceFork> fork = ResourceFork::Open(spec, ResourceFork::Access::kReadWrite, errCode);
  if (!fork) return false;
  if (fork->SetEOF(0) == 0) {
    refnum = fork;
    return true;
  }
  errCode = fork->Close();
  return false;
}

bool RsrcForkWriter::Write(const String& data) {
  if (errCode != 0) return false;
  if (!refnum) throw RuntimeException("write to a closed resource fork");
  const std::int32_t code = refnum->Write(data.view());
  if (code < 0) errCode = code;
  return code >= 0;
}

bool RsrcForkWriter::Close() {
  std::int32_t code = 0;
  if (refnum) {
    code = refnum->Close();
    refnum = nil;
  }
  return errCode == 0 && code == 0;
}

void RsrcForkWriter::GetErrorDescription(std::int32_t& code, String& text) {
  code = errCode;
  text = errCode != 0 ? String("open or write error") : String();
}

bool RsrcForkWriter::Skip(std::int32_t count) {
  if (errCode != 0) return false;
  if (!refnum) throw RuntimeException("skip in a closed resource fork");
  std::int32_t position = 0;
  std::int32_t code = refnum->GetFPos(position);
  if (code == 0) code = refnum->SetFPos(AddSInt32(position, count));
  if (code != 0) errCode = code;
  return code == 0;
}

bool RsrcForkWriter::Flush() {
  if (!refnum) throw RuntimeException("flush of a closed resource fork");
  return errCode == 0;
}

}  // namespace vantorel
