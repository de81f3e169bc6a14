// The installation of an update whose archive is known to be good.
#pragma once

#include <cstdint>
#include <string>

#include "launcher/sealed/WorkFolder.h"

namespace vantorel::sealed {

struct Update {
  std::string target;          // what the target is called in the archive and in the launcher folder
  std::string version_record;  // what the file `version` is going to hold
  std::int64_t serial = 0;
};

// Unpacks the work folder's archive and puts all that is in it in place, the target last. If that raises
// Refusal, Settle brings back what was there.
void Install(const WorkFolder& work, const Update& update);

// Ends an installation, or one that was broken off: completes it if the new target is in its place, else
// takes it back; then removes the work folder. Raises Refusal if that cannot be done now, and leaves what is
// needed to do it later. The work folder is one that was entered.
void Settle(const WorkFolder& work);

}  // namespace vantorel::sealed
