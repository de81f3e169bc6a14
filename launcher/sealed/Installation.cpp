#include "launcher/sealed/Installation.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "launcher/sealed/Files.h"
#include "launcher/sealed/Refusal.h"
#include "launcher/sealed/Swap.h"
#include "launcher/sealed/Unpacking.h"

namespace vantorel::sealed {
void Install(const WorkFolder& work, const Update& update) {
  Unpack(work.Path("Vantorel.zip"), work.Path("new"));
  CheckTarget(work.Path("new/" + update.target));
  WriteFile(work.Path("serial"), std::to_string(update.serial));
  WriteFile(work.Path("version"), update.version_record);
  WriteJournal(work, TopItems(work.Path("new"), update.target));
  work.Sync();
  PlaceAll(work);
}

void Settle(const WorkFolder& work) {
  const std::string folder = work.Path("");
  const std::string name = folder.substr(0, folder.size() - 1);
  const mode_t kind = StatusOf(name).st_mode;
  // What is no folder is not ours, whatever it leads to.
  if (kind != 0 && !S_ISDIR(kind) && unlink(name.c_str()) != 0) RefuseWithErrno(name);
  if (S_ISDIR(kind)) {
    if ((kind & S_IRWXU) != S_IRWXU) chmod(name.c_str(), S_IRWXU);
    if (access(name.c_str(), R_OK | W_OK | X_OK) != 0) {
      if (errno != EACCES) RefuseWithErrno(name);
      return;  // another user's: nothing in it is needed
    }
    SettleSwap(work);
  }
  work.Remove();
}

}  // namespace vantorel::sealed
