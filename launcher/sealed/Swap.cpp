#include "launcher/sealed/Swap.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <sstream>

#include "launcher/sealed/Files.h"
#include "launcher/sealed/Refusal.h"

namespace vantorel::sealed {
namespace {

struct Item {
  ino_t inode = 0;      // of the new one; renaming leaves it alone
  mode_t old_mode = 0;  // of what is in its place before, 0 if nothing is
  std::string place;
  std::string fresh;  // where the new one comes from; by an exchange the old one goes there
  std::string aside;  // where the old one goes if the two cannot be exchanged
};

bool IsThere(const std::string& path) {
  return StatusOf(path).st_mode != 0;
}

// Whether the new item is in its place already.
bool IsPlaced(const Item& item) {
  if (StatusOf(item.place).st_ino == item.inode) return true;
  if (StatusOf(item.fresh).st_ino == item.inode) return false;
  throw Refusal(Status::kNotPlaced, item.place +
                                        ": cannot be told from what should replace it; without the folder " +
                                        WorkFolder::kName + " any update is installed");
}

void Rename(const std::string& from, const std::string& to) {
  if (rename(from.c_str(), to.c_str()) != 0) RefuseWithErrno(from);
}

// False if this file system cannot exchange two names.
bool Exchange(const std::string& one, const std::string& other) {
  if (renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP && errno != EXDEV) RefuseWithErrno(other);
  return false;
}

// A folder that its owner may not change cannot be moved to another one either.
void MakeMovable(const std::string& path) {
  const mode_t mode = StatusOf(path).st_mode;
  if (S_ISDIR(mode) && (mode & S_IWUSR) == 0) chmod(path.c_str(), (mode & 07777) | S_IWUSR);
}

void Place(const Item& item) {
  if (IsPlaced(item)) return;
  if (IsThere(item.place)) {
    MakeMovable(item.place);
    if (Exchange(item.fresh, item.place)) return;
    Rename(item.place, item.aside);
  }
  Rename(item.fresh, item.place);
}

void TakeBack(const Item& item) {
  if (IsPlaced(item)) {
    if (!IsThere(item.fresh)) {
      Rename(item.place, item.fresh);
    } else if (!Exchange(item.fresh, item.place)) {
      RefuseWithErrno(item.place);
    }
  }
  if (!IsThere(item.place) && IsThere(item.aside)) Rename(item.aside, item.place);
  if (S_ISDIR(item.old_mode) && (item.old_mode & S_IWUSR) == 0)
    chmod(item.place.c_str(), item.old_mode & 07777);
}

// What was not written whole, or was lost with the power, is no item: nothing was placed then.
std::vector<Item> ReadJournal(const WorkFolder& work) {
  std::istringstream journal(ReadFile(work.Path("journal")).value_or(""));
  std::vector<Item> items;
  for (std::string line; std::getline(journal, line, '\0') && !journal.eof();) {
    std::istringstream fields(line);
    Item item;
    std::string name;
    if (!(fields >> item.inode >> item.old_mode)) break;
    std::getline(fields.ignore(), name, '\0');
    item.place = work.LauncherFolder() + name;
    item.fresh = work.Path("new/" + name);
    item.aside = work.Path("old/" + name);
    items.push_back(item);
  }
  return items;
}

void WriteJournal(const WorkFolder& work, const std::vector<std::string>& names) {
  std::ostringstream journal;
  for (const std::string& name : names) {
    const struct stat fresh = StatusOf(work.Path("new/" + name));
    const struct stat old = StatusOf(work.LauncherFolder() + name);
    journal << fresh.st_ino << ' ' << old.st_mode << ' ' << name << '\0';
  }
  WriteFile(work.Path("journal"), journal.str());
}

// The update is installed: its number and version go where the next start looks for them.
void Record(const WorkFolder& work) {
  for (const char* name : {"serial", "version"}) {
    if (IsThere(work.Path(name))) Rename(work.Path(name), work.LauncherFolder() + name);
  }
}

}  // namespace

// Nothing is placed before the disk holds the journal and all that it names.
void Swap(const WorkFolder& work, const std::vector<std::string>& names) {
  WriteJournal(work, names);
  work.Sync();
  for (const Item& item : ReadJournal(work)) Place(item);
}

void SettleSwap(const WorkFolder& work) {
  const std::vector<Item> items = ReadJournal(work);
  if (items.empty()) return;
  const bool installed = IsPlaced(items.back());
  for (const Item& item : items) installed ? Place(item) : TakeBack(item);
  if (installed) Record(work);
  work.Sync();
  if (unlink(work.Path("journal").c_str()) != 0) RefuseWithErrno(work.Path("journal"));
}

}  // namespace vantorel::sealed
