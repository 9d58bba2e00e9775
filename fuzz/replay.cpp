// Stands in for the fuzzer in other builds: feeds a target each file of the folders that it is
// given, and each beginning of it.
#include "fuzz/fuzz.h"

#include <iterator>
#include <vector>

int main(int count, char** folders) {
    std::size_t runs = 0;
    for (int i = 1; i < count; ++i)
        for (const auto& file : std::filesystem::directory_iterator(folders[i])) {
            std::ifstream in(file.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
            const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
            for (std::size_t size = 0; size <= bytes.size(); ++size, ++runs)
                LLVMFuzzerTestOneInput(data, size);
        }
    std::printf("%zu runs\n", runs);
    return runs == 0;
}
