// Signatures of updates, made and checked by the program minisign.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vantorel::publish {

struct Signing {
  std::string key_file;                // empty: the update is not signed
  std::optional<std::int64_t> serial;  // unset: the clock's seconds
  std::string public_key;  // what the signature is checked against, a key or a file; empty: nothing
};

// Raises PublishError unless an update of this version with this serial number, signed or not, may follow the
// one whose signature lies at `published`, if one does.
void CheckFollows(const std::string& published, const std::string& version, std::int64_t serial,
                  const Signing& signing);

// Signs the archive: writes the file `signature`, for launchers that hold the public key. minisign asks for
// the key's password on the terminal. Raises PublishError.
void Sign(const std::string& archive, const std::string& signature, const std::string& version,
          std::int64_t serial, const Signing& signing);

}  // namespace vantorel::publish
