// One update: what is given on the command line, checked, and made ready for any static web server.
#pragma once

#include <string>

#include "tools/publish/Signing.h"

namespace vantorel::publish {

struct Update {
  std::string application;  // the folder to publish
  std::string version;
  std::string notes_file;
  std::string output_folder;
  std::string platform = "mac";  // or "win"
  Signing signing;
};

// Writes <platform>_Vantorel_update, _changelog and _version, and _signature if the update is signed, into
// the output folder, each by rename and the version last, so that a launcher never meets half of an update.
// Nothing is put in place before the archive has been read back, and its signature checked. Raises
// PublishError.
void Publish(const Update& update);

}  // namespace vantorel::publish
