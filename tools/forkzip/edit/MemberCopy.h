// Members under other names, with the data copied as it is stored.
#pragma once

#include <map>
#include <string>

#include "platform/base/Ref.h"
#include "tools/forkzip/edit/ArchiveEdit.h"
#include "tools/forkzip/edit/MemberRecords.h"

namespace vantorel::forkzip {

struct NamingOptions : Options {
  std::string member;
  std::string new_name;
};

// Writes a member called `name` (as stored) with the data of `entry`, and likewise a second companion if
// there is one, behind the old members. Returns the directory with their records. Raises Failure, with
// nothing written if `entry` is damaged or the archive would become too large.
RawDirectory DuplicateMember(ArchiveEdit& edit, const Ref<ZipEntry>& entry, const std::string& name);

// The new names of members, as stored, by their records.
using NewNames = std::map<RecordKey, std::string>;

// Adds the new name of a member, and that of its companion if there is one.
void AddNewName(NewNames& names, const Ref<ZipEntry>& entry, const std::string& name);
// Gives members new names, of which all but those of companions are `name` or lie in the folder `name` (as
// stored); their place in the directory stays. In place their old headers and data stay behind as unused
// bytes. Returns the directory. Raises Failure, with nothing written if a new name is taken, a local header
// contradicts the directory or the archive would become too large.
RawDirectory RenameMembers(ArchiveEdit& edit, const NewNames& names, const std::string& name);

}  // namespace vantorel::forkzip
