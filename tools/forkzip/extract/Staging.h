// Where a file and its side file are put together, under the names they are to bear, without touching what
// bears them already.
#pragma once

#include <string>

namespace vantorel::forkzip {

class Staging {
 public:
  // For files that belong in `folder`, an open one. Nothing is made yet.
  explicit Staging(int folder) : folder_(folder) {}
  Staging(const Staging&) = delete;
  Staging& operator=(const Staging&) = delete;
  // Takes it away with all that is still in it.
  ~Staging();

  // Makes an empty folder inside that one, whose path is `path`. To be called once. Raises Failure
  // (kFileError).
  void Make(const std::string& path);

  // Its name in that folder, and its own path.
  const std::string& Name() const { return name_; }
  const std::string& Path() const { return path_; }

 private:
  int folder_;
  std::string path_;
  std::string name_;
};

}  // namespace vantorel::forkzip
