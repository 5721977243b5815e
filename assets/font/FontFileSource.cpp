#include "font/FontFileSource.h"

#include "file/FileBytes.h"
#include "font/FontFace.h"
#include "font/FontMeshes.h"
#include "font/FontPages.h"
#include "font/GlyphPicture.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <new>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

/** Of the first page; each further one has twice the side of the one before. */
constexpr int FirstPageSide = 256;

String16 ToString16(std::string const& text) {
    return String16(String8(text.data(), static_cast<unsigned int>(text.size())));
}

/** A number that hardly any other bytes have: FNV-1a, but of eight at a time. */
std::uint64_t Fingerprint(ByteSpan bytes) {
    std::uint64_t nPrint = 0xcbf29ce484222325u ^ bytes.size;
    for (std::size_t n = 0; n < bytes.size; n += sizeof(std::uint64_t)) {
        std::uint64_t nWord = 0;
        std::memcpy(&nWord, bytes.data + n, std::min(bytes.size - n, sizeof(nWord)));
        nPrint = (nPrint ^ nWord) * 0x100000001b3u;
    }
    return nPrint;
}

unsigned int BytesOf(GlyphMesh const& mesh) {
    return mesh.m_positions.GetValue().GetCount() * static_cast<unsigned int>(sizeof(Vector3T<RealFloat>)) +
           mesh.m_indices.GetValue().GetCount() * static_cast<unsigned int>(sizeof(unsigned short));
}

} // namespace

/** A glyph that has been made of the file, but that the font does not have yet. */
struct FontFileSource::NewGlyph {
    NewGlyph(FontCharacter const& found, GlyphRequest& asked) : character(found), pRequest(&asked) {}

    FontCharacter character;
    GlyphRequest* pRequest;
    Glyph glyph;
    GlyphBitmap bitmap;
    std::size_t nPage = 0;
    GlyphPlace place;
    std::unique_ptr<GlyphMesh> pMesh;
};

FontFileSource::FontFileSource(std::string const& path, ByteSpan bytes, FontOptions const& options)
    : GlyphSource(ToString16(BaseName(path))), m_path(std::filesystem::absolute(path).string()),
      m_options(options), m_nFingerprint(Fingerprint(bytes)) {
    m_options.codePoints = {};
    SetMemoryLimit(options.glyphMemory);
}

FontFileSource::~FontFileSource() = default;

void FontFileSource::MakeGlyphs(Font& font, List<GlyphRequest>& requests) {
    unsigned int const nUsed = GetMemoryUsed();
    try {
        Fault fault;
        if (Make(font, requests, fault)) {
            return;
        }
        for (GlyphRequest& request : requests) {
            if (request.m_outcome == GlyphRequest::Failed) {
                request.m_fault = fault;
            }
        }
    } catch (std::bad_alloc const&) {
        // Those that have not been made so far have failed, as they had at first.
    }
    ReturnMemory(GetMemoryUsed() - nUsed);
}

/** False, with nothing added and no memory in use, when none can be made now. */
bool FontFileSource::Make(Font& font, List<GlyphRequest>& requests, Fault& fault) {
    std::vector<std::uint8_t> bytes;
    if (!ReadAgain(bytes, fault)) {
        return false;
    }
    FontOptions options = m_options;
    for (GlyphRequest const& request : requests) {
        options.codePoints.push_back(request.m_nCodePoint);
    }
    FontFace face({bytes.data(), bytes.size()}, m_path);
    if (!face.Open(options, fault)) {
        return false;
    }
    NewGlyphs glyphs;
    for (GlyphRequest& request : requests) {
        FontCharacter const character = face.Find(request.m_nCodePoint);
        if (character.nGlyph != 0) {
            glyphs.emplace_back(character, request);
        } else {
            request.m_outcome = GlyphRequest::Lacking;
        }
    }
    return font.GetFactoryClassID() == PolygonalFont::FactoryClassID
               ? AddMeshes(face, static_cast<PolygonalFont&>(font), glyphs, fault)
               : AddPictures(face, font, glyphs, fault);
}

bool FontFileSource::ReadAgain(std::vector<std::uint8_t>& bytes, Fault& fault) const {
    if (!ReadFile(m_path, MaximumFontFileBytes, bytes, fault)) {
        return false;
    }
    return Fingerprint({bytes.data(), bytes.size()}) == m_nFingerprint ||
           Fail(fault, m_path, "has changed since the font was made of it");
}

/** Calls `make` for each glyph, and keeps those that it makes; the request says what has become of others. */
template <class MakeOne>
void FontFileSource::Keep(NewGlyphs& glyphs, MakeOne make) {
    NewGlyphs kept;
    kept.reserve(glyphs.size());
    for (NewGlyph& glyph : glyphs) {
        GlyphRequest::Outcome const outcome = make(glyph);
        if (outcome == GlyphRequest::Made) {
            kept.push_back(std::move(glyph));
        } else {
            glyph.pRequest->m_outcome = outcome;
        }
    }
    glyphs = std::move(kept);
}

