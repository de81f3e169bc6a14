// A signature file of any bytes is read or refused; and a good one that was changed in any place but the
// first line, which is not signed, is refused.
//
// The input's first byte chooses: even, the rest is a signature file; odd, the rest are changes, each of
// three bytes (where, in two bytes, and what) in a good file.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "launcher/sealed/Signature.h"

namespace {

using namespace vantorel::sealed;

constexpr std::string_view kArchive = "an archive";
constexpr std::string_view kFirstLine = "untrusted comment: anything\n";

template <std::size_t Size>
std::string Base64(const std::array<unsigned char, Size>& bytes) {
  std::string text(sodium_base64_ENCODED_LEN(Size, sodium_base64_VARIANT_ORIGINAL), '\0');
  sodium_bin2base64(text.data(), text.size(), bytes.data(), Size, sodium_base64_VARIANT_ORIGINAL);
  text.pop_back();
  return text;
}

struct Signer {
  PublicKey public_key{.algorithm = {'E', 'd'}, .id = {1, 2, 3, 4, 5, 6, 7, 8}, .point = {}};
  ArchiveHash::Value hash;
  std::string file;

  Signer() {
    ArchiveHash archive;
    archive.Add(kArchive);
    hash = archive.Finish();
    std::array<unsigned char, crypto_sign_SEEDBYTES> seed{};
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secret{};
    crypto_sign_seed_keypair(public_key.point.data(), secret.data(), seed.data());
    SignatureBytes signature{};
    crypto_sign_detached(signature.data(), nullptr, hash.data(), hash.size(), secret.data());
    const std::string comment = "version:18\tserial:6";
    std::string signed_comment(signature.begin(), signature.end());
    signed_comment += comment;
    SignatureBytes comment_signature{};
    crypto_sign_detached(comment_signature.data(), nullptr,
                         reinterpret_cast<const unsigned char*>(signed_comment.data()), signed_comment.size(),
                         secret.data());
    std::array<unsigned char, 74> record{'E', 'D', 1, 2, 3, 4, 5, 6, 7, 8};
    std::copy(signature.begin(), signature.end(), record.begin() + 10);
    file = std::string(kFirstLine) + Base64(record) + "\ntrusted comment: " + comment + "\n" +
           Base64(comment_signature) + "\n";
    if (!IsGood(file)) std::abort();
  }

  bool IsGood(std::string_view text) const {
    const auto signature = ParseSignature(text);
    return signature && IsSignedBy({&public_key, 1}, *signature, hash);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Signer signer;
  if (size == 0) return 0;
  std::string file(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (data[0] % 2 == 1) {
    const std::string changes = std::exchange(file, signer.file);
    for (std::size_t i = 0; i + 2 < changes.size(); i += 3) {
      const std::size_t where =
          static_cast<unsigned char>(changes[i]) * 256U + static_cast<unsigned char>(changes[i + 1]);
      file[where % file.size()] = changes[i + 2];
    }
  }
  const std::string_view signed_lines = std::string_view(signer.file).substr(kFirstLine.size() - 1);
  if (!file.ends_with('\n')) file += '\n';  // the last line may lack it
  if (signer.IsGood(file) && !file.ends_with(signed_lines)) std::abort();
  ParsePublicKey(file);
  return 0;
}
