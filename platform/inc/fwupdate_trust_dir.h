// Where the device keeps the public keys it trusts to sign firmware packages.
// The folder is fixed when the program is built; only a host build lets the
// environment move it, so that tests and the phone simulator can vary it.
#ifndef NORVANE_PLATFORM_FWUPDATE_TRUST_DIR_H
#define NORVANE_PLATFORM_FWUPDATE_TRUST_DIR_H

// Returns the absolute path of the trust folder (its "*.pem" files are the
// trusted Ed25519 public keys), or "" when this run has no trust folder.
// Never null. Called on the main thread while a package is verified.
//
// Device: the build option FWUPDATE_TRUST_DIR, always; the environment is
// never read. Host: the environment variable FWUPDATE_TRUST_DIR when it is
// set (set but empty: no trust folder), else the build option. The text stays
// valid until the environment changes.
const char* fwupdate_trust_dir(void);

#endif
