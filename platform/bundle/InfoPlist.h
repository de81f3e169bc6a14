// The one thing that is needed of a bundle's Contents/Info.plist: the name of its program. The file is an XML
// property list: a dictionary of keys and values (the DTD "-//Apple//DTD PLIST 1.0//EN").
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantorel {

struct InfoPlist {
  // The value of CFBundleExecutable in the outermost dictionary; none if it is not there or is no string.
  std::optional<std::string> executable;
};

// Reads the text of the file. None, with the reason in `error`, if it is no XML property list.
std::optional<InfoPlist> ParseInfoPlist(std::string_view text, std::string& error);

}  // namespace vantorel
