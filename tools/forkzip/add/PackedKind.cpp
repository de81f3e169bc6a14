#include "tools/forkzip/add/PackedKind.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "platform/compress/IStreamWriter.h"
#include "platform/compress/MemberDeflater.h"

namespace vantorel::forkzip {

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kPiece = 65536;

// Long enough that no text begins with them by chance; "?" stands for any byte.
constexpr std::array kKinds = {
    "\xFF\xD8\xFF"sv,      // JPEG
    "\x89PNG\r\n"sv,       //
    "GIF87a"sv,            //
    "GIF89a"sv,            //
    "RIFF\?\?\?\?WEBP"sv,  //
    "\0\0\0\?ftyp"sv,      // MPEG-4, HEIC, AVIF
    "\x1A\x45\xDF\xA3"sv,  // Matroska, WebM
    "OggS\0"sv,            //
    "fLaC\0\0\0\x22"sv,    //
    "ID3\2\0"sv,           // MP3
    "ID3\3\0"sv,           //
    "ID3\4\0"sv,           //
    "\x1F\x8B\x08"sv,      // gzip
    "BZh?1AY&SY"sv,        // bzip2
    "\xFD"
    "7zXZ\0"sv,              //
    "\x28\xB5\x2F\xFD"sv,    // Zstandard
    "7z\xBC\xAF\x27\x1C"sv,  //
    "Rar!\x1A\x07"sv,        //
};

bool BeginsWith(std::string_view bytes, std::string_view mark) {
  return bytes.size() >= mark.size() && std::equal(mark.begin(), mark.end(), bytes.begin(),
                                                   [](char a, char b) { return a == '?' || a == b; });
}

class Counter : public IStreamWriter {
 public:
  void Write(const String& data) override { count += data.size(); }
  std::int32_t LastError() override { return 0; }
  std::size_t count = 0;
};

std::string Piece(int file, std::uint64_t position, std::size_t size) {
  std::string bytes(size, '\0');
  const ssize_t got = pread(file, bytes.data(), bytes.size(), static_cast<off_t>(position));
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  return bytes;
}

bool Shrinks(std::string_view piece) {
  const auto packed = New<Counter>();
  const auto deflater = NewDeflater({.level = 1});
  deflater->Write(piece, *packed);
  deflater->Finish(*packed);
  return packed->count + piece.size() / 64 < piece.size();
}

}  // namespace

bool GainsNothing(int file, std::uint64_t size) {
  // What is held shows for itself whether it shrinks.
  const bool tried = size > std::max(kHeldUpTo, kPiece);
  const std::string first = Piece(file, 0, tried ? kPiece : 16);
  if (std::any_of(kKinds.begin(), kKinds.end(), [&](auto mark) { return BeginsWith(first, mark); })) {
    return true;
  }
  return tried && !Shrinks(first) && !Shrinks(Piece(file, size / 2, kPiece)) &&
         !Shrinks(Piece(file, size - kPiece, kPiece));
}

}  // namespace vantorel::forkzip
