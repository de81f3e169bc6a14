// Forms as the content of a request.
#include "http/HTTPSocket.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

String HTTPSocket::EncodeFormData(const Ref<Dictionary>& form) const {
  String pairs;
  for (std::int32_t i = 0; i < form->Count(); ++i) {
    const String key = form->Key(i);
    pairs += "&" + _EncodeURLString(key) + "=" + _EncodeURLString(VariantToString(form->Value(key)));
    RuntimeBackgroundTask();
  }
  return MidB(pairs, 2);
}

String HTTPSocket::_EncodeURLString(const String& text) const {
  // The percent sign stands first, so that no escape already made is escaped again.
  const String escaped_characters = "%&=,/\\][{}`~-_()*^$#!+;<>\r\n";
  String encoded = text;
  for (std::int32_t i = 1; i <= Len(escaped_characters); ++i) {
    const String character = Mid(escaped_characters, i, 1);
    encoded = ReplaceAll(encoded, character, "%" + Right("00" + Hex(Asc(character)), 2));
    RuntimeBackgroundTask();
  }
  return ReplaceAll(encoded, " ", "+");
}

}  // namespace vantorel
