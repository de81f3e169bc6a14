#include "platform/bundle/InfoPlist.h"

#include <expat.h>

#include <limits>
#include <memory>
#include <stdexcept>

namespace vantorel {

namespace {

constexpr std::string_view kBinaryMark = "bplist";
constexpr int kOutermostDictionary = 2;  // plist, dict
constexpr int kItsEntries = 3;

// Follows the elements. Only what stands directly in the outermost dictionary counts: a key, then its value.
struct Reader {
  std::optional<std::string> executable;
  int depth = 0;
  bool is_property_list = false;
  bool in_outermost_dictionary = false;
  bool collecting = false;
  std::string text;
  std::string key;

  void Start(std::string_view name) {
    ++depth;
    if (depth == 1) is_property_list = name == "plist";
    if (depth == kOutermostDictionary) in_outermost_dictionary = name == "dict";
    if (depth != kItsEntries || !in_outermost_dictionary) return;
    collecting = name == "key" || name == "string";
    text.clear();
  }

  void End(std::string_view name) {
    if (depth == kItsEntries && in_outermost_dictionary) {
      if (name == "string" && key == "CFBundleExecutable" && !executable) executable = text;
      key = name == "key" ? text : "";
      collecting = false;
    }
    --depth;
  }

  void Text(std::string_view part) {
    if (collecting && depth == kItsEntries) text.append(part);
  }
};

Reader& ReaderOf(void* data) {
  return *static_cast<Reader*>(data);
}

}  // namespace

std::optional<std::string> ExecutableNamedIn(std::string_view info_plist) {
  if (info_plist.starts_with(kBinaryMark)) {
    throw std::runtime_error("it is a binary property list; convert it to XML");
  }
  if (info_plist.size() > std::numeric_limits<int>::max()) throw std::runtime_error("it is too large");
  const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser(XML_ParserCreate(nullptr),
                                                                       XML_ParserFree);
  Reader reader;
  XML_SetUserData(parser.get(), &reader);
  XML_SetElementHandler(
      parser.get(),
      [](void* data, const XML_Char* name, const XML_Char** /*attributes*/) { ReaderOf(data).Start(name); },
      [](void* data, const XML_Char* name) { ReaderOf(data).End(name); });
  XML_SetCharacterDataHandler(parser.get(), [](void* data, const XML_Char* part, int length) {
    ReaderOf(data).Text({part, static_cast<std::size_t>(length)});
  });
  const auto size = static_cast<int>(info_plist.size());
  if (XML_Parse(parser.get(), info_plist.data(), size, XML_TRUE) == XML_STATUS_ERROR) {
    const std::string line = std::to_string(XML_GetCurrentLineNumber(parser.get()));
    throw std::runtime_error("line " + line + ": " + XML_ErrorString(XML_GetErrorCode(parser.get())));
  }
  if (!reader.is_property_list) throw std::runtime_error("it is no property list");
  return reader.executable;
}

}  // namespace vantorel
