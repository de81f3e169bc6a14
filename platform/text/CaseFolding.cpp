#include "platform/text/CaseFolding.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <random>

namespace vantorel {
namespace {

constexpr std::size_t kWord = sizeof(std::uint64_t);

constexpr std::uint64_t Repeat(std::uint8_t byte) {
  return byte * UINT64_C(0x0101010101010101);
}

// Eight bytes at once, capital letters made small.
std::uint64_t Fold(std::uint64_t word) {
  const std::uint64_t low = word & Repeat(0x7F);
  const std::uint64_t from_a = low + Repeat(0x80 - 'A');      // top bit set where the byte is >= 'A'
  const std::uint64_t past_z = low + Repeat(0x80 - 'Z' - 1);  // top bit set where the byte is > 'Z'
  const std::uint64_t capital = (from_a ^ past_z) & ~word & Repeat(0x80);
  return word | (capital >> 2);
}

// The `count` bytes at `bytes`, at most eight, filled up with zeros.
std::uint64_t Load(const char* bytes, std::size_t count) {
  std::uint64_t word = 0;
  if (count != 0) std::memcpy(&word, bytes, count);
  return word;
}

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Next offset from `from` on, below `end`, where `text` holds `wanted` in either case.
std::size_t FindByte(std::string_view text, char wanted, std::size_t from, std::size_t end) {
  if (!IsLetter(wanted)) {
    const void* found = std::memchr(text.data() + from, wanted, end - from);
    return found == nullptr ? end : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
  }
  const auto small = static_cast<char>(wanted | 0x20);
  const std::uint64_t pattern = Repeat(static_cast<std::uint8_t>(small));
  for (; end - from >= kWord; from += kWord) {
    const std::uint64_t difference = Fold(Load(text.data() + from, kWord)) ^ pattern;
    if (((difference - Repeat(0x01)) & ~difference & Repeat(0x80)) != 0) break;
  }
  while (from < end && static_cast<char>(text[from] | 0x20) != small) ++from;
  return from;
}

std::uint64_t Mix(std::uint64_t a, std::uint64_t b) {
  const auto product = static_cast<unsigned __int128>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

std::array<std::uint64_t, 2> MakeSeeds() {
  std::random_device device;
  std::array<std::uint64_t, 2> seeds{};
  for (std::uint64_t& seed : seeds) seed = (static_cast<std::uint64_t>(device()) << 32 | device()) | 1;
  return seeds;
}

template <typename Map>
std::uint64_t HashOf(std::string_view text, const Map& map) {
  static const std::array<std::uint64_t, 2> seeds = MakeSeeds();
  std::uint64_t hash = seeds[0] ^ text.size();
  std::size_t at = 0;
  for (; text.size() - at >= kWord; at += kWord) {
    hash = Mix(hash ^ map(Load(text.data() + at, kWord)), seeds[1]);
  }
  return Mix(hash ^ map(Load(text.data() + at, text.size() - at)), seeds[1]);
}

}  // namespace

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  std::size_t at = 0;
  for (; a.size() - at >= kWord; at += kWord) {
    const std::uint64_t x = Load(a.data() + at, kWord);
    const std::uint64_t y = Load(b.data() + at, kWord);
    if (x != y && Fold(x) != Fold(y)) return false;
  }
  const std::size_t rest = a.size() - at;
  return Fold(Load(a.data() + at, rest)) == Fold(Load(b.data() + at, rest));
}

std::size_t FindIgnoringCase(std::string_view text, std::string_view pattern, std::size_t from) {
  if (from > text.size() || pattern.size() > text.size() - from) return std::string_view::npos;
  // A byte that has no case is found fastest, so the search hangs on the first such byte if there is one.
  const auto found = std::find_if_not(pattern.begin(), pattern.end(), IsLetter);
  const std::size_t anchor = found == pattern.end() ? 0 : static_cast<std::size_t>(found - pattern.begin());
  const std::size_t end = text.size() - pattern.size() + anchor + 1;
  for (std::size_t at = from + anchor; at < end; ++at) {
    at = FindByte(text, pattern[anchor], at, end);
    if (at == end) break;
    if (EqualIgnoringCase(text.substr(at - anchor, pattern.size()), pattern)) return at - anchor;
  }
  return std::string_view::npos;
}

std::size_t HashIgnoringCase(std::string_view text) {
  return HashOf(text, Fold);
}

std::size_t HashMindingCase(std::string_view text) {
  return HashOf(text, [](std::uint64_t word) { return word; });
}

}  // namespace vantorel
