#include "launcher/sealed/Installation.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

#include "launcher/sealed/Refusal.h"
#include "launcher/sealed/Swap.h"
#include "launcher/sealed/Unpacking.h"

namespace vantorel::sealed {
namespace {

void WriteFile(const std::string& path, std::string_view content) {
  std::ofstream stream(path, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream) throw Refusal(Status::kNotPlaced, path + ": cannot be written");
}

// Whatever this moves is on the disk.
void MakeReady(const WorkFolder& work, const Update& update) {
  Unpack(work.Path("Vantorel.zip"), work.Path("new"));
  WriteFile(work.Path("serial"), std::to_string(update.serial));
  WriteFile(work.Path("version"), update.version_record);
  if (!work.Sync()) throw Refusal(Status::kNotUnpacked, work.Path() + ": " + std::strerror(errno));
}

}  // namespace

void Install(const WorkFolder& work, const Update& update) {
  MakeReady(work, update);
  const std::vector<std::string> names = TopItems(work.Path("new"), update.target);
  Swap swap(work.Path("new/"), work.LauncherFolder(), work.Path("old/"));
  try {
    for (const std::string& name : names) swap.Place(name);
    const std::string serial = work.LauncherFolder() + "serial";
    if (!work.Sync() || rename(work.Path("serial").c_str(), serial.c_str()) != 0) {
      throw Refusal(Status::kNotPlaced, serial + ": " + std::strerror(errno));
    }
  } catch (...) {
    swap.TakeBack();
    throw;
  }
}

}  // namespace vantorel::sealed
