// Reads a property list: any text gives a result or a reason.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/bundle/InfoPlist.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string error;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (!vantorel::ParseInfoPlist(text, error) && error.empty()) std::abort();
  return 0;
}
