#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <sstream>

#include "platform/run/Shell.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

TEST(Shell, ModeOneDoesNotWaitAndTheCommandHasTheSurroundingsOfAProgramOfItsOwn) {
  const ScratchFolder folder;
  setenv("D", folder.Path().c_str(), 1);
  std::signal(SIGPIPE, SIG_IGN);  // as RuntimeInit does
  const int leaked = dup(1);      // an ordinary descriptor, not closed on exec by itself
  const auto shell = New<Shell>();
  shell->SetMode(1);
  shell->Execute(
      "while [ ! -e $D/go ]; do sleep 0.01; done;"
      "{ echo ${PATH%%:*} $(ps -o sid= -p $$) $$; ls /proc/self/fd | wc -l;"
      "  sed -n 's/SigIgn:\\t*//p' /proc/self/status; cat; } > $D/out; : > $D/done");
  close(leaked);
  folder.Write("go", "");  // would never be reached if the command was waited for
  while (!folder.Has("done")) usleep(1000);
  std::string path, session, pid, descriptors, ignored;
  std::istringstream(folder.Read("out")) >> path >> session >> pid >> descriptors >> ignored;
  EXPECT_EQ(path, HelperFolder());
  EXPECT_EQ(session, pid) << "not in a session of its own";
  EXPECT_EQ(descriptors, "4") << "descriptors of ours leak into the command";  // 0, 1, 2 and that of ls
  EXPECT_EQ(std::stoull(ignored, nullptr, 16) >> (SIGPIPE - 1) & 1, 0U)
      << "SIGPIPE is ignored in the command";
  EXPECT_LT(waitpid(-1, nullptr, WNOHANG), 0);
  EXPECT_EQ(errno, ECHILD) << "a child is left, running or dead";
}

}  // namespace
}  // namespace vantorel::testing
