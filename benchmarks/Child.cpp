// The child whose output the benchmark of the process runner reads: `bench-child blocks BYTES` writes 64 KiB at a time,
// `bench-child lines BYTES` a line of 80 bytes at a time.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    std::array<char, 65536> block{};
    block.fill('x');
    std::size_t size = block.size();
    if (std::string_view(argv[1]) == "lines") {
        size = 80;
        block[size - 1] = '\n';
    }
    auto left = static_cast<std::size_t>(std::strtoull(argv[2], nullptr, 10));
    while (left > 0) {
        const ssize_t written = ::write(STDOUT_FILENO, block.data(), std::min(size, left));
        if (written <= 0) {
            return 1;
        }
        left -= static_cast<std::size_t>(written);
    }
    return 0;
}
