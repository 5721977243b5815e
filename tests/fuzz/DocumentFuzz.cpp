// Reads the input as a document file, as a bare document and as the content of a packed one. A document that
// can be read must be written and read back the same; an object's properties are loaded from it and animated,
// and its fonts are loaded and saved. A font that can be loaded must be safe to draw with, and be saved and
// loaded again the same.

#include "FuzzChecks.h"
#include "kelvo_host/DocumentFile.h"
#include "kelvo_test/TestFonts.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/Vector3Property.h"

#include <string>
#include <vector>

namespace fuzz = kelvokit::fuzz;

using namespace trevik;
using namespace trevik::kelvo;
using namespace trevik::kelvo::test;
using fuzz::Require;
using fuzz::Write;

namespace {

void LoadProperties(Ref<DocumentNode> const& pDocument) {
    RealProperty opacity;
    Vector3Property position;
    StringProperty caption;
    PropertyList list;
    list.Register(u"Opacity", &opacity);
    list.Register(u"Position", &position);
    list.Register(u"Caption", &caption);
    ClassRegistry registry;
    Deserializer deserializer(pDocument, registry);
    list.Load(deserializer);
    Require(deserializer.GetDepth() == 0);
    for (RealFloat frame : {-2.0f, 0.0f, 0.5f, 3.0f, 1e10f}) {
        list.Update(UpdateContext(), frame);
    }
    Serializer serializer;
    Require(list.Save(serializer) && serializer.Finish());
}

/** A font by itself, with its textures. */
Ref<DocumentNode> Save(Font& font) {
    Serializer serializer;
    serializer.GetFontIndex(&font);
    return serializer.Finish();
}

void CheckGlyphs(Font const& font, unsigned int nMeshCount) {
    for (unsigned int nGlyph = 0; nGlyph < font.GetGlyphCount(); ++nGlyph) {
        Glyph const& glyph = *font.GetGlyphAt(nGlyph);
        Require(glyph.m_pTexture || !glyph.m_fImage);
        Require(glyph.m_nMesh >= -1 && glyph.m_nMesh < static_cast<int>(nMeshCount));
        Require(font.GetGlyph(glyph.m_nCodePoint) == &glyph);
    }
}

void LoadFonts(Ref<DocumentNode> const& pDocument) {
    TestFontRegistry registry;
    Deserializer deserializer(pDocument, registry);
    for (int nFont = 0; nFont < 4; ++nFont) {
        Ref<Font> const pFont = deserializer.GetFont(nFont);
        Require(deserializer.GetDepth() == 0);
        if (pFont) {
            TestOutlines const* const pOutlines = dynamic_cast<TestOutlines*>(pFont.Get());
            unsigned int const nMeshCount = pOutlines ? pOutlines->GetMeshCount() : 0;
            for (unsigned int nMesh = 0; nMesh < nMeshCount; ++nMesh) {
                fuzz::RequireSound(*pOutlines->GetMesh(nMesh));
            }
            CheckGlyphs(*pFont, nMeshCount);
            Deserializer saved(Save(*pFont), registry);
            Ref<Font> const pAgain = saved.GetFont(0);
            Require(pAgain && Write(*Save(*pFont)) == Write(*Save(*pAgain)));
        }
    }
    deserializer.GetTexture(0);
}

std::uint32_t GetChecksum(std::vector<std::uint8_t> const& bytes) {
    std::uint32_t nChecksum = ~0u;
    for (std::uint8_t const nByte : bytes) {
        nChecksum ^= nByte;
        for (int nBit = 0; nBit < 8; ++nBit) {
            nChecksum = nChecksum >> 1 ^ (nChecksum & 1 ? 0xedb88320u : 0u);
        }
    }
    return ~nChecksum;
}

void AppendWord(std::vector<std::uint8_t>& bytes, std::size_t nWord) {
    for (unsigned int nShift = 0; nShift < 32; nShift += 8) {
        bytes.push_back(static_cast<std::uint8_t>(nWord >> nShift));
    }
}

/** The packed document with this content, which a file around it would seldom have the checksum of. */
Ref<DocumentNode> ReadPacked(std::uint8_t const* pData, std::size_t nSize) {
    std::string const sMagic = "KELVODOC";
    std::vector<std::uint8_t> bytes(sMagic.begin(), sMagic.end());
    AppendWord(bytes, 3);
    AppendWord(bytes, nSize);
    bytes.insert(bytes.end(), pData, pData + nSize);
    AppendWord(bytes, GetChecksum(bytes));
    Fault fault;
    Ref<DocumentNode> const pDocument = DocumentFile::Read(bytes.data(), bytes.size(), fault);
    fuzz::RequireMessage(pDocument ? "malformed" : fault.GetText(), "malformed");
    return pDocument;
}

void Examine(Ref<DocumentNode> const& pDocument) {
    if (pDocument) {
        List<unsigned char> const written = Write(*pDocument);
        Ref<DocumentNode> const pRead = DocumentNode::Read(written.GetData(), written.GetCount());
        Require(pRead && Write(*pRead) == written);
        List<unsigned char> file;
        Fault fault;
        Require(DocumentFile::Write(*pDocument, file));
        Ref<DocumentNode> const pUnpacked = DocumentFile::Read(file.GetData(), file.GetCount(), fault);
        List<unsigned char> again;
        Require(pUnpacked && DocumentFile::Write(*pUnpacked, again) && again == file);
        LoadProperties(pDocument);
        LoadFonts(pDocument);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* pData, std::size_t nSize) {
    fuzz::DropTraces();
    Fault fault;
    Examine(DocumentFile::Read(pData, nSize, fault));
    char const* pError = nullptr;
    unsigned long nOffset = 0;
    Ref<DocumentNode> pBare = DocumentNode::Read(pData, nSize, &pError, &nOffset);
    Require((pBare == nullptr) == (pError != nullptr) && nOffset <= nSize);
    Examine(pBare);
    Examine(ReadPacked(pData, nSize));
    return 0;
}
