// The ways in for one member from streams.
#include "zip/archive/RuntimeGuard.h"
#include "zip/archive/ZipArchive.h"
#include "zip/write/AddResult.h"
#include "zip/write/EntryWriter.h"

namespace vantorel {

std::int32_t ZipArchive::AddItemByStreams(const Ref<SeqDataInputStream>& dataIn, std::int32_t dataLength,
                                          const Ref<SeqDataInputStream>& rsrcIn, std::int32_t rsrcLength,
                                          const Ref<MemoryBlock>& macBinaryHeader, const String& name,
                                          const Ref<ZipExtraField>& extra, const Ref<Date>& date) {
  if (rsrcIn && (!macBinaryHeader || macBinaryHeader->Size() == 0)) {
    throw RuntimeException("a resource fork can only be stored behind a MacBinary header");
  }
  if (!writeMode) {
    z_noWriteMsg();
    return AddResult::kNotStored;
  }
  return z_zip(dataIn, dataLength, rsrcIn, rsrcLength, macBinaryHeader, name, date, extra);
}

std::int32_t ZipArchive::z_zip(const Ref<SeqDataInputStream>& dataIn, std::int32_t dataLength,
                               const Ref<SeqDataInputStream>& rsrcIn, std::int32_t rsrcLength,
                               const Ref<MemoryBlock>& macBinaryHeader, const String& name,
                               const Ref<Date>& date, const Ref<ZipExtraField>& extra) {
  return WithRuntimeGuard(
      [&] {
        EntryWriter writer(*this, {dataIn, dataLength, rsrcIn, rsrcLength, macBinaryHeader});
        return writer.Store(name, date, extra);
      },
      [&]() -> std::int32_t {
        errmsg = "An unexpected error occured while storing an item";
        return AddResult::kStoreFailed;
      });
}

}  // namespace vantorel
