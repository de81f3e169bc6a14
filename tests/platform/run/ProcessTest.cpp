#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>

#include "platform/run/Shell.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel {
namespace {

class ShellTest : public ::testing::Test {
 protected:
  ShellTest() { setenv("D", folder_.Path().c_str(), 1); }

  // $D is the folder.
  static void Execute(const std::string& command) {
    const auto shell = New<Shell>();
    shell->SetMode(1);
    shell->Execute(String::Bytes(command));
  }
  void AwaitDone() const {
    while (!folder_.Has("done")) usleep(1000);
  }

  const testing::ScratchFolder folder_;
};

TEST_F(ShellTest, TheCommandHasTheSurroundingsOfAProgramOfItsOwn) {
  std::signal(SIGPIPE, SIG_IGN);  // as RuntimeInit does
  const int leaked = dup(1);      // an ordinary descriptor, not closed on exec by itself
  Execute(
      "{ echo ${PATH%%:*} $(ps -o sid= -p $$) $$; ls /proc/self/fd | wc -l;"
      "  sed -n 's/SigIgn:\\t*//p' /proc/self/status; cat; } > $D/out; : > $D/done");
  close(leaked);
  AwaitDone();
  std::string path, session, pid, descriptors, ignored;
  std::istringstream(folder_.Read("out")) >> path >> session >> pid >> descriptors >> ignored;
  EXPECT_EQ(path, HelperFolder());
  EXPECT_EQ(session, pid) << "not in a session of its own";
  EXPECT_EQ(descriptors, "4") << "descriptors of ours leak into the command";  // 0, 1, 2 and that of ls
  EXPECT_EQ(std::stoull(ignored, nullptr, 16) >> (SIGPIPE - 1) & 1, 0U)
      << "SIGPIPE is ignored in the command";
}

TEST_F(ShellTest, ModeOneDoesNotWaitAndLeavesNoZombie) {
  Execute("while [ ! -e $D/go ]; do sleep 0.01; done; : > $D/done");  // would never end if it was waited for
  folder_.Write("go", "");
  AwaitDone();
  EXPECT_LT(waitpid(-1, nullptr, WNOHANG), 0);
  EXPECT_EQ(errno, ECHILD);  // no child is left, running or dead
}

}  // namespace
}  // namespace vantorel
