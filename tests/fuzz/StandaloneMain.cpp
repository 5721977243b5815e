// Runs a fuzz target without a fuzzer: every input of the folders and files on the command line as it stands,
// then a fixed number of variations of each, the same ones every time. An input that ends the process badly
// is kept in a file.

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

// Sanitizers end the process without a signal; this tells them to keep the input first.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

namespace {

using Bytes = std::vector<std::uint8_t>;

std::size_t const k_nVariations = 4000; // over all inputs
std::size_t const k_nMaximumSize = 1 << 16;
char const* const k_keptName = "fuzz-failing-input";

Bytes g_current;

void KeepCurrent() {
    int const file = open(k_keptName, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (file >= 0) {
        ssize_t const written = write(file, g_current.data(), g_current.size());
        static_cast<void>(written);
        close(file);
    }
}

extern "C" void KeepAndEnd(int signal) {
    KeepCurrent();
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void Run(Bytes const& input) {
    g_current = input;
    // A copy of exactly this size, so that reading beyond it is found.
    Bytes const exact(g_current.begin(), g_current.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

/** A small generator of numbers that are the same everywhere. */
class Numbers {
public:
    explicit Numbers(std::uint64_t seed) : m_state(seed * 2 + 1) {}

    std::size_t Below(std::size_t limit) {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 7;
        m_state ^= m_state << 17;
        return limit == 0 ? 0 : static_cast<std::size_t>(m_state % limit);
    }

private:
    std::uint64_t m_state;
};

void Overwrite(Bytes& bytes, Numbers& numbers) {
    static std::uint8_t const s_telling[] = {0x00, 0x01, 0x7f, 0x80, 0xff, 0xfe, 0x20, 0x30};
    if (!bytes.empty()) {
        std::size_t const at = numbers.Below(bytes.size());
        bytes[at] = numbers.Below(2) ? s_telling[numbers.Below(sizeof(s_telling))]
                                     : static_cast<std::uint8_t>(numbers.Below(256));
    }
}

void FlipBit(Bytes& bytes, Numbers& numbers) {
    if (!bytes.empty()) {
        bytes[numbers.Below(bytes.size())] ^= static_cast<std::uint8_t>(1u << numbers.Below(8));
    }
}

void Cut(Bytes& bytes, Numbers& numbers) {
    std::size_t const first = numbers.Below(bytes.size() + 1);
    std::size_t const last = numbers.Below(4) ? first + numbers.Below(9) : bytes.size();
    bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(first),
                bytes.begin() + static_cast<std::ptrdiff_t>(std::min(last, bytes.size())));
}

void Insert(Bytes& bytes, Numbers& numbers, Bytes const& donor) {
    if (donor.empty() || bytes.size() > k_nMaximumSize) {
        return;
    }
    std::size_t const first = numbers.Below(donor.size());
    std::size_t const length = 1 + numbers.Below(std::min<std::size_t>(donor.size() - first, 64));
    std::size_t const at = numbers.Below(bytes.size() + 1);
    Bytes const piece(donor.begin() + static_cast<std::ptrdiff_t>(first),
                      donor.begin() + static_cast<std::ptrdiff_t>(first + length));
    bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), piece.begin(), piece.end());
}

Bytes Vary(std::vector<Bytes> const& inputs, std::size_t which, Numbers& numbers) {
    Bytes bytes = inputs[which];
    for (std::size_t steps = 1 + numbers.Below(6); steps > 0; --steps) {
        switch (numbers.Below(5)) {
        case 0:
            FlipBit(bytes, numbers);
            break;
        case 1:
            Cut(bytes, numbers);
            break;
        case 2:
            Insert(bytes, numbers, inputs[numbers.Below(inputs.size())]);
            break;
        default:
            Overwrite(bytes, numbers);
            break;
        }
    }
    return bytes;
}

void Load(std::filesystem::path const& path, std::vector<Bytes>& inputs) {
    std::ifstream file(path, std::ios::binary);
    inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::vector<Bytes> LoadAll(int count, char** paths) {
    std::vector<std::filesystem::path> files;
    for (int i = 0; i < count; ++i) {
        if (std::filesystem::is_directory(paths[i])) {
            for (auto const& entry : std::filesystem::directory_iterator(paths[i])) {
                files.push_back(entry.path());
            }
        } else {
            files.push_back(paths[i]);
        }
    }
    std::sort(files.begin(), files.end()); // folders list their files in any order
    std::vector<Bytes> inputs;
    for (auto const& file : files) {
        Load(file, inputs);
    }
    return inputs;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<Bytes> const inputs = LoadAll(argc - 1, argv + 1);
    if (inputs.empty()) {
        std::fprintf(stderr, "usage: %s <input or folder of inputs>...\n", argv[0]);
        return 2;
    }
    if (__sanitizer_set_death_callback) {
        __sanitizer_set_death_callback(KeepCurrent);
    }
    for (int const signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
        std::signal(signal, KeepAndEnd);
    }
    Run(Bytes());
    for (Bytes const& input : inputs) {
        Run(input);
    }
    Numbers numbers(inputs.size());
    for (std::size_t i = 0; i < k_nVariations; ++i) {
        Run(Vary(inputs, i % inputs.size(), numbers));
    }
    std::printf("%zu inputs and %zu variations\n", inputs.size(), k_nVariations);
    return 0;
}
