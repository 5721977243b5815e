// Varies: what a producer does with a promoted texture of two surfaces, and how many surfaces there are
// beside it. Constant: nothing is written, the driver's functions are empty and images take no pixels over,
// so that what is left is the library's own share and the buffer's bookkeeping. One thread, no contention.

#include "BenchScene.h"
#include "Timing.h"
#include "trevik/kelvo/Texture.h"
#include "trevik/kelvo/TextureFormat.h"

#include <cstdio>
#include <vector>

namespace bench = kelvokit::bench;

namespace {

using namespace trevik;
using namespace trevik::kelvo;

constexpr unsigned int Runs = 2000000;

Ref<Texture> MakePromoted() {
    Ref<Texture> pTexture = Texture::CreateTexture(64, 64, TextureFormat::RGBA8888, nullptr, 0);
    if (!pTexture || !pTexture->Promote(true)) {
        return nullptr;
    }
    pTexture->Swap();
    return pTexture;
}

template <class Work>
void Print(char const* pWhat, unsigned int nOthers, Work work) {
    bench::Spread const spread = bench::Measure(Runs, 1, work);
    std::printf("%-22s %10u %10.1f %10.1f\n", pWhat, nOthers, spread.m_median, spread.m_p95);
}

bool Measure(unsigned int nOthers) {
    std::vector<Ref<Texture>> others;
    for (unsigned int i = 0; i < nOthers; ++i) {
        others.push_back(MakePromoted());
    }
    Ref<Texture> const pTexture = MakePromoted();
    if (!pTexture) {
        return false;
    }
    Print("lock, unlock, swap", nOthers, [&](unsigned int) {
        pTexture->Lock();
        pTexture->Unlock();
        pTexture->Swap();
    });
    Print("lock, unlock", nOthers, [&](unsigned int) {
        pTexture->Lock();
        pTexture->Unlock();
    });
    Print("swap", nOthers, [&](unsigned int) { pTexture->Swap(); });
    return true;
}

} // namespace

int main() {
    bench::Backend backend;
    if (!backend.Initialize(nullptr, 640, 360)) {
        return 1;
    }
    std::printf("%-22s %10s %10s %10s\n", "ns each", "textures", "median", "p95");
    if (!Measure(0) || !Measure(1000)) {
        std::fprintf(stderr, "the texture cannot be promoted\n");
        return 1;
    }
    return 0;
}
