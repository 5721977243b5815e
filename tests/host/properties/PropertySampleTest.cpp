#include "PropertyTestSupport.h"
#include "Table.h"
#include "trevik/kelvo/HostProperties.h"

#include <gtest/gtest.h>

#include <map>

namespace trevik::kelvo::test {
namespace {

/** Numbers of the type `Part`, one after the other, that make up a value. */
template <class Part, class T>
std::string Describe(T const& value) {
    std::string text;
    for (std::size_t n = 0; n < sizeof(T); n += sizeof(Part)) {
        Part part;
        std::memcpy(&part, reinterpret_cast<char const*>(&value) + n, sizeof(Part));
        char number[40];
        std::snprintf(number, sizeof(number), "%s%.10g", n == 0 ? " " : ",", static_cast<double>(part) + 0.0);
        text += number;
    }
    return text;
}

/**
 * Loads a controller whose first frame, size and samples stand in `input`: numbers of the type `Part`, '#'
 * and a whole number, or '~' for the last byte to be missing. Tells its values at the frames behind '@', what
 * it holds, also once it has been compacted, and how many hold its document then.
 */
template <class T, class Part>
std::string Evaluate(std::istringstream& input) {
    int nStartFrame = 0;
    unsigned int nSizeWord = 0;
    std::string word, text;
    input >> nStartFrame >> std::hex >> nSizeWord;
    std::vector<unsigned char> bytes;
    while (input >> word && word != "@") {
        std::vector<unsigned char> const more =
            word[0] == '#' ? BytesOf(static_cast<unsigned int>(std::strtoul(&word[1], nullptr, 0)))
                           : BytesOf(static_cast<Part>(std::strtod(word.c_str(), nullptr)));
        bytes.insert(bytes.end(), more.begin(), more.end());
        bytes.resize(word == "~" ? bytes.size() - sizeof(Part) - 1 : bytes.size());
    }
    Ref<DocumentNode> const pNode(MakeSampleNode(nStartFrame, nSizeWord, bytes)->GetChild(0));
    SampleController<T> controller;
    if (!LoadFrom(pNode, controller)) {
        return "  refused\n";
    }
    auto const holds = [&] {
        return "  " + std::to_string(controller.GetSampleCount()) + " in " +
               (controller.IsChunked() ? std::to_string(controller.GetChunkCount()) + " runs" : "a row") +
               ", document held " + std::to_string(pNode->GetReferenceCount()) + "\n";
    };
    auto const valuesAt = [&](std::string const& frames) {
        std::istringstream rest(frames);
        std::string values;
        while (rest >> word) {
            T value{};
            bool const fGiven =
                controller.Evaluate(UpdateContext(), std::strtof(word.c_str(), nullptr), value);
            values += fGiven ? Describe<Part>(value) : " none";
        }
        return values;
    };
    std::string frames;
    std::getline(input, frames);
    std::string const values = valuesAt(frames);
    text = " " + values + "\n" + holds();
    bool const fCompact = controller.Compact();
    EXPECT_EQ(fCompact, controller.IsChunked());
    EXPECT_EQ(valuesAt(frames), values) << "the same when compacted";
    return text + holds();
}

TEST(PropertySample, Table) {
    std::map<std::string, std::string (*)(std::istringstream&)> const types = {
        {"real", Evaluate<RealFloat, RealFloat>},
        {"int", Evaluate<int, int>},
        {"bool", Evaluate<bool, unsigned char>},
        {"vector2", Evaluate<Vector2, RealFloat>},
        {"vector3", Evaluate<Vector3, RealFloat>},
        {"rectangle", Evaluate<Rectangle, RealFloat>},
        {"colour", Evaluate<ColorT<RealFloat>, RealFloat>},
        {"sizeint", Evaluate<SizeT<int>, int>},
        {"sizereal", Evaluate<SizeT<RealFloat>, RealFloat>},
    };
    CompareTable("properties/samples.txt", [&types](std::string const& sInput) {
        std::istringstream input(sInput);
        std::string type;
        input >> type;
        return type == "#" ? "" : types.at(type)(input);
    });
}

} // namespace
} // namespace trevik::kelvo::test
