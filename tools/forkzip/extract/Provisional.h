// What lies in a destination only until it takes its place: names for it, a folder for what belongs together,
// and an end to what killed runs left.
#pragma once

#include <string>

namespace vantorel::forkzip {

// A name that nothing bears. It holds the number of this process.
std::string ProvisionalName();

// Takes away what bears such a name of a process that is no more, from the folder of that path.
void ClearProvisional(const std::string& path);

// Where a file and its side file are put together, under the names they are to bear, without touching what
// bears them already.
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

  // A path in it, as seen from that folder and from anywhere.
  std::string Below(const std::string& name) const { return name_ + "/" + name; }
  std::string PathOf(const std::string& name) const { return path_ + "/" + name; }

 private:
  int folder_;
  std::string path_;
  std::string name_;
};

}  // namespace vantorel::forkzip
