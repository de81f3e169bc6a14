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

struct Kind {
  std::size_t offset;
  std::string_view mark;
};

constexpr std::array kKinds = {
    Kind{0, "\xFF\xD8\xFF"sv},      // JPEG
    Kind{0, "\x89PNG\r\n"sv},       //
    Kind{0, "GIF8"sv},              //
    Kind{8, "WEBP"sv},              //
    Kind{4, "ftyp"sv},              // MPEG-4, HEIC, AVIF
    Kind{0, "\x1A\x45\xDF\xA3"sv},  // Matroska, WebM
    Kind{0, "OggS"sv},              //
    Kind{0, "fLaC"sv},              //
    Kind{0, "ID3"sv},               // MP3
    Kind{0, "\x1F\x8B\x08"sv},      // gzip
    Kind{0, "BZh"sv},               //
    Kind{0,
         "\xFD"
         "7zXZ\0"sv},                 //
    Kind{0, "\x28\xB5\x2F\xFD"sv},    // Zstandard
    Kind{0, "7z\xBC\xAF\x27\x1C"sv},  //
    Kind{0, "Rar!\x1A\x07"sv},        //
};

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
  if (std::any_of(kKinds.begin(), kKinds.end(), [&](const Kind& kind) {
        return std::string_view(first).substr(std::min(kind.offset, first.size())).starts_with(kind.mark);
      })) {
    return true;
  }
  return tried && !Shrinks(first) && !Shrinks(Piece(file, size / 2, kPiece)) &&
         !Shrinks(Piece(file, size - kPiece, kPiece));
}

}  // namespace vantorel::forkzip
