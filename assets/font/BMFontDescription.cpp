#include "font/BMFontDescription.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

constexpr unsigned int ReplacementChar = 0xFFFD;
constexpr unsigned int LastCodePoint = 0x10FFFF;
/** Bytes of all pages at one byte a pixel. */
constexpr long long MaximumPageBytes = 256ll << 20;

std::string DescribeSize(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

void CheckRoom(std::size_t count, std::size_t most, char const* what, std::size_t place) {
    if (count >= most) {
        ThrowFault(place, "more than " + std::to_string(most) + " " + what);
    }
}

} // namespace

void ThrowFault(std::size_t place, std::string const& what) {
    throw Fault(place == NoBMFontPlace ? std::string() : std::to_string(place), what);
}

void BMFontDescription::SetSize(int size, std::size_t place) {
    if (m_size) {
        ThrowFault(place, "there is an \"info\" already");
    }
    m_size = size;
}

void BMFontDescription::SetCommon(Common const& common) {
    if (m_common) {
        ThrowFault(common.place, "there is a \"common\" already");
    }
    m_common = common;
}

void BMFontDescription::AddPage(Page page) {
    CheckRoom(m_pages.size(), MaximumPages, "pages", page.place);
    // Names with control characters are no file names, and would spoil messages.
    bool const fPrintable = std::none_of(page.file.begin(), page.file.end(), [](char letter) {
        return static_cast<unsigned char>(letter) < 0x20;
    });
    if (page.file.empty() || !fPrintable) {
        ThrowFault(page.place, "page " + std::to_string(page.id) + " has no usable file name");
    }
    m_pages.push_back(std::move(page));
}

void BMFontDescription::AddChar(Char const& record) {
    CheckRoom(m_chars.size(), MaximumChars, "characters", record.place);
    if (record.id > LastCodePoint && record.id != InvalidChar) {
        ThrowFault(record.place, "character " + std::to_string(record.id) + " is beyond U+10FFFF");
    }
    m_chars.push_back(record);
}

void BMFontDescription::AddKerning(Kerning const& kerning) {
    CheckRoom(m_kernings.size(), MaximumKernings, "kerning pairs", kerning.place);
    if (kerning.first > LastCodePoint || kerning.second > LastCodePoint) {
        ThrowFault(kerning.place, "a kerning pair has a character beyond U+10FFFF");
    }
    m_kernings.push_back(kerning);
}

void BMFontDescription::Check() {
    CheckCommon();
    CheckPages();
    CheckChars();
    CheckKernings();
}

void BMFontDescription::CheckCommon() const {
    if (!m_common) {
        ThrowFault(NoBMFontPlace, "there is no \"common\"");
    }
    if (m_common->packed) {
        ThrowFault(
            m_common->place,
            "the font is packed: glyphs that share a page's channels cannot be drawn; export it unpacked");
    }
    if (m_common->scaleW < 1 || m_common->scaleH < 1) {
        ThrowFault(m_common->place,
                   "pages of " + DescribeSize(m_common->scaleW, m_common->scaleH) + " pixels");
    }
    if (GetSize() == 0 && m_common->lineHeight == 0) {
        ThrowFault(m_common->place, "the font has neither a size nor a line height");
    }
    if (m_common->alphaChannel > 4) {
        ThrowFault(m_common->place, "alpha has content " + std::to_string(m_common->alphaChannel) +
                                        ", which is none of 0 to 4");
    }
    if (m_common->pages < 1 || std::size_t(m_common->pages) > MaximumPages) {
        ThrowFault(m_common->place, std::to_string(m_common->pages) + " pages; there may be 1 to " +
                                        std::to_string(MaximumPages));
    }
    if (static_cast<long long>(m_common->scaleW) * m_common->scaleH * m_common->pages > MaximumPageBytes) {
        ThrowFault(m_common->place, std::to_string(m_common->pages) + " pages of " +
                                        DescribeSize(m_common->scaleW, m_common->scaleH) +
                                        " pixels are more than " + std::to_string(MaximumPageBytes >> 20) +
                                        " MiB");
    }
}

