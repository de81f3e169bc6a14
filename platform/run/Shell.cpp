#include "platform/run/Shell.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "platform/run/ChildReaper.h"
#include "platform/run/System.h"

namespace vantorel {

namespace {

constexpr char kShell[] = "/bin/sh";

// Session, signals and descriptors of the command. Ours must not leak into a process that outlives us.
class SpawnSettings {
 public:
  SpawnSettings() {
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setflags(&attributes_,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  const posix_spawnattr_t* Attributes() const { return &attributes_; }
  const posix_spawn_file_actions_t* Actions() const { return &actions_; }

 private:
  posix_spawnattr_t attributes_;
  posix_spawn_file_actions_t actions_;
};

// Our environment with the helper folder first on PATH.
std::vector<std::string> CommandEnvironment() {
  constexpr char kDefaultPath[] = "/usr/local/bin:/usr/bin:/bin";
  const char* path = std::getenv("PATH");
  std::vector<std::string> result;
  result.push_back("PATH=" + HelperFolder() + ":" + (path != nullptr ? path : kDefaultPath));
  for (char** entry = environ; *entry != nullptr; ++entry) {
    if (std::string_view(*entry).substr(0, 5) != "PATH=") result.emplace_back(*entry);
  }
  return result;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

void Shell::Execute(const String& command) {
  const SpawnSettings settings;
  std::vector<std::string> words = {"sh", "-c", std::string(command.view())};
  std::vector<std::string> environment = CommandEnvironment();
  pid_t child;
  if (posix_spawn(&child, kShell, settings.Actions(), settings.Attributes(), Pointers(words).data(),
                  Pointers(environment).data()) != 0) {
    return;
  }
  if (mode_ == 1) {
    ReapWhenEnded(child);
    return;
  }
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

std::string HelperFolder() {
  namespace fs = std::filesystem;
  const fs::path own = fs::path(System::ExecutablePath()).parent_path();
  const fs::path installed = own.parent_path() / "libexec" / "vantorel";
  std::error_code error;
  return fs::is_directory(installed, error) ? installed.string() : own.string();
}

}  // namespace vantorel
