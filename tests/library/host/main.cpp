// Runs the README's examples: host BOOK READING_DATA
#include <algorithm>
#include <cstdio>
#include <vector>

bool ShowBook(const char* path, void (*show)(const std::vector<unsigned char>& pixels));
void KeepNote(const char* readingData, unsigned int block, unsigned int offset, char* note,
              char* tag);

namespace {

int screens = 0;

void CountScreenWithInk(const std::vector<unsigned char>& pixels) {
    screens += std::count(pixels.begin(), pixels.end(), 255) < static_cast<long>(pixels.size());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3 || !ShowBook(argv[1], CountScreenWithInk))
        return 2;
    char note[] = "to look up";
    char tag[] = "read";
    KeepNote(argv[2], 3, 0, note, tag);
    std::printf("%d screens\n", screens);
    return screens > 1 ? 0 : 1;
}
