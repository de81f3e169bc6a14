// From the archive of an update to files.
#pragma once

#include <string>
#include <vector>

namespace vantorel::sealed {

// Unpacks the archive into a folder that is there and empty. Nothing is written if a name leads out of the
// folder or a member is a link. Raises Refusal.
void Unpack(const std::string& archive, const std::string& folder);

// The names at the top level of what was unpacked, the target's last. Raises Refusal if a name that the
// launcher keeps for its own files is among them.
std::vector<std::string> TopItems(const std::string& folder, const std::string& target);

}  // namespace vantorel::sealed
