// examples/java as a person runs it: a Java program that loads the libraries itself, as applications do.

#include "kelvo_test/Image.h"
#include "kelvo_test/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace kelvokit::test {
namespace {

/** What the program prints, and in the last line its exit code. */
std::string RunClock(std::string const& scene, std::string const& folder) {
    std::string const command = std::string(KELVO_JAVA) +
                                " -Xcheck:jni -Xmx64m -Djava.library.path=" KELVO_CLOCK_FOLDER
                                " -cp " KELVO_ANDROID_JAR ":" KELVO_CLOCK_JAR " clock.WallClock '" +
                                scene + "' '" + folder + "' 2>&1; echo $?";
    std::string printed;
    if (std::FILE* const pPipe = popen(command.c_str(), "r")) {
        char text[256];
        while (std::fgets(text, sizeof(text), pPipe)) {
            printed += text;
        }
        pclose(pPipe);
    }
    return printed;
}

/** The directions, degrees clockwise from the top, in which something dark lies at a distance from the
 * middle. */
std::vector<double> DarkDirections(Image const& frame, double radius) {
    constexpr double Step = 0.25;
    std::vector<double> directions;
    double sum = 0;
    int nCount = 0;
    // From 210 degrees around to 150: between them lies the small sky.
    for (double angle = 210; angle <= 510; angle += Step) {
        double const radians = angle * M_PI / 180;
        Pixel const& pixel = frame.At(int(std::floor(320 + radius * std::sin(radians))),
                                      int(std::floor(168 - radius * std::cos(radians))));
        if (pixel.r + pixel.g + pixel.b < 250) {
            sum += angle;
            ++nCount;
        } else if (nCount > 0) {
            directions.push_back(std::fmod(sum / nCount, 360));
            sum = nCount = 0;
        }
    }
    return directions;
}

double Apart(double angle, double other) {
    return std::abs(std::remainder(angle - other, 360));
}

TEST(JavaExample, ShowsTheTimeThatJavaDraws) {
    TemporaryFolder const folder;
    std::string const printed = RunClock(KELVO_SOURCES "/examples/java/scene.json", folder.Path(""));
    EXPECT_EQ(printed.substr(printed.size() - 2), "0\n") << printed;
    EXPECT_EQ(printed.find("WARNING"), std::string::npos) << printed;
    EXPECT_EQ(printed.find("Exception"), std::string::npos) << printed;
    struct {
        int nFrame, nHours, nMinutes;
    } const times[] = {{9, 8, 15}, {32, 10, 10}, {57, 12, 15}};
    for (auto const& time : times) {
        SCOPED_TRACE(time.nHours);
        double const minutes = time.nMinutes * 6;
        double const hours = time.nHours * 30 + time.nMinutes * 0.5;
        Image frame;
        ASSERT_TRUE(
            frame.Load(folder.Path("frame_00" + std::to_string(100 + time.nFrame).substr(1) + ".png")));
        std::vector<double> const both = DarkDirections(frame, 40);
        ASSERT_EQ(both.size(), 2u);
        std::size_t const first = Apart(both[0], hours) < Apart(both[1], hours) ? 0 : 1;
        EXPECT_LT(Apart(both[first], hours), 1.5);
        EXPECT_LT(Apart(both[1 - first], minutes), 1.5);
        std::vector<double> const longer = DarkDirections(frame, 49);
        ASSERT_EQ(longer.size(), 1u);
        EXPECT_LT(Apart(longer[0], minutes), 1.5);
    }
    Image shown, drawn;
    ASSERT_TRUE(shown.Load(KELVO_SOURCES "/docs/images/java.png") &&
                drawn.Load(folder.Path("frame_0032.png")));
    EXPECT_TRUE(CompareImages(drawn, shown, {90, 0.5, "another driver rounds otherwise and moves edges"}))
        << "frame 32 that examples/java/run writes is the README's picture";
}

TEST(JavaExample, SaysWhatItCannotDo) {
    TemporaryFolder const folder;
    std::string printed = RunClock("nowhere.json", folder.Path(""));
    EXPECT_EQ(printed.substr(printed.size() - 2), "1\n");
    EXPECT_NE(printed.find("WallClock: nowhere.json: "), std::string::npos) << printed;
    printed = RunClock(KELVO_SOURCES "/examples/format/sprite.json", folder.Path(""));
    EXPECT_EQ(printed.substr(printed.size() - 2), "1\n");
    EXPECT_NE(printed.find("sprite \"clock\""), std::string::npos) << printed;
}

} // namespace
} // namespace kelvokit::test
