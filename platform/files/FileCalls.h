// Thin helpers over system calls on files. Each is done to the end however often a signal comes between; an
// error is the system's number, 0 where there was none.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vantorel {

// `path` with the symbolic links in it followed, as far as there are such files.
std::string RealPath(const std::string& path);
// What a name in a folder (AT_FDCWD: a path) stands for, a link for itself: its mode, or 0 if there is none.
mode_t KindOf(int folder, const std::string& name);

enum class IfTaken { kReplace, kRefuse };
// Renames within a folder (AT_FDCWD: paths). EEXIST if `to` is there and not to be replaced.
int Rename(int folder, const std::string& from, const std::string& to, IfTaken if_taken);

struct ReadResult {
  std::size_t count = 0;  // fewer than were asked for at the end of the file, or before an error
  int error = 0;
};
ReadResult ReadAllAt(int file, std::uint64_t position, char* buffer, std::size_t count);

// These write all of `bytes`, the first where the file's own position is.
int WriteAll(int file, std::string_view bytes);
int WriteAllAt(int file, std::uint64_t position, std::string_view bytes);

// These raise std::system_error: "cannot be read" (ENODATA if the file ends too early), "cannot be written".
std::string ReadAt(int file, std::uint64_t position, std::uint64_t count);
void WriteAt(int file, std::uint64_t position, std::string_view bytes);
// Copies bytes from one file to another, by the system's quickest way.
void CopyBytes(int from, std::uint64_t from_position, int to, std::uint64_t to_position, std::uint64_t count);
// Sees to it that bytes within a file can be written: holes in it take room only then. Moves the file's own
// position.
void FillHoles(int file, std::uint64_t position, std::uint64_t count);

// Brings a file, or the names in a folder, safely to disk.
int SyncPath(const std::string& path);

}  // namespace vantorel
