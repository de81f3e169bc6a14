// The archive of an update.
#pragma once

#include <string>
#include <vector>

#include "tools/publish/Application.h"

namespace vantorel::publish {

// Writes the files into a new archive at `path`, with their Unix modes, and closes it. Raises PublishError.
void MakeArchive(const std::string& path, const std::vector<AppFile>& files);

// Reads the archive at `path` back and compares names, sizes, sums and modes with the files on disk. Raises
// PublishError at the first difference.
void VerifyArchive(const std::string& path, const std::vector<AppFile>& files);

}  // namespace vantorel::publish
