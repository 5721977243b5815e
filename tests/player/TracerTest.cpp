// The player under tracers, which put themselves between it, the desktop layer and the driver.

#include "ProcessRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvokit::player::testing {
namespace {

std::string const Scene = KELVO_EXAMPLES "/blend/scene.json";

// A tracer comes before a sanitizer's library; what it keeps is its own.
std::string const Unchecked = "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0:intercept_tls_get_addr=0";

void ExpectPicturesAsUsual(TemporaryFolder const& folder, std::string const& prefix) {
    for (int nFrame = 0; nFrame < 3; ++nFrame) {
        std::string const number = std::to_string(nFrame);
        EXPECT_TRUE(CompareImages(ReadPicture(folder.Path(prefix + number + ".png")),
                                  DrawFrame(Scene, nFrame), {0, 0, "the same driver draws the same calls"}))
            << "frame " << nFrame;
    }
}

TEST(Tracer, ThatStandsBeforeTheLayerSeesEachCallOnce) {
    TemporaryFolder const folder;
    Outcome const outcome = RunProgram(KELVO_PLAYER, {Scene, "--frames", "0..2", "--out", folder.Path("")},
                                       {Unchecked, std::string("LD_PRELOAD=") + KELVO_TRACER});
    ASSERT_EQ(outcome.nExitCode, 0) << outcome.errors;
    EXPECT_NE(outcome.errors.find("tracer: 1 initialised, 3 swapped\n"), std::string::npos) << outcome.errors;
    ExpectPicturesAsUsual(folder, "frame_0000");
}

TEST(Tracer, ApitracesTraceReplaysTheFrames) {
    std::string const apitrace = KELVO_APITRACE;
    if (apitrace.empty()) {
        GTEST_SKIP() << "apitrace is not installed";
    }
    if (std::vector<std::string>{KELVO_EMULATOR "player"}.size() > 1) {
        GTEST_SKIP() << "apitrace traces programs of this machine's own processor";
    }
    TemporaryFolder const folder;
    std::string const trace = folder.Path("player.trace");
    Outcome const traced =
        RunProgram(apitrace, {"trace", "--api", "egl", "-o", trace, KELVO_PLAYER, Scene, "--frames", "0..2"},
                   {Unchecked});
    ASSERT_EQ(traced.nExitCode, 0) << traced.errors;
    Outcome const dumped = RunProgram(apitrace, {"dump", "--color=never", trace});
    EXPECT_NE(dumped.output.find(" eglCreateWindowSurface("), std::string::npos);
    EXPECT_NE(dumped.output.find(" glDrawArrays("), std::string::npos);
    Outcome const replayed =
        RunProgram(apitrace, {"dump-images", "--call-nos=no", "-o", folder.Path(""), trace},
                   {"WAFFLE_PLATFORM=surfaceless_egl"});
    ASSERT_EQ(replayed.nExitCode, 0) << replayed.errors;
    ExpectPicturesAsUsual(folder, "000000000");
}

TEST(Tracer, RenderDocCapturesTheLastFrame) {
    std::string const renderdoc = KELVO_RENDERDOC;
    if (renderdoc.empty()) {
        GTEST_SKIP() << "renderdoccmd or librenderdoc-dev is not installed";
    }
    if (std::vector<std::string>{KELVO_EMULATOR "player"}.size() > 1) {
        GTEST_SKIP() << "RenderDoc captures programs of this machine's own processor";
    }
    TemporaryFolder const folder;
    Outcome const outcome = RunProgram(
        renderdoc, {"capture", "-w", "-c", folder.Path("c"), KELVO_PLAYER, Scene, "--frames", "0..1"},
        {Unchecked, std::string("LD_PRELOAD=") + KELVO_FOREIGN_LIBRARY, "RENDERDOC_TEMP=" + folder.Path("")});
    EXPECT_NE(outcome.errors.find("the last frame has been captured"), std::string::npos) << outcome.errors;
    std::string const capture = folder.Path("c_capture.rdc");
    ASSERT_EQ(RunProgram(renderdoc, {"thumb", "-o", folder.Path("frame.png"), capture}).nExitCode, 0);
    EXPECT_TRUE(CompareImages(ReadPicture(folder.Path("frame.png")), DrawFrame(Scene, 1),
                              {24, 1, "the thumbnail is compressed"}));
    ASSERT_EQ(
        RunProgram(renderdoc, {"convert", "-f", capture, "-o", folder.Path("c.xml"), "-c", "xml"}).nExitCode,
        0);
    std::string const calls = folder.ReadText("c.xml");
    for (char const* pCall : {"\"glClear\"", "\"glDrawArrays\"", "\"eglSwapBuffers\""}) {
        EXPECT_NE(calls.find(pCall), std::string::npos) << pCall;
    }
}

} // namespace
} // namespace kelvokit::player::testing
