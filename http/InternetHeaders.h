// A collection of named text values in which one name can occur several times: the headers of a request or of
// a page received. It parses a raw header block (RFC 1945, section 4.2; RFC 822 for mail), answers by name or
// by position, is edited by name, and formats itself back.
//
// Names are compared without regard to letter case. Positions follow the dictionary's order. No operation
// reports an error: a missing name gives the empty string or 0.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/base/Object.h"
#include "platform/files/Dictionary.h"
#include "platform/text/String.h"

namespace vantorel {

class InternetHeaders : public Object {
 public:
  // As Constructor.
  InternetHeaders();
  ~InternetHeaders() override;

  // All values. The first value of a name is stored under the name itself, further ones under name + ":" + k
  // with k = 1, 2, 3 and so on; a name can thus not hold a ":". Never nil.
  Ref<Dictionary> _Headers;
  // The text last given to _ParseHeaders; empty for a collection built by hand.
  String _rawHeaders;

  // How many values are stored: a name with three values counts three times.
  virtual std::int32_t Count() const;
  // The name of the value at a position, from 0. Raises OutOfBoundsException.
  virtual String Name(std::int32_t index) const;
  // How many values the name has, up to the first gap in their numbering.
  virtual std::int32_t NameCount(const String& name) const;
  // The raw text if there is one (later edits do not show in it), else the values as _FormatHTTPHeaders does.
  virtual String Source() const;
  // The first value of the name.
  virtual String Value(const String& name) const;
  // The value of the name with that number; an index of 0 or less means the first.
  virtual String Value(const String& name, std::int32_t index) const;
  // Replaces the whole content from a raw block: calls AppendHeader for each line. Folded lines are joined,
  // lines without a ":" are skipped.
  virtual void _ParseHeaders(const String& text);
  // Adds a value to those that the name has: its number is the first free one.
  virtual void AppendHeader(const String& name, const String& value);
  // Makes this the name's only value.
  virtual void SetHeader(const String& name, const String& value);
  // Removes all values of the name.
  virtual void Delete(const String& name);
  // Removes one value; those after it move up.
  virtual void Delete(const String& name, std::int32_t index);
  // All values of the name, joined by ", ".
  virtual String CommaSeparatedValues(const String& name) const;
  // Makes the collection empty, with a dictionary of its own.
  virtual void Constructor();
  // The value at a position, from 0; empty past the end. A negative position raises OutOfBoundsException.
  virtual String Value(std::int32_t index) const;
  // The line end of a text: CR LF if it holds one anywhere, else LF, else CR; CR LF if it holds none.
  virtual String _DetermineEOLCharacter(const String& text) const;
  // Replaces the value with that number. An absent one is added under just that number, even if lower ones
  // are missing: NameCount then stops at the gap.
  virtual void SetHeader(const String& name, const String& value, std::int32_t index);
  // Drops all values; the raw text stays.
  virtual void DeleteAllHeaders();
  // The lines "name: value" of a request, joined by CR LF, with none after the last.
  virtual String _FormatHTTPHeaders() const;
  // The lines of a mail message in mail order. Never tells the BCC.
  virtual String _FormatEmailHeaders() const;

 private:
  // While a block is parsed: the number that each name's last value got, so that one name many times takes no
  // longer than as many names.
  struct LastNumbers;
  std::unique_ptr<LastNumbers> last_numbers_;
};

}  // namespace vantorel