void BMFontDescription::CheckPages() {
    std::stable_sort(m_pages.begin(), m_pages.end(),
                     [](Page const& left, Page const& right) { return left.id < right.id; });
    for (std::size_t n = 0; n < m_pages.size(); ++n) {
        Page const& page = m_pages[n];
        if (n > 0 && page.id == m_pages[n - 1].id) {
            ThrowFault(page.place, "page " + std::to_string(page.id) + " is there already");
        }
        if (page.id >= m_common->pages) {
            ThrowFault(page.place, "page " + std::to_string(page.id) + " of a font with " +
                                       std::to_string(m_common->pages));
        }
    }
    for (int id = 0; id < m_common->pages; ++id) {
        if (std::size_t(id) >= m_pages.size() || m_pages[std::size_t(id)].id != id) {
            ThrowFault(m_common->place, "page " + std::to_string(id) + " is missing; the font says it has " +
                                            std::to_string(m_common->pages));
        }
    }
}

void BMFontDescription::CheckChars() {
    if (m_chars.empty()) {
        ThrowFault(NoBMFontPlace, "there are no characters");
    }
    auto const byID = [](Char const& left, Char const& right) { return left.id < right.id; };
    std::stable_sort(m_chars.begin(), m_chars.end(), byID);
    for (std::size_t n = 0; n < m_chars.size(); ++n) {
        if (n > 0 && m_chars[n].id == m_chars[n - 1].id) {
            ThrowFault(m_chars[n].place, "character " + std::to_string(m_chars[n].id) + " is there already");
        }
        CheckChar(m_chars[n]);
    }
    if (m_chars.back().id == InvalidChar) {
        Char replacement = m_chars.back();
        replacement.id = ReplacementChar;
        m_chars.pop_back();
        auto const place = std::lower_bound(m_chars.begin(), m_chars.end(), replacement, byID);
        if (place == m_chars.end() || place->id != ReplacementChar) {
            m_chars.insert(place, replacement);
        }
    }
}

void BMFontDescription::CheckChar(Char const& record) const {
    std::string const name = record.id == InvalidChar ? std::string("the glyph for missing characters")
                                                      : "character " + std::to_string(record.id);
    // Several tools write 0 where the format's own writes 15.
    if (record.channels != 15 && record.channels != 0) {
        ThrowFault(record.place, name + " is in the channels " + std::to_string(record.channels) +
                                     " of its page; only glyphs in all of them (15) can be drawn");
    }
    if (record.IsEmpty()) {
        return;
    }
    if (record.page < 0 || record.page >= m_common->pages) {
        ThrowFault(record.place, name + " is on page " + std::to_string(record.page) + " of a font with " +
                                     std::to_string(m_common->pages));
    }
    if (record.x + record.width > m_common->scaleW || record.y + record.height > m_common->scaleH) {
        ThrowFault(record.place, name + " takes " + DescribeSize(record.width, record.height) +
                                     " pixels from (" + std::to_string(record.x) + ", " +
                                     std::to_string(record.y) + ") on, beyond its page of " +
                                     DescribeSize(m_common->scaleW, m_common->scaleH));
    }
}

void BMFontDescription::CheckKernings() {
    auto const pair = [](Kerning const& kerning) { return std::tie(kerning.first, kerning.second); };
    std::stable_sort(m_kernings.begin(), m_kernings.end(),
                     [&pair](Kerning const& left, Kerning const& right) { return pair(left) < pair(right); });
    for (std::size_t n = 1; n < m_kernings.size(); ++n) {
        if (pair(m_kernings[n]) == pair(m_kernings[n - 1]) &&
            m_kernings[n].amount != m_kernings[n - 1].amount) {
            ThrowFault(m_kernings[n].place, "the kerning of " + std::to_string(m_kernings[n].first) +
                                                " and " + std::to_string(m_kernings[n].second) +
                                                " is there already, with another amount");
        }
    }
}

} // namespace trevik::kelvo::assets
