// From the collection back to text.
#include "http/InternetHeaders.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

// The last line has no line end.
void AddLine(String& lines, const String& name, const String& value) {
  if (!lines.empty()) lines += "\r\n";
  lines += name;
  lines += ": ";
  lines += value;
}

// The names that a mail message begins with, and BCC, which is never sent.
bool HasPlaceInMail(const String& name) {
  return InStr(":Date:Subject:From:To:CC:BCC:Received:Return-Path:", ":" + name + ":") != 0;
}

}  // namespace

String InternetHeaders::Source() const {
  return _rawHeaders.empty() ? _FormatHTTPHeaders() : _rawHeaders;
}

String InternetHeaders::_FormatHTTPHeaders() const {
  String lines;
  for (std::int32_t i = 0; i < Count(); ++i) {
    AddLine(lines, Name(i), Value(i));
    RuntimeBackgroundTask();
  }
  return lines;
}

String InternetHeaders::_FormatEmailHeaders() const {
  String lines;
  const auto add_first_value = [&](const String& name) {
    if (_Headers->HasKey(name)) AddLine(lines, name, Value(name));
  };
  const auto add_joined_values = [&](const String& name) {
    if (NameCount(name) > 0) AddLine(lines, name, CommaSeparatedValues(name));
  };
  add_first_value("Return-Path");
  const std::int32_t received = NameCount("Received");
  for (std::int32_t i = 0; i < received; ++i) {
    AddLine(lines, "Received", Value("Received", i));
    RuntimeBackgroundTask();
  }
  add_first_value("Date");
  add_first_value("Subject");
  add_first_value("From");
  add_joined_values("To");
  add_joined_values("CC");
  for (std::int32_t i = 0; i < Count(); ++i) {
    const String name = Name(i);
    if (!HasPlaceInMail(name)) AddLine(lines, name, Value(i));
    RuntimeBackgroundTask();
  }
  return lines;
}

}  // namespace vantorel
