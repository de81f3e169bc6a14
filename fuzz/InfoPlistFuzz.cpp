// Reads a property list: any text gives a result or a reason.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "platform/bundle/InfoPlist.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    vantorel::ExecutableNamedIn({reinterpret_cast<const char*>(data), size});
  } catch (const std::runtime_error& fault) {
    if (std::string_view(fault.what()).empty()) std::abort();
  }
  return 0;
}
