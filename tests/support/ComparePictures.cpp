// Compares two PNG files: nothing is said and 0 answered where no channel of any pixel differs by more than
// so many levels. On a failure the pictures are left where those of failed tests are.
//
//     kelvo-compare-pictures LEVELS ACTUAL EXPECTED

#include "kelvo_test/Image.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    using namespace kelvokit::test;
    Image actual;
    Image expected;
    if (argc != 4 || !actual.Load(argv[2]) || !expected.Load(argv[3])) {
        std::fprintf(stderr, "usage: kelvo-compare-pictures LEVELS ACTUAL EXPECTED, both PNG files\n");
        return 2;
    }
    int const nLevels = std::atoi(argv[1]);
    testing::AssertionResult const result =
        CompareImages(actual, expected, {nLevels, double(nLevels), "as the caller wants it"}, "pictures");
    if (!result) {
        std::fprintf(stderr, "%s: %s\n", argv[2], result.message());
    }
    return result ? 0 : 1;
}
