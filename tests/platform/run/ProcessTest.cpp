#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/base/Exceptions.h"
#include "platform/base/Failures.h"
#include "platform/run/EventLoop.h"
#include "platform/run/Runtime.h"
#include "platform/run/Shell.h"
#include "platform/run/System.h"

namespace vantorel {
namespace {

namespace fs = std::filesystem;

class ShellTest : public testing::Test {
 protected:
  ShellTest() {
    char name[] = "/tmp/vantorel-shell-XXXXXX";
    folder_ = mkdtemp(name);
    setenv("D", folder_.c_str(), 1);
  }
  ~ShellTest() override { fs::remove_all(folder_); }

  // What the command wrote to the file `out`, once the file `done` is there. $D is the folder.
  std::string Run(const std::string& command, std::int32_t mode = 1) {
    const auto shell = New<Shell>();
    shell->SetMode(mode);
    shell->Execute(String::Bytes(command + "; : > $D/done"));
    while (!fs::exists(folder_ / "done")) usleep(1000);
    std::ifstream file(folder_ / "out");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  fs::path folder_;
};

TEST_F(ShellTest, TheCommandHasTheSurroundingsOfAProgramOfItsOwn) {
  std::signal(SIGPIPE, SIG_IGN);  // as RuntimeInit does
  const int leaked = dup(1);      // an ordinary descriptor, not closed on exec by itself
  const std::string said =
      Run("{ echo ${PATH%%:*}; ps -o sid= -p $$ | tr -d ' '; echo $$; ls /proc/self/fd | wc -l;"
          "  sed -n 's/SigIgn:\\t*//p' /proc/self/status; cat; } > $D/out");
  close(leaked);
  std::istringstream lines(said);
  std::string path, session, pid, descriptors, ignored;
  std::getline(lines, path);
  std::getline(lines, session);
  std::getline(lines, pid);
  std::getline(lines, descriptors);
  std::getline(lines, ignored);
  EXPECT_EQ(path, HelperFolder());
  EXPECT_EQ(session, pid) << "not in a session of its own";
  EXPECT_EQ(descriptors, "4") << "descriptors of ours leak into the command";  // 0, 1, 2 and that of ls
  EXPECT_EQ(std::stoull(ignored, nullptr, 16) >> (SIGPIPE - 1) & 1, 0U)
      << "SIGPIPE is ignored in the command";
}

TEST_F(ShellTest, ModeOneDoesNotWaitAndLeavesNoZombie) {
  const auto shell = New<Shell>();
  shell->SetMode(1);
  shell->Execute(
      "while [ ! -e $D/go ]; do sleep 0.01; done; exit 3");  // would never end if it was waited for
  std::ofstream(folder_ / "go");
  siginfo_t ended;
  while (waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) == 0) EventLoop::Current().RunPending(10);
  EXPECT_EQ(errno, ECHILD);  // no child is left, running or dead
}

TEST_F(ShellTest, TheCommandOutlivesTheProgram) {
  const pid_t program = fork();
  if (program == 0) {
    const auto shell = New<Shell>();
    shell->SetMode(1);
    shell->Execute("while [ ! -e $D/go ]; do sleep 0.01; done; : > $D/done");
    _exit(0);
  }
  waitpid(program, nullptr, 0);
  std::ofstream(folder_ / "go");
  while (!fs::exists(folder_ / "done")) usleep(1000);
}

TEST(Runtime, AnUnhandledExceptionSaysWhatFailedAndEndsWithOne) {
  const auto end = [] {
    char name[] = "program";
    char* argv[] = {name, nullptr};
    RuntimeInit(1, argv);
    NoteFailure("make the folder", "/data/Vantorel", EACCES);
    RuntimeUnhandledException(NilObjectException());
    std::exit(RuntimeExit());
  };
  EXPECT_EXIT(end(), testing::ExitedWithCode(1),
              "test_run: cannot go on: .*does not exist\n.*\n  cannot make the folder /data/Vantorel: "
              "Permission denied\n");
}

TEST(System, TheCommandLineBeginsWithThePathOfTheProgram) {
  const char* argv[] = {"test_run", "-x", "a b"};
  System::KeepCommandLine(3, argv);
  EXPECT_EQ(std::string(System::CommandLine().view()),
            fs::read_symlink("/proc/self/exe").string() + " -x a b");
}

}  // namespace
}  // namespace vantorel
