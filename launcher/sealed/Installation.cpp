#include "launcher/sealed/Installation.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "launcher/sealed/Files.h"
#include "launcher/sealed/Refusal.h"
#include "launcher/sealed/Swap.h"
#include "launcher/sealed/Unpacking.h"
#include "platform/bundle/Bundle.h"

namespace vantorel::sealed {
namespace {

void CheckTarget(const std::string& path) {
  try {
    ProgramOf(path);
  } catch (const BundleError& error) {
    throw Refusal(Status::kIncomplete, error.what());
  }
}

}  // namespace

void Install(const WorkFolder& work, const Update& update) {
  Unpack(work.Path("Vantorel.zip"), work.Path("new"));
  CheckTarget(work.Path("new/" + update.target));
  WriteFile(work.Path("serial"), std::to_string(update.serial));
  WriteFile(work.Path("version"), update.version_record);
  Swap(work, TopItems(work.Path("new"), update.target));
}

void Settle(const WorkFolder& work) {
  const std::string folder = work.Path();
  const mode_t kind = StatusOf(folder).st_mode;
  // What is no folder is not ours, whatever it leads to: it is removed and not looked into.
  if (S_ISDIR(kind)) {
    if ((kind & S_IRWXU) != S_IRWXU) chmod(folder.c_str(), S_IRWXU);
    if (access(folder.c_str(), R_OK | W_OK | X_OK) != 0) {
      if (errno != EACCES) RefuseWithErrno(folder);
      return;  // another user's: nothing in it is needed
    }
    SettleSwap(work);
  }
  work.Remove();
}

}  // namespace vantorel::sealed
