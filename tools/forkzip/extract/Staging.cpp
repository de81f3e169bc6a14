#include "tools/forkzip/extract/Staging.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "tools/forkzip/cli/FileBytes.h"
#include "tools/forkzip/cli/Problems.h"

namespace vantorel::forkzip {

Staging::~Staging() {
  if (name_.empty() || unlinkat(folder_, name_.c_str(), AT_REMOVEDIR) == 0) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void Staging::Make(const std::string& path) {
  const std::string name = ProvisionalName();
  if (mkdirat(folder_, name.c_str(), S_IRWXU) != 0) {
    throw Failure(ExitCode::kFileError, WithCause("cannot be written", errno));
  }
  name_ = name;
  path_ = path + "/" + name;
}

}  // namespace vantorel::forkzip
