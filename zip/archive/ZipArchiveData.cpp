#include "zip/archive/ZipArchiveData.h"

#include "zip/archive/ZipEntry.h"

namespace vantorel {

namespace {

constexpr std::int32_t kDosLatinUS = 1024;

}  // namespace

ZipArchiveData::ZipArchiveData() : entries_1(1) {
  dosLatinUS = GetTextEncoding(kDosLatinUS, 0, 0);
  filenameEncoding = ZipArchiveData::findFileNameEncoding();
  ZipArchiveData::setArchiveEncoding(Encodings::UTF8());
  mb4 = NewMemoryBlock(4);
  mb4->SetLittleEndian(false);
}

ZipArchiveData::~ZipArchiveData() = default;

void ZipArchiveData::setArchiveEncoding(const Ref<TextEncoding>& encoding) {
  archiveEncoding = encoding ? encoding : filenameEncoding;
}

Ref<TextEncoding> ZipArchiveData::findFileNameEncoding() {
  return Encodings::UTF8();
}

}  // namespace vantorel
