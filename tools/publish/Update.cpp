#include "tools/publish/Update.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/bundle/Bundle.h"
#include "platform/text/TextFunctions.h"
#include "platform/text/Utf8.h"
#include "tools/publish/Application.h"
#include "tools/publish/OutputFolder.h"
#include "tools/publish/PublishError.h"
#include "tools/publish/UpdateArchive.h"

namespace vantorel::publish {
namespace {

[[noreturn]] void Refuse(const std::string& why) {
  throw PublishError(ExitCode::kBadInput, why);
}

void CheckVersion(const std::string& version) {
  if (version.empty()) Refuse("the version is empty, which a launcher takes for an unreachable server");
  if (version.find('_') != std::string::npos) {
    Refuse("the version '" + version +
           "' holds an underscore; a launcher reads its record of the version only up to there and would "
           "update at every start");
  }
  const bool plain = std::none_of(version.begin(), version.end(),
                                  [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == '\x7F'; });
  if (!plain) Refuse("the version holds a blank or a control character, which a launcher would compare too");
}

std::string ReadNotes(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  std::string notes{std::istreambuf_iterator<char>(stream), {}};
  if (!stream.is_open() || stream.bad()) throw PublishError(ExitCode::kFileError, path + ": cannot be read");
  const std::size_t sound = SoundUtf8(notes);
  if (sound < notes.size()) {
    const auto line = 1 + std::count(notes.begin(), notes.begin() + static_cast<std::ptrdiff_t>(sound), '\n');
    Refuse(path + ": line " + std::to_string(line) +
           " is not UTF-8, the encoding in which launchers show the notes");
  }
  return notes;
}

// The next update would hold this one.
void CheckApart(const std::string& output, const std::string& application) {
  namespace fs = std::filesystem;
  // A relative path of which nothing is there yet would stay relative.
  const auto whole = [](const std::string& path) { return fs::weakly_canonical(fs::absolute(path)); };
  const fs::path way = whole(output).lexically_relative(whole(application));
  if (*way.begin() != "..") Refuse(output + ": lies inside the application that is to be published");
}

}  // namespace

void Publish(const Update& update) {
  CheckVersion(update.version);
  const std::string notes = ReadNotes(update.notes_file);
  const std::string target = update.platform == "mac" ? "Vantorel.app" : "Vantorel";
  const std::vector<AppFile> files = ListApplication(update.application, target);

  ProgramOf(update.application, target);  // there is one
  CheckApart(update.output_folder, update.application);

  OutputFolder folder(update.output_folder);
  const std::string prefix = update.platform + "_Vantorel";
  const std::string signature = prefix + "_signature";
  const std::int64_t serial = update.signing.serial.value_or(std::time(nullptr));
  CheckFollows(update.output_folder + "/" + signature, update.version, serial, update.signing);

  const std::string archive = folder.Draft(prefix + "_update");
  MakeArchive(archive, files);
  VerifyArchive(archive, files);
  std::vector<std::string> resources = {prefix + "_update"};
  if (!update.signing.key_file.empty()) {
    Sign(archive, folder.Draft(signature), update.version, serial, update.signing);
    resources.push_back(signature);
  }
  folder.WriteDraft(prefix + "_changelog", notes);
  resources.push_back(prefix + "_changelog");
  folder.WriteDraft(prefix + "_version", update.version);
  folder.Place(resources);
  folder.Place({prefix + "_version"});
  folder.Complete();
}

}  // namespace vantorel::publish
