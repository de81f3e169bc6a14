// The folder that a web server serves. Files appear in it whole or not at all.
#pragma once

#include <string>
#include <string_view>

namespace vantorel::publish {

class OutputFolder {
 public:
  // Makes the folder if it is missing. Raises PublishError.
  explicit OutputFolder(std::string path);

  // Where the file `name` is made before it is put in place; nothing is there yet. Left-overs of a run that
  // was broken off are removed.
  std::string Draft(const std::string& name) const;
  // Writes a draft of `name` with this content. Raises PublishError.
  void WriteDraft(const std::string& name, std::string_view content) const;
  // Brings the draft safely to disk, readable to all, and puts it in the place of `name` in one step. Raises
  // PublishError.
  void Place(const std::string& name) const;

 private:
  std::string path_;
};

}  // namespace vantorel::publish
