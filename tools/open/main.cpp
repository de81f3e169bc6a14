// open: starts application bundles, and hands everything else to the desktop's xdg-open.
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/bundle/Bundle.h"

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

// Starts the program at `path`, without arguments, in a session of its own and without input or output.
// Returns 0 once it runs, else the errno that kept it from being executed.
int StartDetached(const std::string& path) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);

  std::string name = path;
  char* const words[] = {name.data(), nullptr};
  pid_t child;
  const int error = posix_spawn(&child, path.c_str(), &actions, &attributes, words, environ);

  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error;
}

void OpenBundle(const std::string& item) {
  const std::string program = vantorel::ProgramOf(item).string();
  const int error = StartDetached(program);
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
