// Where a file and its side file are put together, under the names they are to bear, without touching what
// bears them already.
#pragma once

#include <string>
#include <utility>

namespace vantorel::forkzip {

class Staging {
 public:
  // For files that belong in `folder`, an open one, whose path is `path`. Nothing is made yet.
  Staging(int folder, std::string path) : folder_(folder), path_(std::move(path)) {}
  Staging(const Staging&) = delete;
  Staging& operator=(const Staging&) = delete;
  // Takes it away with all that is still in it.
  ~Staging();

  // Makes an empty folder inside that one, once. Raises Failure (kFileError).
  void Make();
  bool IsMade() const { return !name_.empty(); }

  // Its name in that folder, and its own path.
  const std::string& Name() const { return name_; }
  std::string Path() const { return path_ + "/" + name_; }

 private:
  int folder_;
  std::string path_;
  std::string name_;
};

}  // namespace vantorel::forkzip
