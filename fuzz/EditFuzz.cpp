// Sequences of edits of a small archive against a plain model of it: a list of names, contents and comments.
// What the archive holds is read back by this library on the way, and by libzip at the end.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "fuzz/Choices.h"
#include "fuzz/EditSequence.h"
#include "tests/support/StringStreams.h"
#include "zip/archive/ZipArchive.h"

namespace {

using namespace vantorel;  // NOLINT(google-build-using-namespace): the harness is about nothing else
using fuzzing::Choices;
using testing::StringSource;

// Somebody else's archive, or a forged one: edits may fail, and no more.
void EditForged(const std::string& path, std::string_view bytes, Choices& choices) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  const auto archive = New<ZipArchive>();
  if (!archive->Open(GetFolderItem(String::Bytes(path)), true)) return;
  for (int step = 0; step < 4; ++step) {
    const auto index = static_cast<std::int32_t>(choices.Below(4));
    if (index >= 1 && index <= archive->EntryCount()) archive->RemoveEntry(index);
    if ((choices.Byte() & 1) != 0) archive->Compact();
    if ((choices.Byte() & 1) != 0) {
      archive->AddItemByStreams(New<StringSource>("text"), 4, nil, 0, nil, "added", nil, nil);
    }
  }
  archive->Close();
}

const std::string& Workplace() {
  static const std::string path =
      (std::filesystem::temp_directory_path() / ("edit-fuzz-" + std::to_string(getpid()) + ".zip")).string();
  static const auto registered = std::atexit([] { std::filesystem::remove(path); });
  static_cast<void>(registered);
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kForgedChoices = 12;
  const std::string& path = Workplace();
  std::filesystem::remove(path);
  if (size > kForgedChoices && data[0] == 'P') {
    Choices choices(data + 1, kForgedChoices - 1);
    EditForged(path, {reinterpret_cast<const char*>(data) + kForgedChoices, size - kForgedChoices}, choices);
    return 0;
  }
  Choices choices(data, size);
  fuzzing::Editing(path, choices).Run();
  return 0;
}
