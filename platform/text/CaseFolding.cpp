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

template <typename Word>
std::uint64_t Load(const char* bytes) {
  Word word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Fewer than eight bytes in one word, some of them twice: equal for equal bytes of equal count, and only
// then.
std::uint64_t LoadShort(const char* bytes, std::size_t count) {
  const auto at = [&](std::size_t i) { return std::uint64_t{static_cast<unsigned char>(bytes[i])}; };
  if (count >= 4) return Load<std::uint32_t>(bytes) << 32 | Load<std::uint32_t>(bytes + count - 4);
  return count == 0 ? 0 : at(0) << 16 | at(count / 2) << 8 | at(count - 1);
}

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
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
    hash = Mix(hash ^ map(Load<std::uint64_t>(text.data() + at)), seeds[1]);
  }
  return Mix(hash ^ map(LoadShort(text.data() + at, text.size() - at)), seeds[1]);
}

}  // namespace

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  std::size_t at = 0;
  for (; a.size() - at >= kWord; at += kWord) {
    const std::uint64_t x = Load<std::uint64_t>(a.data() + at);
    const std::uint64_t y = Load<std::uint64_t>(b.data() + at);
    if (x != y && Fold(x) != Fold(y)) return false;
  }
  const std::size_t rest = a.size() - at;
  return Fold(LoadShort(a.data() + at, rest)) == Fold(LoadShort(b.data() + at, rest));
}

std::size_t FindIgnoringCase(std::string_view text, std::string_view pattern, std::size_t from) {
  if (from > text.size() || pattern.size() > text.size() - from) return std::string_view::npos;
  // A byte that has no case is found fastest, so the search hangs on the first such byte if there is one.
  const auto found = std::find_if_not(pattern.begin(), pattern.end(), IsLetter);
  const bool letters_only = found == pattern.end();
  const std::size_t anchor = letters_only ? 0 : static_cast<std::size_t>(found - pattern.begin());
  const std::size_t end = text.size() - pattern.size() + anchor + 1;
  for (std::size_t at = from + anchor; at < end; ++at) {
    if (!letters_only) at = std::min(text.find(*found, at), end);
    if (at < end && EqualIgnoringCase(text.substr(at - anchor, pattern.size()), pattern)) return at - anchor;
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
