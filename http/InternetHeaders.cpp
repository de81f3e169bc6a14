#include "http/InternetHeaders.h"

#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {
namespace {

String NumberedKey(const String& name, std::int64_t number) {
  return name + ":" + Str(number);
}

// The key of a name's value with that number: the first one bears no number.
String KeyOf(const String& name, std::int32_t index) {
  return index < 1 ? name : NumberedKey(name, index);
}

}  // namespace

void InternetHeaders::Constructor() {
  _Headers = New<Dictionary>();
}

std::int32_t InternetHeaders::Count() const {
  return _Headers->Count();
}

String InternetHeaders::Name(std::int32_t index) const {
  return NthField(_Headers->Key(index), ":", 1);
}

std::int32_t InternetHeaders::NameCount(const String& name) const {
  if (!_Headers->HasKey(name)) return 0;
  std::int32_t count = 1;
  while (_Headers->HasKey(NumberedKey(name, count))) {
    ++count;
    RuntimeBackgroundTask();
  }
  return count;
}

String InternetHeaders::Value(const String& name) const {
  return Value(name, 0);
}

String InternetHeaders::Value(const String& name, std::int32_t index) const {
  const String key = KeyOf(name, index);
  return _Headers->HasKey(key) ? VariantToString(_Headers->Value(key)) : String();
}

String InternetHeaders::Value(std::int32_t index) const {
  if (index > Count() - 1) return String();
  return VariantToString(_Headers->Value(_Headers->Key(index)));
}

String InternetHeaders::CommaSeparatedValues(const String& name) const {
  String values;
  const std::int32_t count = NameCount(name);
  for (std::int32_t i = 0; i < count; ++i) {
    if (i > 0) values += ", ";
    values += Value(name, i);
    RuntimeBackgroundTask();
  }
  return values;
}

void InternetHeaders::SetHeader(const String& name, const String& value) {
  if (NameCount(name) >= 2) Delete(name);
  _Headers->SetValue(name, value);
}

void InternetHeaders::SetHeader(const String& name, const String& value, std::int32_t index) {
  const String key = index == 0 ? name : NumberedKey(name, index);
  if (_Headers->HasKey(key)) {
    _Headers->SetValue(key, value);
  } else {
    AppendHeader(key, value);
  }
}

void InternetHeaders::Delete(const String& name) {
  const std::int32_t count = NameCount(name);
  for (std::int32_t i = 0; i < count; ++i) {
    _Headers->Remove(KeyOf(name, i));
    RuntimeBackgroundTask();
  }
}

void InternetHeaders::Delete(const String& name, std::int32_t index) {
  String gap = index == 0 ? name : NumberedKey(name, index);
  if (!_Headers->HasKey(gap)) return;
  _Headers->Remove(gap);
  for (std::int64_t i = std::int64_t{index} + 1;; ++i) {
    const String key = NumberedKey(name, i);
    if (!_Headers->HasKey(key)) break;
    _Headers->SetValue(gap, _Headers->Value(key));
    _Headers->Remove(key);
    gap = i == 0 ? name : key;
    RuntimeBackgroundTask();
  }
}

void InternetHeaders::DeleteAllHeaders() {
  _Headers->Clear();
}

}  // namespace vantorel
