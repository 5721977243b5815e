// Any bytes at all, read as text of each encoding: reading stays within them and always advances, what it
// yields is a code point, and writing and reading it again in any encoding changes nothing.

#include "FuzzChecks.h"
#include "trevik/Encoding.h"
#include "trevik/StringEncoded.h"

#include <cstring>
#include <vector>

namespace fuzz = kelvokit::fuzz;

using namespace trevik;
using fuzz::Require;

namespace {

template <class Encoding>
std::vector<int> Read(typename Encoding::Unit const* text, int length) {
    std::vector<int> codePoints;
    for (int index = 0; index < length;) {
        int const before = index;
        int const codePoint = Encoding::GetNextChar(text, index, length);
        Require(index > before && index <= length);
        Require(CodePoint::Sanitize(codePoint) == codePoint);
        codePoints.push_back(codePoint);
    }
    return codePoints;
}

template <class Encoding>
std::vector<typename Encoding::Unit> Write(std::vector<int> const& codePoints) {
    std::vector<typename Encoding::Unit> text;
    for (int codePoint : codePoints) {
        int const count = Encoding::GetElementCount(codePoint);
        int const start = static_cast<int>(text.size());
        text.resize(text.size() + static_cast<std::size_t>(count));
        int index = start;
        Require(!Encoding::PutNextChar(text.data(), index, start + count - 1, codePoint) && index == start);
        Require(Encoding::PutNextChar(text.data(), index, start + count, codePoint) &&
                index == start + count);
    }
    return text;
}

template <class Encoding>
void RequireSameAfterWriting(std::vector<int> const& codePoints) {
    auto const text = Write<Encoding>(codePoints);
    Require(Read<Encoding>(text.data(), static_cast<int>(text.size())) == codePoints);
}

template <class Encoding>
void ReadAs(std::uint8_t const* data, std::size_t size) {
    using Unit = typename Encoding::Unit;
    std::vector<Unit> text(size / sizeof(Unit));
    if (!text.empty()) {
        std::memcpy(text.data(), data, text.size() * sizeof(Unit));
    }
    std::vector<int> const codePoints = Read<Encoding>(text.data(), static_cast<int>(text.size()));
    RequireSameAfterWriting<UTF8Encoding>(codePoints);
    RequireSameAfterWriting<UTF16Encoding>(codePoints);
    RequireSameAfterWriting<JavaEncoding>(codePoints);

    StringEncoded<Encoding> const string(text.data(), static_cast<unsigned int>(text.size()));
    auto const expected = Write<UTF16Encoding>(codePoints);
    String16 const converted = StringEncoded<JavaEncoding>(StringEncoded<UTF8Encoding>(string));
    Require(converted == String16(expected.data(), static_cast<unsigned int>(expected.size())));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    ReadAs<UTF8Encoding>(data, size);
    ReadAs<UTF16Encoding>(data, size);
    ReadAs<JavaEncoding>(data, size);
    return 0;
}
