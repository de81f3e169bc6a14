#include "zip/extract/RsrcForkReader.h"

#include <new>
#include <string>
#include <utility>

#include "platform/base/Arithmetic.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

Ref<FolderItem> RsrcForkReader::FSSpecOfFolderItem(const Ref<FolderItem>& item) {
  const Ref<FolderItem> folder = item->Parent();
  return folder && folder->Exists() ? item : nil;
}

bool RsrcForkReader::Open() {
  if (refnum) return true;
  ClearError();
  length = 0;
  bytesRead = 0;
  const Ref<FolderItem> spec = FSSpecOfFolderItem(f);
  if (!spec) return false;
  const Ref<ResourceFork> fork = ResourceFork::Open(spec, ResourceFork::Access::kRead, errCode);
  if (!fork) return false;
  if (fork->GetEOF(length) == 0) {
    refnum = fork;
    return true;
  }
  errCode = fork->Close();
  return false;
}

String RsrcForkReader::Read(std::int32_t count) {
  if (errCode != 0) return {};
  if (!refnum) throw RuntimeException("read from a closed resource fork");
  if (static_cast<std::int64_t>(bytesRead) + count > length) count = SubtractSInt32(length, bytesRead);
  if (count < 1) return {};
  std::string bytes;
  try {
    bytes.reserve(static_cast<std::size_t>(count));
  } catch (const std::bad_alloc&) {
    RaiseOutOfMemoryException();
  }
  std::int32_t code = refnum->Read(count, bytes);
  if (code == 0 && bytes.size() < static_cast<std::size_t>(count)) code = -1;
  if (code < 0) {
    errCode = code;
    return {};
  }
  bytesRead = AddSInt32(bytesRead, ToSInt32(bytes.size()));
  return String::Adopt(std::move(bytes), nil);
}

void RsrcForkReader::Close() {
  if (!refnum) return;
  refnum->Close();
  refnum = nil;
}

void RsrcForkReader::GetErrorDescription(std::int32_t& code, String& text) {
  code = errCode;
  text = errCode != 0 ? "open or read error (" + Str(errCode) + ")" : String();
}

bool RsrcForkReader::Skip(std::int32_t count) {
  if (errCode != 0) return false;
  if (!refnum) throw RuntimeException("skip in a closed resource fork");
  if (static_cast<std::int64_t>(bytesRead) + count > length) {
    refnum->SetFPos(length);
    bytesRead = length;
    return false;
  }
  bytesRead = AddSInt32(bytesRead, count);
  const std::int32_t code = refnum->SetFPos(bytesRead);
  if (code < 0) errCode = code;
  return code >= 0;
}

}  // namespace vantorel
