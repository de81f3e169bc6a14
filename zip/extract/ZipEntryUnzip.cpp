// ZipEntry: decompression.
#include "zip/archive/ZipEntry.h"
#include "zip/extract/UnzipRun.h"

namespace vantorel {

bool ZipEntry::z_unzip(const Ref<SeqDataOutputStream>& data_out, const Ref<SeqDataOutputStream>& rsrc_out,
                       bool mac_binary, bool header_only, Ref<MemoryBlock>& header_block) {
  return UnzipRun(*this, data_out, rsrc_out, mac_binary, header_only, header_block).Run();
}

bool ZipEntry::Verify() {
  Ref<MemoryBlock> block;
  return z_unzip(nil, nil, false, false, block);
}

}  // namespace vantorel
