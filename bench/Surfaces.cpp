// Varies: the size and format of a promoted texture, and the thread that writes it. Constant: one surface,
// the system's driver, all pixels written anew each time, with another value. Layer and floor alternate in
// one process: the layer locks the surface, writes it and unlocks it, after which any draw samples what was
// written; the floor writes the same pixels with the same stride into memory of its own, gives them to
// glTexSubImage2D and waits with glFinish. Formats that GL does not take as they are (RGBX) are given to the
// floor as RGBA, which leaves out the pass over the pixels that makes them opaque. Processor time of the
// whole process, waiting left out. Where memory lies changes large copies by a third, so that each case is
// measured with several textures, one after the other. All threads stay on one core: those that move leave
// their caches behind.

#include "BenchScene.h"
#include "SystemDriver.h"
#include "Timing.h"
#include "trevik/kelvo/SurfaceInfo.h"

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <sched.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace bench = kelvokit::bench;

namespace {

using namespace trevik;
using namespace trevik::kelvo;
struct Case {
    int nWidth;
    int nHeight;
    TextureFormat::Enum format;
    char const* pFormat;
    bool fOtherThread;
};

constexpr unsigned int WarmUpRuns = 3;
constexpr int Rounds = 10;

/** As a producer writes: row by row, from memory that is in the cache. */
void Write(unsigned char* pPixels, SurfaceInfo const& info, std::vector<unsigned char>& row,
           unsigned int nRun) {
    std::memset(row.data(), static_cast<int>(nRun), row.size());
    for (int y = 0; y < info.m_nHeight; ++y) {
        std::memcpy(pPixels + static_cast<std::ptrdiff_t>(y) * info.m_nStride, row.data(), row.size());
    }
}

/** The same pixels in a texture of its own. */
class Floor {
public:
    explicit Floor(SurfaceInfo const& info, int nBytes, Case const& test)
        : m_info(info), m_nBytes(nBytes),
          m_pixels(static_cast<std::size_t>(info.m_nStride) * static_cast<std::size_t>(info.m_nHeight)) {
        bool const fSixteen = test.format == TextureFormat::RGB565;
        m_format = fSixteen || nBytes == 3 ? GL_RGB : GL_RGBA;
        m_type = fSixteen ? GL_UNSIGNED_SHORT_5_6_5 : GL_UNSIGNED_BYTE;
        glGenTextures(1, &m_nTexture);
        glBindTexture(GL_TEXTURE_2D, m_nTexture);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(m_format), info.m_nWidth, info.m_nHeight, 0,
                     m_format, m_type, nullptr);
    }
    ~Floor() { glDeleteTextures(1, &m_nTexture); }
    Floor(Floor const&) = delete;

    void Run(std::vector<unsigned char>& row, unsigned int nRun) {
        Write(m_pixels.data(), m_info, row, nRun);
        glBindTexture(GL_TEXTURE_2D, m_nTexture);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glPixelStorei(GL_UNPACK_ROW_LENGTH_EXT, m_info.m_nStride / m_nBytes);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, m_info.m_nWidth, m_info.m_nHeight, m_format, m_type,
                        m_pixels.data());
        glFinish();
        glPixelStorei(GL_UNPACK_ROW_LENGTH_EXT, 0);
    }

private:
    SurfaceInfo m_info;
    int m_nBytes;
    std::vector<unsigned char> m_pixels;
    GLenum m_format;
    GLenum m_type;
    GLuint m_nTexture = 0;
};

template <class Run>
double Time(Run run) {
    double const start = bench::ProcessNanoseconds();
    run();
    return bench::ProcessNanoseconds() - start;
}

struct Times {
    std::vector<double> m_layer;
    std::vector<double> m_ratios;
};

