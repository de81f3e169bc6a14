// The folder that a web server serves. Files appear in it whole or not at all, and what a run has put there
// goes again, with what stood there before in its place, unless the run is completed; what the system refuses
// to take back is told on standard error. One run at a time.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/base/Descriptor.h"

namespace vantorel::publish {

class OutputFolder {
 public:
  // Makes the folder if it is missing, and locks it. Raises PublishError.
  explicit OutputFolder(std::string path);
  // Unless Complete was called: undoes what was placed. Drafts are removed in any case.
  ~OutputFolder();
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;

  // Where the file `name` is made before it is put in place; nothing is there yet. Left-overs of a run that
  // was broken off are removed. Raises PublishError.
  std::string Draft(const std::string& name);
  // Writes a draft of `name` with this content. Raises PublishError.
  void WriteDraft(const std::string& name, std::string_view content);
  // Brings the drafts safely to disk, readable to all, and puts each in the place of its name in one step,
  // one right after the other. Raises PublishError.
  void Place(const std::vector<std::string>& names);
  // What was placed stays.
  void Complete() { placed_.clear(); }

 private:
  struct Placed {
    std::string name;
    bool replaced;  // what stood there before is kept
  };

  std::string PathOf(const std::string& name) const { return path_ + "/" + name; }
  std::string DraftOf(const std::string& name) const { return path_ + "/." + name + ".new"; }
  std::string OldOf(const std::string& name) const { return path_ + "/." + name + ".old"; }
  void PlaceDraft(const std::string& name);
  // Keeps what stands in the place of `name` under another name. False if nothing does. Raises PublishError.
  bool KeepOld(const std::string& name) const;
  void TakeBack(const Placed& placed) const;

  std::string path_;
  Descriptor folder_;
  std::vector<std::string> drafts_;
  std::vector<Placed> placed_;
};

}  // namespace vantorel::publish