bool FontFileSource::AddPictures(FontFace& face, Font& font, NewGlyphs& glyphs, Fault& fault) {
    GlyphRasterizer pictures(face, m_options);
    Keep(glyphs, [&](NewGlyph& glyph) {
        bool const fMade = pictures.Make(glyph.character, glyph.glyph, glyph.bitmap, glyph.pRequest->m_fault);
        return fMade ? GlyphRequest::Made : GlyphRequest::Unusable;
    });
    std::stable_sort(glyphs.begin(), glyphs.end(), [](NewGlyph const& left, NewGlyph const& right) {
        return left.bitmap.height > right.bitmap.height;
    });
    // On copies: until all of them have got to their textures, nothing has happened.
    std::vector<GrowingPage> pages;
    if (m_page) {
        pages.push_back(*m_page);
    }
    std::size_t const nFormerPages = pages.size();
    Keep(glyphs, [&](NewGlyph& glyph) {
        return PlacePicture(glyph, pages) ? GlyphRequest::Made : GlyphRequest::NoRoom;
    });
    if (!Kern(face, KerningOf(m_options), font, glyphs, fault)) {
        return false;
    }
    std::size_t nPage = m_nPages - nFormerPages;
    for (GrowingPage& page : pages) {
        if (!page.Show(BaseName(m_path) + " further page " + std::to_string(++nPage))) {
            return face.Fail(fault, "no class \"Texture\", or not enough memory, for its pages");
        }
    }
    for (NewGlyph& glyph : glyphs) {
        if (!glyph.bitmap.coverage.empty()) {
            GrowingPage const& page = pages[glyph.nPage];
            SetPlace(glyph.glyph, glyph.place, page.GetSide(), page.GetTexture());
        }
        glyph.pRequest->m_outcome = font.AddGlyph(glyph.glyph) ? GlyphRequest::Made : GlyphRequest::Failed;
    }
    m_nPages = static_cast<unsigned int>(nPage);
    if (!pages.empty()) {
        m_page = std::move(pages.back());
    }
    return true;
}

/** Finds a place on the last page, or on a further one when the memory limit has room for it. */
bool FontFileSource::PlacePicture(NewGlyph& glyph, std::vector<GrowingPage>& pages) {
    if (glyph.bitmap.coverage.empty()) {
        return true;
    }
    if (pages.empty() || !pages.back().Place(glyph.bitmap, glyph.place)) {
        int const nLargest = LargestPage(m_options.maximumPageSize);
        int nSide = std::min(pages.empty() ? FirstPageSide : 2 * pages.back().GetSide(), nLargest);
        while (!FitsPage(glyph.bitmap, nSide)) {
            nSide *= 2;
        }
        while (!TakeMemory(static_cast<unsigned int>(nSide) * static_cast<unsigned int>(nSide))) {
            nSide /= 2;
            if (!FitsPage(glyph.bitmap, nSide)) {
                return false;
            }
        }
        pages.emplace_back(nSide);
        pages.back().Place(glyph.bitmap, glyph.place);
    }
    glyph.nPage = pages.size() - 1;
    return true;
}

bool FontFileSource::AddMeshes(FontFace& face, PolygonalFont& font, NewGlyphs& glyphs, Fault& fault) {
    Keep(glyphs, [&](NewGlyph& glyph) {
        if (!MakeGlyphMesh(face, glyph.character, font, glyph.glyph, glyph.pMesh, glyph.pRequest->m_fault)) {
            return GlyphRequest::Unusable;
        }
        return !glyph.pMesh || TakeMemory(BytesOf(*glyph.pMesh)) ? GlyphRequest::Made : GlyphRequest::NoRoom;
    });
    if (!Kern(face, FT_KERNING_UNFITTED, font, glyphs, fault)) {
        return false;
    }
    for (NewGlyph& glyph : glyphs) {
        unsigned int const nBytes = glyph.pMesh ? BytesOf(*glyph.pMesh) : 0;
        bool fAdded = true;
        if (glyph.pMesh) {
            glyph.glyph.m_nMesh = font.AddMesh(glyph.pMesh.release());
            fAdded = glyph.glyph.m_nMesh >= 0;
        }
        if (!fAdded) {
            ReturnMemory(nBytes);
        }
        // Without memory for the glyph the font keeps the mesh, which counts.
        fAdded = fAdded && font.AddGlyph(glyph.glyph);
        glyph.pRequest->m_outcome = fAdded ? GlyphRequest::Made : GlyphRequest::Failed;
    }
    return true;
}

/** Sets the kerning of new glyphs, among each other and with those that the font has of the file. */
bool FontFileSource::Kern(FontFace const& face, FT_Kerning_Mode mode, Font& font, NewGlyphs const& glyphs,
                          Fault& fault) const {
    std::vector<FontCharacter> added;
    for (NewGlyph const& glyph : glyphs) {
        added.push_back(glyph.character);
    }
    std::vector<FontCharacter> former;
    for (unsigned int n = 0; n < font.GetGlyphCount(); ++n) {
        Glyph const& glyph = *font.GetGlyphAt(n);
        FontCharacter const character = face.Find(glyph.m_nCodePoint);
        if (!glyph.m_fImage && character.nGlyph != 0) {
            former.push_back(character);
        }
    }
    if (former.size() + added.size() > MaximumPairedCharacters) {
        return true;
    }
    std::vector<FontCharacter> all = former;
    all.insert(all.end(), added.begin(), added.end());
    return (face.SetKerning(font, mode, added, all) && face.SetKerning(font, mode, former, added)) ||
           face.Fail(fault, "not enough memory for its kerning");
}

} // namespace trevik::kelvo::assets
