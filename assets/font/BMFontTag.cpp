#include "font/BMFontTag.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace trevik::kelvo::assets {

namespace {

constexpr long long MinimumShort = std::numeric_limits<std::int16_t>::min();
constexpr long long MaximumShort = std::numeric_limits<std::int16_t>::max();
constexpr long long MaximumWord = std::numeric_limits<std::uint16_t>::max();

/** A text from the file as messages can show it. */
std::string Quote(std::string_view text) {
    constexpr std::size_t Most = 40;
    std::string quoted = "\"";
    for (char const letter : text.substr(0, Most)) {
        quoted += static_cast<unsigned char>(letter) < 0x20 ? '?' : letter;
    }
    return quoted + (text.size() > Most ? "...\"" : "\"");
}

} // namespace

std::optional<std::string_view> BMFontTag::Find(std::string_view attribute) const {
    std::optional<std::string_view> found;
    for (auto const& [key, value] : attributes) {
        if (key == attribute) {
            if (found) {
                ThrowFault(line, Quote(attribute) + " is there twice");
            }
            found = value;
        }
    }
    return found;
}

std::string_view BMFontTag::Require(std::string_view attribute) const {
    std::optional<std::string_view> const found = Find(attribute);
    if (!found) {
        ThrowFault(line, Quote(name) + " lacks " + Quote(attribute));
    }
    return *found;
}

long long BMFontTag::ParseInteger(std::string_view attribute, std::string_view value, long long nMinimum,
                                  long long nMaximum) const {
    long long number = 0;
    char const* const pEnd = value.data() + value.size();
    auto const [pStop, status] = std::from_chars(value.data(), pEnd, number);
    if (status != std::errc() || pStop != pEnd || number < nMinimum || number > nMaximum) {
        ThrowFault(line, Quote(attribute) + " must be a whole number from " + std::to_string(nMinimum) +
                             " to " + std::to_string(nMaximum) + ", not " + Quote(value));
    }
    return number;
}

int BMFontTag::ReadInteger(std::string_view attribute, long long nMinimum, long long nMaximum) const {
    return static_cast<int>(ParseInteger(attribute, Require(attribute), nMinimum, nMaximum));
}

int BMFontTag::ReadInteger(std::string_view attribute, long long nMinimum, long long nMaximum,
                           int nDefault) const {
    std::optional<std::string_view> const value = Find(attribute);
    return value ? static_cast<int>(ParseInteger(attribute, *value, nMinimum, nMaximum)) : nDefault;
}

unsigned int BMFontTag::ReadChar(std::string_view attribute) const {
    // What is between the last code point and the largest number is refused by the description.
    long long const nChar =
        ParseInteger(attribute, Require(attribute), -1, std::numeric_limits<std::uint32_t>::max());
    return static_cast<unsigned int>(nChar);
}

bool BMFontTagReader::IsKnown(std::string_view name) {
    for (char const* pKnown : {"info", "common", "page", "chars", "char", "kernings", "kerning"}) {
        if (name == pKnown) {
            return true;
        }
    }
    return false;
}

void BMFontTagReader::Read(BMFontTag const& tag) {
    if (tag.name == "info") {
        m_description.SetSize(tag.ReadInteger("size", MinimumShort, MaximumShort, 0), tag.line);
    } else if (tag.name == "common") {
        ReadCommon(tag);
    } else if (tag.name == "page") {
        ReadPage(tag);
    } else if (tag.name == "char") {
        ReadChar(tag);
    } else if (tag.name == "kerning") {
        ReadKerning(tag);
    } else if (!ReadCount(tag) && tag.name == "distanceField") {
        ThrowFault(tag.line, "the pages hold distances and not glyphs, which cannot be drawn");
    }
}

void BMFontTagReader::ReadCommon(BMFontTag const& tag) {
    BMFontDescription::Common common;
    common.lineHeight = tag.ReadInteger("lineHeight", 0, MaximumWord);
    common.base = tag.ReadInteger("base", 0, MaximumWord);
    common.scaleW = tag.ReadInteger("scaleW", 0, MaximumWord);
    common.scaleH = tag.ReadInteger("scaleH", 0, MaximumWord);
    common.pages = tag.ReadInteger("pages", 0, MaximumWord);
    common.packed = tag.ReadInteger("packed", 0, 1, 0) != 0;
    common.alphaChannel = tag.ReadInteger("alphaChnl", 0, MaximumWord, 0);
    common.place = tag.line;
    m_description.SetCommon(common);
}

void BMFontTagReader::ReadPage(BMFontTag const& tag) {
    BMFontDescription::Page page;
    page.id = tag.ReadInteger("id", 0, MaximumWord);
    page.file = std::string(tag.Require("file"));
    page.place = tag.line;
    m_description.AddPage(std::move(page));
}

void BMFontTagReader::ReadChar(BMFontTag const& tag) {
    BMFontDescription::Char record;
    record.id = tag.ReadChar("id");
    record.x = tag.ReadInteger("x", 0, MaximumWord);
    record.y = tag.ReadInteger("y", 0, MaximumWord);
    record.width = tag.ReadInteger("width", 0, MaximumWord);
    record.height = tag.ReadInteger("height", 0, MaximumWord);
    record.xOffset = tag.ReadInteger("xoffset", MinimumShort, MaximumShort);
    record.yOffset = tag.ReadInteger("yoffset", MinimumShort, MaximumShort);
    record.xAdvance = tag.ReadInteger("xadvance", MinimumShort, MaximumShort);
    record.page = tag.ReadInteger("page", 0, MaximumWord, 0);
    record.channels = tag.ReadInteger("chnl", 0, 15, 15);
    record.place = tag.line;
    m_description.AddChar(record);
    ++m_counters[0].found;
}

void BMFontTagReader::ReadKerning(BMFontTag const& tag) {
    BMFontDescription::Kerning kerning;
    kerning.first = tag.ReadChar("first");
    kerning.second = tag.ReadChar("second");
    kerning.amount = tag.ReadInteger("amount", MinimumShort, MaximumShort);
    kerning.place = tag.line;
    m_description.AddKerning(kerning);
    ++m_counters[1].found;
}

bool BMFontTagReader::ReadCount(BMFontTag const& tag) {
    for (Counter& counter : m_counters) {
        if (tag.name != counter.pList) {
            continue;
        }
        if (counter.announced) {
            ThrowFault(tag.line, "there is a " + Quote(tag.name) + " already");
        }
        // Some tools write -1 for what they have not counted.
        counter.announced = tag.ReadInteger("count", -1, static_cast<long long>(counter.nMost), -1);
        counter.line = tag.line;
        return true;
    }
    return false;
}

void BMFontTagReader::Finish() const {
    for (Counter const& counter : m_counters) {
        if (counter.announced.value_or(-1) >= 0 && *counter.announced != counter.found) {
            ThrowFault(counter.line, std::string(counter.pList) + " announces " +
                                         std::to_string(*counter.announced) + ", but there are " +
                                         std::to_string(counter.found));
        }
    }
}

} // namespace trevik::kelvo::assets
