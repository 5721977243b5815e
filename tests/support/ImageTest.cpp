#include "kelvo_test/Image.h"

#include "kelvo_test/TemporaryFolder.h"

#include <cstdlib>

namespace kelvokit::test {
namespace {

/** Sends the pictures of failed comparisons to a folder of its own, for as long as it lives. */
class OutputFolder : public TemporaryFolder {
public:
    OutputFolder() { setenv("KELVO_TEST_OUTPUT", Path("").c_str(), 1); }
    ~OutputFolder() { unsetenv("KELVO_TEST_OUTPUT"); }
    std::string File(std::string const& ending) const {
        auto const* test = testing::UnitTest::GetInstance()->current_test_info();
        return Path(std::string(test->test_suite_name()) + "." + test->name() + ending);
    }
};

Image Sample() {
    Image image(5, 3, {10, 20, 30, 255});
    image.At(4, 0) = {200, 0, 0, 255};
    image.At(1, 2) = {0, 0, 90, 128};
    return image;
}

TEST(CompareImages, AcceptsWhatIsWithinBothLimitsWritingNothing) {
    OutputFolder const output;
    Image const expected = Sample();
    Image actual = expected;
    EXPECT_TRUE(CompareImages(actual, expected));
    actual.At(2, 1).a -= 6;
    EXPECT_TRUE(CompareImages(actual, expected, {6, 0.1, "6 / 60 channels"}));
    EXPECT_TRUE(output.List().empty());
    EXPECT_FALSE(CompareImages(actual, expected, {5, 1.0, "one channel too far"}));
    EXPECT_FALSE(CompareImages(actual, expected, {6, 0.09, "too far on average"}));
    EXPECT_FALSE(CompareImages(Image(3, 5), Image(5, 3)));
}

TEST(CompareImages, FailureSaysWhereAndWritesThePictures) {
    OutputFolder const output;
    Image const expected = Sample();
    Image actual = expected;
    actual.At(4, 0).r = 190;
    auto const result = CompareImages(actual, expected, {2, 1.0, "because"});
    std::string const sMessage = result.message();
    EXPECT_NE(sMessage.find("(4, 0): (190, 0, 0, 255) instead of (200, 0, 0, 255)"), std::string::npos)
        << sMessage;
    EXPECT_NE(sMessage.find("because"), std::string::npos) << sMessage;

    Image loaded;
    ASSERT_TRUE(loaded.Load(output.File("-actual.png")));
    EXPECT_TRUE(CompareImages(loaded, actual));
    ASSERT_TRUE(loaded.Load(output.File("-expected.png")));
    EXPECT_TRUE(CompareImages(loaded, expected));
    ASSERT_TRUE(loaded.Load(output.File("-difference.png")));
    Image difference(5, 3, {0, 0, 0, 255});
    difference.At(4, 0) = {80, 0, 0, 255};
    EXPECT_TRUE(CompareImages(loaded, difference));
}

} // namespace
} // namespace kelvokit::test
