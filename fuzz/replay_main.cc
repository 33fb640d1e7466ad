// Runs a fuzz target over saved inputs, for builds without libFuzzer: the arguments are files and folders.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static void Replay(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    std::string input(std::istreambuf_iterator<char>(file), {});
    fprintf(stderr, "%s\n", path.c_str());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.data()), input.size());
}

int main(int argc, char **argv)
{
    int inputs = 0;
    for (int i = 1; i < argc; i++) {
        if (!std::filesystem::is_directory(argv[i])) {
            Replay(argv[i]);
            inputs++;
            continue;
        }
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            Replay(entry.path());
            inputs++;
        }
    }
    return inputs > 0 ? 0 : 1;  // a folder without inputs is a mistake
}
