// open: starts application bundles, and hands everything else to the desktop's xdg-open.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/bundle/Bundle.h"
#include "tools/open/Detached.h"

namespace {

using vantorel::BundleError;

constexpr char kUsage[] =
    "usage: open ITEM\n"
    "\n"
    "Opens ITEM and returns at once.\n"
    "\n"
    "  NAME.app       starts the program of the application bundle: the one that its\n"
    "                 Contents/Info.plist names (CFBundleExecutable), in Contents/Linux or,\n"
    "                 failing that, in Contents/MacOS\n"
    "  anything else  a file, folder or URL: goes to xdg-open, which opens it with the\n"
    "                 desktop's program for it\n"
    "\n"
    "Exit codes: 0 the item was opened, 1 it could not be, 2 wrong usage.\n";

std::string Reason(int error_number) {
  return std::generic_category().message(error_number);
}

void OpenBundle(const std::string& item) {
  const std::string program = vantorel::ProgramOf(item).string();
  const int error = vantorel::StartDetached(program);
  if (error == ENOEXEC) throw BundleError(program + ": it is not a program for this system");
  if (error != 0) throw BundleError(program + ": " + Reason(error));
}

// Does not return if it succeeds.
void OpenByDesktop(const std::string& item) {
  execlp("xdg-open", "xdg-open", item.c_str(), nullptr);
  throw std::runtime_error(item + ": xdg-open could not be started: " + Reason(errno));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (std::string_view(argv[1]) == "--help" || std::string_view(argv[1]) == "-h")) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  if (argc != 2 || argv[1][0] == '-' || argv[1][0] == '\0') {
    std::fputs(kUsage, stderr);
    return 2;
  }
  try {
    if (vantorel::IsBundle(argv[1])) {
      OpenBundle(argv[1]);
    } else {
      OpenByDesktop(argv[1]);
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "open: %s\n", error.what());
    return 1;
  }
  return 0;
}
