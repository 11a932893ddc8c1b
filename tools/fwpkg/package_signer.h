// Signs packages for devices that check signatures: makes Ed25519 key pairs,
// and writes a package folder's FW_package.sha256 (the sha256sum lines of
// every file, sorted bytewise) and FW_package.sha256.sig (the Ed25519
// signature of the manifest's bytes), through OpenSSL's EVP interface.
#ifndef NORVANE_TOOLS_PACKAGE_SIGNER_H
#define NORVANE_TOOLS_PACKAGE_SIGNER_H

#include <openssl/types.h>

#include <string>

namespace norvane_tools {

// Writes NAME.key.pem (the private key, PKCS#8, mode 0600) and NAME.pub.pem
// (its public half); neither may exist yet. fingerprint = the public key's
// fingerprint. 0, or 1 with error set (nothing is left behind).
int make_key_pair(const std::string& name, std::string& fingerprint, std::string& error);

class package_signer {
public:
    package_signer();
    ~package_signer();
    package_signer(const package_signer&) = delete;
    package_signer& operator=(const package_signer&) = delete;

    // Reads the private key of a PEM file (as make_key_pair writes it). 0, or
    // 1 with error set when the file cannot be read or holds no unencrypted
    // Ed25519 private key.
    int load_private_key(const std::string& path, std::string& error);

    // Writes the manifest of every file in folder and its signature into
    // folder. 0, or 1 with error set.
    int sign_folder(const std::string& folder, std::string& error);

    // The fingerprint of the loaded key's public half, as the device names
    // trusted keys; "" without a key.
    std::string fingerprint() const;

private:
    EVP_PKEY* key_;
};

}  // namespace norvane_tools

#endif
