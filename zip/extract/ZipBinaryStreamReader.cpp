#include "zip/extract/ZipBinaryStreamReader.h"

#include <algorithm>

#include "platform/base/Arithmetic.h"
#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

namespace {

constexpr std::int32_t kEndOfFileError = -39;

// Moves bytes from the front of `text`, of which `left` bytes are not delivered yet, to the end of `result`.
void TakeFromText(String& text, std::int32_t& left, std::int32_t& count, String& result) {
  const std::int32_t take = std::min(left, count);
  count -= take;
  left -= take;
  if (left > 0) {
    result += LeftB(text, take);
    text = MidB(text, take + 1);
  } else {
    result += text;
  }
}

}  // namespace

ZipBinaryStreamReader::ZipBinaryStreamReader(const Ref<BinaryStream>& stream, std::int32_t length,
                                             const String& prefix, const String& suffix)
    : theStream(stream),
      leftToRead(AddSInt32(AddSInt32(LenB(prefix), length), LenB(suffix))),
      prefixStr(prefix),
      suffixStr(suffix),
      prefixLen(LenB(prefix)),
      suffixLen(LenB(suffix)),
      streamLen(length) {}

String ZipBinaryStreamReader::Read(std::int32_t count) {
  std::int32_t n = count;
  if (leftToRead < n) {
    n = leftToRead;
    if (n == 0) errCode = kEndOfFileError;
  }
  if (n <= 0) return {};
  leftToRead -= n;
  return fetch(n);
}

String ZipBinaryStreamReader::fetch(std::int32_t count) {
  String result;
  while (count > 0) {
    if (prefixLen > 0) {
      TakeFromText(prefixStr, prefixLen, count, result);
    } else if (streamLen > 0) {
      const std::int32_t take = std::min(streamLen, count);
      count -= take;
      streamLen -= take;
      result += theStream->Read(take);
    } else if (suffixLen > 0) {
      TakeFromText(suffixStr, suffixLen, count, result);
    }
    RuntimeBackgroundTask();
  }
  return result;
}

}  // namespace vantorel
