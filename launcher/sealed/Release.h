// What a signed comment says of an archive: "version:V<TAB>serial:N". Serial numbers grow from release to
// release, so that an older one cannot be passed off as an update.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantorel::sealed {

// The serial number in the comment of the release `version`. Raises Refusal if it is another version's, or
// not of that form.
std::int64_t SerialOf(std::string_view comment, std::string_view version);

// Raises Refusal unless the release may follow what is installed in the launcher folder, whose path ends in a
// slash. The same serial number may come again for the same version alone. `version_record` is what the file
// `version` is going to hold.
void CheckSucceeds(std::int64_t serial, const std::string& version_record,
                   const std::string& launcher_folder);

}  // namespace vantorel::sealed
