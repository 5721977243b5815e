// examples/java as a person runs it: a Java program that loads the libraries itself, as applications do.

#include "kelvo_test/Image.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace kelvo::test {
namespace {

struct Result {
    int nExitCode = -1;
    std::string printed;
};

Result RunClock(std::string const& scene, std::string const& folder) {
    std::string const command = std::string(KELVO_JAVA) +
                                " -Xcheck:jni -Xmx64m -Djava.library.path=" KELVO_CLOCK_FOLDER
                                " -cp " KELVO_ANDROID_JAR ":" KELVO_CLOCK_JAR " clock.WallClock '" +
                                scene + "' '" + folder + "' 2>&1";
    Result run;
    std::FILE* const pPipe = popen(command.c_str(), "r");
    if (!pPipe)
        return run;
    char text[256];
    while (std::fgets(text, sizeof(text), pPipe))
        run.printed += text;
    int const nStatus = pclose(pPipe);
    run.nExitCode = WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
    return run;
}

class JavaExample : public testing::Test {
protected:
    ~JavaExample() override { std::filesystem::remove_all(m_folder); }

    Image Frame(int nFrame) const {
        char name[32];
        std::snprintf(name, sizeof(name), "/frame_%04d.png", nFrame);
        Image frame;
        EXPECT_TRUE(frame.Load(m_folder + name)) << name;
        return frame;
    }

    std::string const m_folder = testing::TempDir() + "kelvo-clock-" +
                                 testing::UnitTest::GetInstance()->current_test_info()->name() +
                                 std::to_string(getpid());
};

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

TEST_F(JavaExample, ShowsTheTimeThatJavaDraws) {
    Result const run = RunClock(KELVO_SOURCES "/examples/java/scene.json", m_folder);
    EXPECT_EQ(run.nExitCode, 0) << run.printed;
    EXPECT_EQ(run.printed.find("WARNING"), std::string::npos) << run.printed;
    EXPECT_EQ(run.printed.find("Exception"), std::string::npos) << run.printed;
    struct {
        int nFrame, nHours, nMinutes;
    } const times[] = {{9, 8, 15}, {21, 9, 15}, {32, 10, 10}, {52, 11, 50}, {57, 12, 15}};
    for (auto const& time : times) {
        SCOPED_TRACE(std::to_string(time.nHours) + ":" + std::to_string(time.nMinutes));
        double const minutes = time.nMinutes * 6;
        double const hours = time.nHours * 30 + time.nMinutes * 0.5;
        Image const frame = Frame(time.nFrame);
        std::vector<double> const both = DarkDirections(frame, 40);
        ASSERT_EQ(both.size(), 2u);
        std::size_t const first = Apart(both[0], hours) < Apart(both[1], hours) ? 0 : 1;
        EXPECT_LT(Apart(both[first], hours), 1.5);
        EXPECT_LT(Apart(both[1 - first], minutes), 1.5);
        std::vector<double> const longer = DarkDirections(frame, 49);
        ASSERT_EQ(longer.size(), 1u);
        EXPECT_LT(Apart(longer[0], minutes), 1.5);
    }
    Image shown;
    ASSERT_TRUE(shown.Load(KELVO_SOURCES "/docs/images/java.png"));
    EXPECT_TRUE(CompareImages(Frame(32), shown, {90, 0.5, "another driver rounds otherwise and moves edges"}))
        << "frame 32 that examples/java/run writes is the README's picture";
}

TEST_F(JavaExample, SaysWhatItCannotDo) {
    Result run = RunClock("nowhere.json", m_folder);
    EXPECT_EQ(run.nExitCode, 1);
    EXPECT_NE(run.printed.find("WallClock: nowhere.json: "), std::string::npos) << run.printed;
    run = RunClock(KELVO_SOURCES "/examples/format/sprite.json", m_folder);
    EXPECT_EQ(run.nExitCode, 1);
    EXPECT_NE(run.printed.find("sprite \"clock\""), std::string::npos) << run.printed;
}

} // namespace
} // namespace kelvo::test
