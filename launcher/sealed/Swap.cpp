#include "launcher/sealed/Swap.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <sstream>

#include "launcher/sealed/Files.h"
#include "launcher/sealed/Refusal.h"

namespace vantorel::sealed {
namespace {

// A new item is known by its inode, which renaming leaves alone.
struct Item {
  ino_t inode = 0;
  mode_t old_mode = 0;  // of what is in its place before, 0 if nothing is
  std::string name;
};

bool Look(const std::string& path, struct stat& status) {
  return lstat(path.c_str(), &status) == 0;
}

bool IsThere(const std::string& path) {
  struct stat status {};
  return Look(path, status);
}

bool IsNewOne(const std::string& path, const Item& item) {
  struct stat status {};
  return Look(path, status) && status.st_ino == item.inode;
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
  struct stat status {};
  if (Look(path, status) && S_ISDIR(status.st_mode) && (status.st_mode & S_IWUSR) == 0) {
    chmod(path.c_str(), (status.st_mode & 07777) | S_IWUSR);
  }
}

void Place(const WorkFolder& work, const Item& item) {
  const std::string fresh = work.Path("new/" + item.name);
  const std::string place = work.LauncherFolder() + item.name;
  if (!IsNewOne(fresh, item)) return;
  MakeMovable(fresh);
  MakeMovable(place);
  if (IsThere(place)) {
    if (Exchange(fresh, place)) return;
    Rename(place, work.Path("old/" + item.name));
  }
  Rename(fresh, place);
}

void TakeBack(const WorkFolder& work, const Item& item) {
  const std::string fresh = work.Path("new/" + item.name);
  const std::string place = work.LauncherFolder() + item.name;
  const std::string aside = work.Path("old/" + item.name);
  if (IsNewOne(place, item)) {
    if (!IsThere(fresh)) {
      Rename(place, fresh);
    } else if (!Exchange(fresh, place)) {
      RefuseWithErrno(place);
    }
  }
  if (!IsThere(place) && IsThere(aside)) Rename(aside, place);
  if (S_ISDIR(item.old_mode) && (item.old_mode & S_IWUSR) == 0) chmod(place.c_str(), item.old_mode & 07777);
}

// Every item ends in a null byte: what was not written whole is none.
std::vector<Item> ReadJournal(const WorkFolder& work) {
  const std::string content = ReadFile(work.Path("journal")).value_or("");
  std::vector<Item> items;
  std::size_t at = 0;
  for (std::size_t end = 0; (end = content.find('\0', at)) != std::string::npos; at = end + 1) {
    std::istringstream line(content.substr(at, end - at));
    Item item;
    line >> item.inode >> item.old_mode;
    line.ignore();
    item.name.assign(std::istreambuf_iterator<char>(line), {});
    items.push_back(item);
  }
  return items;
}

// The update is installed: its number and version go where the next start looks for them.
void Record(const WorkFolder& work) {
  for (const char* name : {"serial", "version"}) {
    if (IsThere(work.Path(name))) Rename(work.Path(name), work.LauncherFolder() + name);
  }
}

}  // namespace

void WriteJournal(const WorkFolder& work, const std::vector<std::string>& names) {
  std::ostringstream journal;
  for (const std::string& name : names) {
    struct stat fresh {};
    struct stat old {};
    if (!Look(work.Path("new/" + name), fresh)) RefuseWithErrno(work.Path("new/" + name));
    if (!Look(work.LauncherFolder() + name, old)) old.st_mode = 0;
    journal << fresh.st_ino << ' ' << old.st_mode << ' ' << name << '\0';
  }
  WriteFile(work.Path("journal"), journal.str());
}

void PlaceAll(const WorkFolder& work) {
  for (const Item& item : ReadJournal(work)) Place(work, item);
}

void SettleSwap(const WorkFolder& work) {
  std::vector<Item> items = ReadJournal(work);
  if (items.empty()) return;
  if (IsNewOne(work.LauncherFolder() + items.back().name, items.back())) {
    PlaceAll(work);
    Record(work);
  } else {
    std::reverse(items.begin(), items.end());
    for (const Item& item : items) TakeBack(work, item);
  }
  work.Sync();
  if (unlink(work.Path("journal").c_str()) != 0) RefuseWithErrno(work.Path("journal"));
}

}  // namespace vantorel::sealed
