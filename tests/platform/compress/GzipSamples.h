// Bytes to compress, and gzip members made and undone by gzip itself, for tests that run over both builds.
#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <string_view>

#include "tests/support/ScratchFolder.h"

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
  const ScratchFolder folder;
  folder.Write("contents", contents);
  return folder.Run("gzip -n < contents");
}

// The contents of a member that must be whole and right; otherwise "(bad)".
inline std::string Gunzip(std::string_view member) {
  const ScratchFolder folder;
  folder.Write("member", member);
  return folder.Run("gunzip < member > contents 2> /dev/null && cat contents || printf '(bad)'");
}

}  // namespace vantorel::testing
