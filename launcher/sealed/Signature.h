// Signatures of updates, in the format of minisign: Ed25519 over the BLAKE2b-512 hash of the archive. What
// the signer says of the archive stands in a comment that is signed too.
#pragma once

#include <sodium.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vantorel::sealed {

// PublicKey and Signature::Record are records of the format, byte by byte.
using KeyId = std::array<unsigned char, 8>;
using SignatureBytes = std::array<unsigned char, crypto_sign_BYTES>;

struct PublicKey {
  std::array<char, 2> algorithm;
  KeyId id;
  std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> point;
};

// A public key from its line of Base64. Nothing if it is none.
std::optional<PublicKey> ParsePublicKey(std::string_view line);

struct Signature {
  struct Record {
    std::array<char, 2> algorithm;
    KeyId key;
    SignatureBytes of_archive;
  } record;
  std::string comment;        // the signed comment
  SignatureBytes of_comment;  // over the bytes of record.of_archive and comment
};

// A signature file. Nothing if it is none or not of the algorithm "ED", the one that signs a hash.
std::optional<Signature> ParseSignature(std::string_view file);

// The hash of an archive, which arrives piece by piece.
class ArchiveHash {
 public:
  using Value = std::array<unsigned char, crypto_generichash_blake2b_BYTES_MAX>;

  ArchiveHash();
  void Add(std::string_view piece);
  // To be called once, at the end.
  Value Finish();

 private:
  crypto_generichash_blake2b_state state_;
};

// Whether one of the keys signed both the archive of that hash and the comment.
bool IsSignedBy(std::span<const PublicKey> keys, const Signature& signature, const ArchiveHash::Value& hash);

}  // namespace vantorel::sealed
