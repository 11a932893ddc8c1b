// Corpus replay without libFuzzer: runs LLVMFuzzerTestOneInput once on each
// file named on the command line, so that ordinary builds replay the seed
// corpus and the kept crash inputs. A failed check aborts inside the target.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        std::ifstream input(argv[i], std::ios::binary);
        if (!input) {
            std::fprintf(stderr, "replay: cannot read %s\n", argv[i]);
            return 1;
        }
        std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(input)),
                                   std::istreambuf_iterator<char>());
        // A heap copy of exactly the input's size, as libFuzzer hands it over.
        std::vector<uint8_t> exact(bytes.begin(), bytes.end());
        LLVMFuzzerTestOneInput(exact.data(), exact.size());
        std::fprintf(stderr, "replay: %s (%zu bytes) passed\n", argv[i], exact.size());
    }
    return 0;
}
