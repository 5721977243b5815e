#include "Table.h"
#include "trevik/Encoding.h"

using namespace trevik;

namespace {

template <class Unit>
std::string InHex(std::vector<Unit> const& numbers) {
    std::ostringstream text;
    for (Unit number : numbers) {
        text << " " << std::hex << (static_cast<unsigned int>(number) & (sizeof(Unit) == 1 ? 0xffu : ~0u));
    }
    return text.str();
}

/** The code points of a text, of which there is none behind its end. */
template <class Encoding>
std::string Decode(std::vector<int> const& numbers) {
    std::vector<typename Encoding::Unit> units; // of exactly this length, for a sanitizer
    units.reserve(numbers.size());
    for (int number : numbers) {
        units.push_back(static_cast<typename Encoding::Unit>(number));
    }
    int const length = static_cast<int>(units.size());
    std::vector<int> codePoints;
    for (int index = 0; index < length;) {
        codePoints.push_back(Encoding::GetNextChar(units.data(), index, length));
    }
    int end = length;
    EXPECT_EQ(Encoding::GetNextChar(units.data(), end, length), 0);
    EXPECT_EQ(end, length);
    return " " + InHex(codePoints) + "\n";
}

/** The units of a code point, where there is just room for them, and not where there is less. */
template <class Encoding>
std::string Encode(int codePoint) {
    using Unit = typename Encoding::Unit;
    int const count = Encoding::GetElementCount(codePoint);
    for (int room = 0;; ++room) {
        std::vector<Unit> units(static_cast<std::size_t>(room) + 1, Unit('x'));
        int index = 1;
        if (Encoding::PutNextChar(units.data(), index, room + 1, codePoint)) {
            EXPECT_EQ(room, count) << codePoint;
            EXPECT_EQ(index, room + 1) << codePoint;
            return " " + InHex(std::vector<Unit>(units.begin() + 1, units.end())) + "\n";
        }
        EXPECT_EQ(units, std::vector<Unit>(units.size(), Unit('x')));
    }
}

TEST(TrevikEncoding, Table) {
    kelvo::test::CompareTable("trevik/encodings.txt", [](std::string const& sInput) -> std::string {
        std::istringstream input(sInput);
        std::string form;
        std::vector<int> numbers;
        input >> form >> std::hex;
        for (int number = 0; input >> number;) {
            numbers.push_back(number);
        }
        return form == "utf8"    ? Decode<UTF8Encoding>(numbers)
               : form == "utf16" ? Decode<UTF16Encoding>(numbers)
               : form == "java"  ? Decode<JavaEncoding>(numbers)
               : form == "code"  ? Encode<UTF8Encoding>(numbers[0]) + Encode<UTF16Encoding>(numbers[0]) +
                                      Encode<JavaEncoding>(numbers[0])
                                : "";
    });
}

} // namespace
