#include "platform/run/Shell.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "platform/run/System.h"

namespace vantorel {

namespace {

// Makes this process, which has just been forked, the command. Nothing of ours leaks into it, since it may
// outlive us. Calls nothing that a thread of the window system could hold a lock of.
[[noreturn]] void Become(const char* helpers, const char* command) {
  setsid();
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  std::signal(SIGPIPE, SIG_DFL);
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  dup2(nothing, STDIN_FILENO);
  dup2(nothing, STDOUT_FILENO);
  close_range(STDERR_FILENO + 1, ~0U, 0);
  constexpr char kWithHelpers[] =
      "PATH=$1:${PATH:-/usr/local/bin:/usr/bin:/bin}; export PATH; exec /bin/sh -c \"$2\"";
  execl("/bin/sh", "sh", "-c", kWithHelpers, "sh", helpers, command, nullptr);
  _exit(127);
}

}  // namespace

void Shell::Execute(const String& command) {
  const std::string helpers = HelperFolder();
  const std::string text(command.view());
  const pid_t child = fork();
  if (child == 0) {
    // A command that is not waited for is the child of a process that has ended: another collects its status.
    if (mode_ == 1 && fork() != 0) _exit(0);
    Become(helpers.c_str(), text.c_str());
  }
  while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

std::string HelperFolder() {
  namespace fs = std::filesystem;
  const fs::path own = fs::path(System::ExecutablePath()).parent_path();
  const fs::path installed = (own / VANTOREL_HELPER_FOLDER).lexically_normal();
  std::error_code error;
  return fs::is_directory(installed, error) ? installed.string() : own.string();
}

}  // namespace vantorel
