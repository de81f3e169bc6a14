#include "launcher/sealed/Signature.h"

#include <algorithm>
#include <stdexcept>

namespace vantorel::sealed {
namespace {

constexpr std::string_view kUntrustedPrefix = "untrusted comment: ";
constexpr std::string_view kTrustedPrefix = "trusted comment: ";
constexpr std::string_view kKeyAlgorithm = "Ed";
constexpr std::string_view kHashAlgorithm = "ED";

// A record of the format: the algorithm's two letters, the key's id, and a payload.
constexpr std::size_t kIdAt = 2;
constexpr std::size_t kPayloadAt = kIdAt + std::tuple_size_v<KeyId>;

// Takes the first line off the text; false if there is none.
bool TakeLine(std::string_view& text, std::string_view& line) {
  if (text.empty()) return false;
  const std::size_t end = std::min(text.find('\n'), text.size());
  line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return true;
}

// Exactly `Size` bytes in Base64, and nothing else.
template <std::size_t Size>
bool Decode(std::string_view line, std::array<unsigned char, Size>& bytes) {
  std::size_t length = 0;
  const char* end = nullptr;
  return sodium_base642bin(bytes.data(), Size, line.data(), line.size(), nullptr, &length, &end,
                           sodium_base64_VARIANT_ORIGINAL) == 0 &&
         length == Size && end == line.data() + line.size();
}

template <std::size_t Size>
bool Begins(const std::array<unsigned char, Size>& record, std::string_view algorithm) {
  return std::equal(algorithm.begin(), algorithm.end(), record.begin());
}

template <std::size_t Size, std::size_t RecordSize>
void CopyFrom(const std::array<unsigned char, RecordSize>& record, std::size_t at,
              std::array<unsigned char, Size>& field) {
  std::copy_n(record.begin() + static_cast<std::ptrdiff_t>(at), Size, field.begin());
}

bool Verifies(const SignatureBytes& signature, std::span<const unsigned char> message, const PublicKey& key) {
  return crypto_sign_verify_detached(signature.data(), message.data(), message.size(), key.point.data()) == 0;
}

}  // namespace

std::optional<PublicKey> ParsePublicKey(std::string_view line) {
  std::array<unsigned char, kPayloadAt + crypto_sign_PUBLICKEYBYTES> record{};
  if (!Decode(line, record) || !Begins(record, kKeyAlgorithm)) return std::nullopt;
  PublicKey key{};
  CopyFrom(record, kIdAt, key.id);
  CopyFrom(record, kPayloadAt, key.point);
  return key;
}

std::optional<Signature> ParseSignature(std::string_view file) {
  std::string_view untrusted;
  std::string_view record_line;
  std::string_view trusted;
  std::string_view comment_line;
  const bool four_lines = TakeLine(file, untrusted) && TakeLine(file, record_line) &&
                          TakeLine(file, trusted) && TakeLine(file, comment_line) && file.empty();
  if (!four_lines || !untrusted.starts_with(kUntrustedPrefix) || !trusted.starts_with(kTrustedPrefix)) {
    return std::nullopt;
  }
  Signature signature{};
  std::array<unsigned char, kPayloadAt + crypto_sign_BYTES> record{};
  if (!Decode(record_line, record) || !Begins(record, kHashAlgorithm) ||
      !Decode(comment_line, signature.comment_signature)) {
    return std::nullopt;
  }
  CopyFrom(record, kIdAt, signature.key);
  CopyFrom(record, kPayloadAt, signature.archive_signature);
  signature.comment = trusted.substr(kTrustedPrefix.size());
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
  std::string signed_comment(signature.archive_signature.begin(), signature.archive_signature.end());
  signed_comment += signature.comment;
  const std::span message(reinterpret_cast<const unsigned char*>(signed_comment.data()),
                          signed_comment.size());
  return std::any_of(keys.begin(), keys.end(), [&](const PublicKey& key) {
    return key.id == signature.key && Verifies(signature.archive_signature, hash, key) &&
           Verifies(signature.comment_signature, message, key);
  });
}

}  // namespace vantorel::sealed
