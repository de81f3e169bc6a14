// What must hold before an archive is changed. Each check raises Failure (kBadArchive) that says why the
// change would lose something and what to do instead; nothing has been written by then.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zip/records/RawDirectory.h"

namespace vantorel::forkzip::Preflight {

// Raises that Failure.
[[noreturn]] void Refuse(const std::string& why);

// For every edit: the directory is what it claims to be, and nothing that lies behind it would be cut off.
void CheckDirectory(int file, const RawDirectory& directory);

// For adding: the count and the size stay within what the format and the engine hold.
void CheckCount(std::uint64_t members);
void CheckSize(std::uint64_t archive_size);

// For a new name. Longer ones would be cut, and the archive be damaged.
bool FitsAsName(std::string_view name);
void CheckName(std::string_view name);

// For new members, whose stored names end in "/" if they are folders: none is a file where members of
// `records` lie in a folder, or lies in a folder where one of these is a file.
void CheckPlaces(const std::vector<RawRecord>& records, const std::vector<std::string>& names);

// For a comment.
void CheckComment(const std::string& comment);

}  // namespace vantorel::forkzip::Preflight
