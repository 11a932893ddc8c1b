// The worked example of docs/signing.md, run as written: the commands between
// its markers, in order, with fwpkg on PATH, in a fresh folder that has the
// repository's samples. The document cannot drift from what the tools do.
#include "command_output.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <string>

namespace norvane_test {
namespace {

const char* const BEGIN_MARKER = "<!-- worked example: begin -->\n```sh\n";
const char* const END_MARKER = "```\n<!-- worked example: end -->";

std::string worked_example()
{
    const std::string doc = read_file_bytes(FWUPDATE_SOURCE_DIR "/docs/signing.md");
    const size_t begin = doc.find(BEGIN_MARKER);
    const size_t end = doc.find(END_MARKER);
    if (begin == std::string::npos || end == std::string::npos || end < begin) {
        return "";
    }
    const size_t start = begin + std::string(BEGIN_MARKER).size();
    return doc.substr(start, end - start);
}

std::string tool_folder()
{
    const std::string fwpkg = FWPKG_BINARY;
    return fwpkg.substr(0, fwpkg.rfind('/'));
}

TEST(signing_doc_test, worked_example_runs_as_written_and_says_what_the_text_promises)
{
    const std::string example = worked_example();
    ASSERT_NE("", example) << "docs/signing.md lost its worked example markers";
    temp_dir dir;
    const std::string script = dir.write_file("example.sh", example);
    ASSERT_EQ(0, run_command("ln -s '" FWUPDATE_SOURCE_DIR "/samples' '" + dir.file("samples") + "'").status);

    const command_output run = run_command("cd '" + dir.path() + "' && PATH='" + tool_folder() +
                                           ":'\"$PATH\" bash -euo pipefail '" + script + "'");

    ASSERT_EQ(0, run.status) << run.out << run.err;
    // What the text after the example says each tool prints.
    EXPECT_NE(std::string::npos,
              run.out.find("firmware-1.1.0.zip: verified: version 1.1.0, type DEVICE_FIRMWARE\n"
                           "signed by trust/release.pem, fingerprint "));
    EXPECT_NE(std::string::npos, run.out.find("signature        signed (FW_package.sha256, "
                                              "FW_package.sha256.sig)\nsigning key      trust/"
                                              "release.pem, fingerprint "));
    EXPECT_NE(std::string::npos, run.out.find("Signature Verified Successfully\n"));
    EXPECT_NE(std::string::npos, run.out.find("FW_package.xml: OK\nmain_controller.bin: OK\n"
                                              "panel_ui.bin: OK\nrelease_notes.txt: OK\n"));
    // keygen's fingerprint is the one openssl and sha256sum print at the end.
    const std::string marker = "\nfingerprint ";
    const size_t at = run.out.find(marker);
    ASSERT_NE(std::string::npos, at);
    const std::string fingerprint = run.out.substr(at + marker.size(), 64);
    EXPECT_NE(std::string::npos, run.out.find("\n" + fingerprint + "  -\n")) << run.out;
}

}  // namespace
}  // namespace norvane_test
