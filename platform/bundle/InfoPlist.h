// The one thing that is needed of a bundle's Contents/Info.plist: the name of its program. The file is an XML
// property list: a dictionary of keys and values (the DTD "-//Apple//DTD PLIST 1.0//EN").
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantorel {

// The value of CFBundleExecutable in the outermost dictionary of the file's text; none if it is not there or
// is no string. Raises std::runtime_error, with the reason, if the text is no XML property list.
std::optional<std::string> ExecutableNamedIn(std::string_view info_plist);

}  // namespace vantorel