/** With a texture and memory of their own. */
bool MeasureRound(Case const& test, unsigned int nRuns, Times& times) {
    Ref<Texture> const pTexture = Texture::CreateTexture(test.nWidth, test.nHeight, test.format, nullptr, 0);
    SurfaceInfo info = {};
    if (!pTexture || !pTexture->Promote(false) || !pTexture->GetSurfaceInfo(&info)) {
        return false;
    }
    pTexture->Swap();
    int const nBytes = pTexture->GetBytesPerPixel();
    std::vector<unsigned char> row(static_cast<std::size_t>(info.m_nWidth * nBytes));
    Floor floor(info, nBytes, test);
    for (unsigned int nRun = 0; nRun < WarmUpRuns + nRuns; ++nRun) {
        double rLayer = 0;
        auto const layer = [&] {
            rLayer = Time([&] {
                auto* const pPixels = static_cast<unsigned char*>(pTexture->Lock());
                Write(pPixels, info, row, nRun);
                pTexture->Unlock();
            });
        };
        if (test.fOtherThread) {
            std::thread(layer).join();
        } else {
            layer();
        }
        double const rFloor = Time([&] { floor.Run(row, nRun); });
        if (nRun >= WarmUpRuns) {
            times.m_layer.push_back(rLayer);
            times.m_ratios.push_back(rLayer / rFloor);
        }
    }
    return true;
}

bool Measure(Case const& test) {
    unsigned int const nRuns = test.nWidth * test.nHeight > 100000 ? 20 : 100;
    Times times;
    std::vector<Ref<Texture>> spacers; // push the next round's memory on
    for (int nRound = 0; nRound < Rounds; ++nRound) {
        if (!MeasureRound(test, nRuns, times)) {
            return false;
        }
        spacers.push_back(Texture::CreateTexture(16 + 100 * nRound, 30, test.format, nullptr, 0));
    }
    bench::Spread const layer = bench::SpreadOf(times.m_layer);
    bench::Spread const ratio = bench::SpreadOf(times.m_ratios);
    int const nBytes = Texture::GetBytesPerPixel(test.format);
    std::printf("%5dx%-5d %-9s %-9s %10.1f %8.2f %8.3f %8.3f\n", test.nWidth, test.nHeight, test.pFormat,
                test.fOtherThread ? "producer" : "renderer", layer.m_median / 1000,
                static_cast<double>(nBytes) * test.nWidth * test.nHeight / layer.m_median, ratio.m_median,
                ratio.m_p95);
    return true;
}

} // namespace

int main() {
    // All on one core: how the threads happen to be spread would be measured, too.
    cpu_set_t core;
    CPU_ZERO(&core);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &core);
    sched_setaffinity(0, sizeof(core), &core);
    bench::SystemDriver driver;
    if (!driver.Initialize(640, 360)) {
        return 1;
    }
    std::printf("%11s %-9s %-9s %10s %8s %8s %8s\n", "size", "format", "thread", "us", "GB/s", "ratio",
                "p95");
    Case const cases[] = {
        {64, 64, TextureFormat::RGBA8888, "rgba8888", false},
        {256, 256, TextureFormat::RGBA8888, "rgba8888", false},
        {500, 280, TextureFormat::RGBA8888, "rgba8888", false},
        {1280, 720, TextureFormat::RGBA8888, "rgba8888", false},
        {1280, 720, TextureFormat::RGBA8888, "rgba8888", true},
        {1910, 1070, TextureFormat::RGBA8888, "rgba8888", false},
        {1910, 1070, TextureFormat::RGBA8888, "rgba8888", true},
        {1280, 720, TextureFormat::RGB565, "rgb565", false},
        {1280, 720, TextureFormat::RGB888, "rgb888", false},
        {1280, 720, TextureFormat::RGBX8888, "rgbx8888", false},
    };
    for (Case const& test : cases) {
        if (!Measure(test)) {
            std::fprintf(stderr, "a texture of %d x %d cannot be promoted\n", test.nWidth, test.nHeight);
            return 1;
        }
    }
    return 0;
}
