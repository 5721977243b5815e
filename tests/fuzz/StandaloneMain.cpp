// Runs a fuzz target without a fuzzer: every input of the folders and files on the command line as it stands,
// then a fixed number of variations of each, the same ones every time. An input that ends the process badly
// is kept in a file.

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

// Sanitizers end the process without a signal; this tells them to keep the input first.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

namespace {

using Bytes = std::vector<std::uint8_t>;

std::size_t const Variations = 4000; // over all inputs
std::size_t const MaximumSize = 1 << 16;

Bytes g_current;

/** Allocates, which may fail after a crash: then there is no file, and the process ends all the same. */
void KeepCurrent() {
    std::ofstream("fuzz-failing-input", std::ios::binary)
        .write(reinterpret_cast<char const*>(g_current.data()), std::streamsize(g_current.size()));
}

extern "C" void KeepAndEnd(int signal) {
    std::signal(signal, SIG_DFL);
    KeepCurrent();
    raise(signal);
}

void Run(Bytes const& input) {
    g_current = input;
    // A copy of exactly this size, so that reading beyond it is found.
    Bytes const exact(g_current.begin(), g_current.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

std::size_t Below(std::size_t limit) {
    static std::mt19937_64 numbers; // the same ones everywhere
    return limit == 0 ? 0 : static_cast<std::size_t>(numbers() % limit);
}

/** Overwrites, flips a bit, cuts, or puts a piece of another input in. */
void VaryOnce(Bytes& bytes, Bytes const& donor) {
    static std::uint8_t const s_telling[] = {0x00, 0x01, 0x7f, 0x80, 0xff, 0xfe, 0x20, 0x30};
    auto const at = bytes.begin() + static_cast<std::ptrdiff_t>(Below(bytes.size()));
    std::size_t const nLeft = static_cast<std::size_t>(bytes.end() - at);
    std::size_t const nWay = Below(5);
    if (nWay == 0 && !donor.empty() && bytes.size() <= MaximumSize) {
        std::size_t const nFirst = Below(donor.size());
        std::size_t const nLength = 1 + Below(std::min<std::size_t>(donor.size() - nFirst, 64));
        bytes.insert(at, donor.data() + nFirst, donor.data() + nFirst + nLength);
    } else if (nWay == 1) {
        bytes.erase(at, at + static_cast<std::ptrdiff_t>(Below(4) ? std::min(nLeft, Below(9)) : nLeft));
    } else if (nWay == 2 && nLeft > 0) {
        *at ^= static_cast<std::uint8_t>(1u << Below(8));
    } else if (nLeft > 0) {
        *at = Below(2) ? s_telling[Below(sizeof s_telling)] : static_cast<std::uint8_t>(Below(256));
    }
}

std::vector<Bytes> LoadAll(int count, char** paths) {
    std::vector<std::filesystem::path> files;
    for (int i = 0; i < count; ++i) {
        if (std::filesystem::is_directory(paths[i])) {
            std::filesystem::directory_iterator const folder(paths[i]);
            files.insert(files.end(), begin(folder), end(folder));
        } else {
            files.push_back(paths[i]);
        }
    }
    std::sort(files.begin(), files.end()); // folders list their files in any order
    std::vector<Bytes> inputs;
    for (auto const& path : files) {
        std::ifstream file(path, std::ios::binary);
        inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
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
    for (std::size_t i = 0; i < Variations; ++i) {
        Bytes bytes = inputs[i % inputs.size()];
        for (std::size_t nSteps = 1 + Below(6); nSteps > 0; --nSteps) {
            VaryOnce(bytes, inputs[Below(inputs.size())]);
        }
        Run(bytes);
    }
    std::printf("%zu inputs and %zu variations\n", inputs.size(), Variations);
    return 0;
}
