// Runs a fuzz target over files, or over the files of folders, as an ordinary test does: every seed
// and every input that once broke it.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int Replay(const std::filesystem::path& path) {
    if (std::filesystem::is_directory(path)) {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            count += Replay(entry.path());
        return count;
    }
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    std::printf("%s\n", path.c_str());
    std::fflush(stdout); // the name of the one that crashes must be seen
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return file ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i)
        count += Replay(argv[i]);
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
