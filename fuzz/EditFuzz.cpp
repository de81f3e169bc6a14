// Sequences of edits of a small archive against a plain model of it: a list of names, contents and comments.
// What the archive holds is read back by this library on the way, and by libzip at the end.
#include <unistd.h>
#include <zip.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Choices.h"
#include "fuzz/EditSequence.h"
#include "tests/support/StringStreams.h"
#include "zip/archive/ZipArchive.h"

namespace {

using namespace vantorel;  // NOLINT(google-build-using-namespace): the harness is about nothing else
using fuzzing::Choices;
using testing::StringSource;

void CheckByLibzip(const std::string& path, const std::vector<fuzzing::Member>& members) {
  int error = 0;
  zip_t* const archive = zip_open(path.c_str(), ZIP_RDONLY, &error);
  fuzzing::Require(archive != nullptr, "libzip opens it");
  fuzzing::Require(zip_get_num_entries(archive, 0) == static_cast<zip_int64_t>(members.size()),
                   "libzip's count");
  for (std::size_t i = 0; i < members.size(); ++i) {
    const std::string& content = members[i].content;
    fuzzing::Require(zip_get_name(archive, i, ZIP_FL_ENC_RAW) == members[i].name, "libzip's name");
    zip_file_t* const file = zip_fopen_index(archive, i, 0);
    fuzzing::Require(file != nullptr, "libzip opens a member");
    std::string bytes(content.size() + 1, '\0');
    const zip_int64_t got = zip_fread(file, bytes.data(), bytes.size());
    fuzzing::Require(
        got == static_cast<zip_int64_t>(content.size()) && bytes.compare(0, content.size(), content) == 0,
        "libzip's content");
    zip_fclose(file);
  }
  zip_discard(archive);
}

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
  CheckByLibzip(path, fuzzing::Editing(path, choices).Run());
  return 0;
}
