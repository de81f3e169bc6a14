#include "launcher/sealed/Signature.h"

#include <algorithm>
#include <stdexcept>
#include <type_traits>

namespace vantorel::sealed {
namespace {

constexpr std::array kKeyAlgorithm = {'E', 'd'};
constexpr std::array kHashAlgorithm = {'E', 'D'};

// Takes the first line off the text, and gives what stands in it behind the prefix. False if there is none.
bool TakeLine(std::string_view& text, std::string_view prefix, std::string_view& rest) {
  if (text.empty() || !text.starts_with(prefix)) return false;
  const std::size_t end = std::min(text.find('\n'), text.size());
  rest = text.substr(0, end).substr(prefix.size());
  text.remove_prefix(std::min(end + 1, text.size()));
  return true;
}

// Exactly the bytes of `bytes` in Base64, and nothing else.
template <typename Bytes>
bool Decode(std::string_view line, Bytes& bytes) {
  static_assert(std::has_unique_object_representations_v<Bytes> && alignof(Bytes) == 1);
  std::size_t length = 0;
  const char* end = nullptr;
  return sodium_base642bin(reinterpret_cast<unsigned char*>(&bytes), sizeof bytes, line.data(), line.size(),
                           nullptr, &length, &end, sodium_base64_VARIANT_ORIGINAL) == 0 &&
         length == sizeof bytes && end == line.data() + line.size();
}

bool Verifies(const SignatureBytes& signature, std::span<const unsigned char> message, const PublicKey& key) {
  return crypto_sign_verify_detached(signature.data(), message.data(), message.size(), key.point.data()) == 0;
}

}  // namespace

std::optional<PublicKey> ParsePublicKey(std::string_view line) {
  PublicKey key{};
  if (!Decode(line, key) || key.algorithm != kKeyAlgorithm) return std::nullopt;
  return key;
}

std::optional<Signature> ParseSignature(std::string_view file) {
  std::string_view untrusted;
  std::string_view record;
  std::string_view comment;
  std::string_view of_comment;
  Signature signature{};
  if (!TakeLine(file, "untrusted comment: ", untrusted) || !TakeLine(file, "", record) ||
      !TakeLine(file, "trusted comment: ", comment) || !TakeLine(file, "", of_comment) || !file.empty() ||
      !Decode(record, signature.record) || signature.record.algorithm != kHashAlgorithm ||
      !Decode(of_comment, signature.of_comment)) {
    return std::nullopt;
  }
  signature.comment = comment;
  return signature;
}

ArchiveHash::ArchiveHash() : state_{} {
  if (sodium_init() < 0) throw std::runtime_error("the cryptographic library does not work");
  crypto_generichash_blake2b_init(&state_, nullptr, 0, std::tuple_size_v<Value>);
}

void ArchiveHash::Add(std::string_view piece) {
  crypto_generichash_blake2b_update(&state_, reinterpret_cast<const unsigned char*>(piece.data()),
                                    piece.size());
}

ArchiveHash::Value ArchiveHash::Finish() {
  Value value{};
  crypto_generichash_blake2b_final(&state_, value.data(), value.size());
  return value;
}

bool IsSignedBy(std::span<const PublicKey> keys, const Signature& signature, const ArchiveHash::Value& hash) {
  const SignatureBytes& of_archive = signature.record.of_archive;
  const std::string signed_comment = std::string(of_archive.begin(), of_archive.end()) + signature.comment;
  const std::span message(reinterpret_cast<const unsigned char*>(signed_comment.data()),
                          signed_comment.size());
  return std::any_of(keys.begin(), keys.end(), [&](const PublicKey& key) {
    return key.id == signature.record.key && Verifies(of_archive, hash, key) &&
           Verifies(signature.of_comment, message, key);
  });
}

}  // namespace vantorel::sealed
