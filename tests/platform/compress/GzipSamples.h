// Bytes to compress, and gzip members made and undone by zlib itself, for tests that run over both builds.
#pragma once

#include <zlib.h>

#include <cstddef>
#include <random>
#include <string>
#include <string_view>

namespace vantorel::testing {

inline constexpr std::size_t kHeader = 10;

// Text-like: words of a small vocabulary, the same on every run.
inline std::string Words(std::size_t size, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::string text;
  while (text.size() < size) {
    const auto word = random() % 4096;
    text += std::to_string(word * word % 7919) + (word % 11 == 0 ? "\n" : " ");
  }
  text.resize(size);
  return text;
}

// Nothing to gain by compressing.
inline std::string Noise(std::size_t size, unsigned seed = 2) {
  std::mt19937 random(seed);
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

inline std::string Gzip(std::string_view contents) {
  z_stream stream{};
  deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  std::string member(deflateBound(&stream, contents.size()) + 1024, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(contents.data()));
  stream.avail_in = static_cast<uInt>(contents.size());
  stream.next_out = reinterpret_cast<Bytef*>(member.data());
  stream.avail_out = static_cast<uInt>(member.size());
  deflate(&stream, Z_FINISH);
  member.resize(stream.total_out);
  deflateEnd(&stream);
  return member;
}

// The contents of a member that must be whole and right; otherwise "(bad)".
inline std::string Gunzip(std::string_view member, std::size_t size) {
  z_stream stream{};
  inflateInit2(&stream, 15 + 16);
  std::string contents(size + 1, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(member.data()));
  stream.avail_in = static_cast<uInt>(member.size());
  stream.next_out = reinterpret_cast<Bytef*>(contents.data());
  stream.avail_out = static_cast<uInt>(contents.size());
  const bool good = inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_in == 0;
  contents.resize(stream.total_out);
  inflateEnd(&stream);
  return good ? contents : "(bad)";
}

}  // namespace vantorel::testing
