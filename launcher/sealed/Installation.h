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

// Unpacks the work folder's archive, puts all that is in it in place, the target last, and records the
// update. If that raises Refusal, all is as it was; if the program is killed at any moment, the old target or
// the new one is there after Settle. Only Settle completes the record.
void Install(const WorkFolder& work, const Update& update);

}  // namespace vantorel::sealed
