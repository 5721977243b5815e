// Paints the pictures of the scenes in examples/: kelvo-example-assets FOLDER. The same pictures, byte for
// byte, every time.

#include "ExampleAssets.h"

#include "Painting.h"
#include "image/PixelPacking.h"
#include "image/PngReader.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using namespace kelvokit::examples;
using namespace trevik::kelvo::assets;
using trevik::kelvo::Fault;

/** Writes a picture with each of its pixels as a square of `nTimes` by `nTimes`. */
bool Enlarge(int nTimes, std::string const& from, std::string const& to) {
    ImageData image;
    Fault fault;
    if (nTimes < 1 || nTimes > 16 || !LoadPng(from, ImageOptions(), image, fault)) {
        std::fprintf(stderr, "%s\n",
                     fault.IsEmpty() ? "a picture is enlarged 1 to 16 times" : fault.GetText().c_str());
        return false;
    }
    RgbaPicture const picture = UnpackLevel(image, 0);
    return SavePicture(to, Painted(picture.width * nTimes, picture.height * nTimes, [&](double u, double v) {
                           std::uint8_t const* const p = picture.At(static_cast<int>(u * picture.width),
                                                                    static_cast<int>(v * picture.height));
                           return Paint{{p[0] / 255.0, p[1] / 255.0, p[2] / 255.0}, p[3] / 255.0};
                       }));
}

} // namespace

int main(int nArguments, char** ppArguments) {
    if (nArguments == 5 && std::strcmp(ppArguments[1], "--enlarge") == 0) {
        return Enlarge(std::atoi(ppArguments[2]), ppArguments[3], ppArguments[4]) ? 0 : 1;
    }
    if (nArguments != 2) {
        std::fprintf(
            stderr,
            "usage: %s FOLDER\n"
            "Paints the pictures of the scenes into the folders masks, edges, panels, text, blend, live\n"
            "and settings of FOLDER.\n"
            "       %s --enlarge N FROM.png TO.png\n"
            "Shows the pixels of a picture: writes each as a square of N by N.\n",
            ppArguments[0], ppArguments[0]);
        return 2;
    }
    std::string const folder = std::string(ppArguments[1]) + "/";
    bool const fPainted = PaintMasks(folder + "masks") && PaintEdges(folder + "edges") &&
                          PaintPanels(folder + "panels") && PaintText(folder + "text") &&
                          PaintBlend(folder + "blend") && PaintLive(folder + "live") &&
                          PaintSettings(folder + "settings");
    return fPainted ? 0 : 1;
}
