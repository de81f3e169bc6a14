#include "platform/run/System.h"

#include <filesystem>
#include <system_error>

namespace vantorel::System {

namespace {

std::string arguments;

std::string FindExecutable() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

}  // namespace

void KeepCommandLine(int argc, const char* const* argv) {
  ExecutablePath();
  arguments.clear();
  for (int i = 1; i < argc; ++i) arguments.append(" ").append(argv[i]);
}

String CommandLine() {
  return String::Bytes(ExecutablePath() + arguments);
}

const std::string& ExecutablePath() {
  // Kept from the start: the file may be replaced while the program runs.
  static const std::string path = FindExecutable();
  return path;
}

}  // namespace vantorel::System
