#include "tools/forkzip/extract/ForkSink.h"

namespace vantorel::forkzip {

bool ForkSink::Close() {
  if (refnum && errCode == 0) errCode = refnum->Close();
  return RsrcForkWriter::Close();
}

}  // namespace vantorel::forkzip
