#include "kelvo_host/GlyphSource.h"

#include "TextCharacters.h"
#include "trevik/Debug.h"
#include "trevik/Immortal.h"
#include "trevik/Mutex.h"
#include "trevik/kelvo/Font.h"

#include <algorithm>
#include <atomic>

namespace trevik::kelvo {

namespace {

/** Glyphs that are asked for at once: fonts of any size are made in parts. */
constexpr unsigned int MostRequests = 1024;

/** All sources that are attached, in a list of their own links: attaching takes no memory. */
struct SourceList {
    Mutex m_mutex;
    Ref<GlyphSource> m_pFirst;
    std::atomic<bool> m_fUsed{false}; ///< there was one: until then fonts that go take no lock
};

SourceList& GetList() {
    static Immortal<SourceList> s_list;
    return s_list.Get();
}

/** Whether texts have a glyph for the character, if there is one. */
bool IsShown(CharacterClass characterClass) {
    return IsVisible(characterClass) || characterClass == CharacterClass::Space;
}

/** Whether what a text shows in place of the character looks the same. */
bool HasDouble(Font const& font, unsigned int nCodePoint) {
    CharacterClass const characterClass = GetCharacterClass(nCodePoint);
    bool const fSpace =
        characterClass == CharacterClass::Space || characterClass == CharacterClass::NoBreakSpace;
    return fSpace && font.GetGlyph(0x20);
}

} // namespace

GlyphSource::GlyphSource(StringEncoded<UTF16Encoding> const& sName) : m_sName(sName) {}

GlyphSource::~GlyphSource() = default;

/** What refers to a font's source in the list; null when it has none. The list is locked. */
Ref<GlyphSource>* GlyphSource::FindLink(Font const& font) {
    Ref<GlyphSource>* pLink = &GetList().m_pFirst;
    while (*pLink && (*pLink)->m_pFont != &font) {
        pLink = &(*pLink)->m_pNext;
    }
    return *pLink ? pLink : nullptr;
}

bool GlyphSource::Attach(Font& font, Ref<GlyphSource> const& pSource) {
    SourceList& list = GetList();
    if (!pSource && !list.m_fUsed) {
        return true;
    }
    Ref<GlyphSource> pFormer; // goes when the list is free again
    ScopedLock const lock(list.m_mutex);
    if (pSource && pSource->m_pFont) {
        return pSource->m_pFont == &font;
    }
    if (Ref<GlyphSource>* const pLink = FindLink(font)) {
        pFormer = *pLink;
        pFormer->m_pFont = nullptr;
        pLink->Swap(pFormer->m_pNext);
        pFormer->m_pNext.Reset();
    }
    if (pSource) {
        list.m_fUsed = true;
        pSource->m_pFont = &font;
        pSource->m_pNext = list.m_pFirst;
        list.m_pFirst = pSource;
    }
    return true;
}

Ref<GlyphSource> GlyphSource::Find(Font const& font) {
    SourceList& list = GetList();
    if (!list.m_fUsed) {
        return nullptr;
    }
    ScopedLock const lock(list.m_mutex);
    Ref<GlyphSource> const* const pLink = FindLink(font);
    return pLink ? *pLink : nullptr;
}

bool GlyphSource::Complete(String16 const& sText) {
    if (!m_pFont || m_fAsking) {
        return false; // asked for by what is told of a page: the texts come back to it, the font changes
    }
    Font& font = *m_pFont;
    List<unsigned int> codePoints;
    bool fComplete = CollectMissing(sText, codePoints);
    std::sort(codePoints.begin(), codePoints.end());
    unsigned int const nCount =
        static_cast<unsigned int>(std::unique(codePoints.begin(), codePoints.end()) - codePoints.begin());
    m_fAsking = true;
    for (unsigned int nFirst = 0; nFirst < nCount; nFirst += MostRequests) {
        Ask(font, &codePoints[nFirst], std::min(nCount - nFirst, MostRequests));
    }
    m_fAsking = false;
    for (unsigned int n = 0; n < nCount; ++n) {
        fComplete = fComplete && (font.GetGlyph(codePoints[n]) || HasDouble(font, codePoints[n]));
    }
    return fComplete;
}

/** False when characters lack that are not asked for, or memory does for their list. */
bool GlyphSource::CollectMissing(String16 const& sText, List<unsigned int>& codePoints) {
    bool fAll = true;
    int const nLength = static_cast<int>(sText.GetLength());
    for (int nUnit = 0; nUnit < nLength;) {
        unsigned int const nCodePoint =
            static_cast<unsigned int>(UTF16Encoding::GetNextChar(sText.GetData(), nUnit, nLength));
        if (m_pFont->GetGlyph(nCodePoint) || !IsShown(GetCharacterClass(nCodePoint))) {
            continue;
        }
        bool const fListed = IsAskedFor(nCodePoint) && codePoints.Append(nCodePoint);
        fAll = fAll && (fListed || HasDouble(*m_pFont, nCodePoint));
    }
    return fAll;
}

bool GlyphSource::IsAskedFor(unsigned int nCodePoint) {
    unsigned int const nNote = FindNote(nCodePoint);
    if (nNote == m_notes.GetCount() || m_notes[nNote].m_nCodePoint != nCodePoint) {
        return true;
    }
    Note& note = m_notes[nNote];
    if (note.m_fRefused && !note.m_fTraced) { // the font's maker has said so
        GlyphRequest request;
        request.m_nCodePoint = nCodePoint;
        request.m_outcome = GlyphRequest::Lacking;
        TraceMissing(note, request);
    }
    return !note.m_fRefused && !note.m_fNoRoom;
}

void GlyphSource::Ask(Font& font, unsigned int const* pCodePoints, unsigned int nCount) {
    List<GlyphRequest> requests;
    if (!requests.Resize(nCount)) {
        return;
    }
    for (unsigned int n = 0; n < nCount; ++n) {
        requests[n].m_nCodePoint = pCodePoints[n];
    }
    MakeGlyphs(font, requests);
    for (GlyphRequest const& request : requests) {
        if (request.m_outcome != GlyphRequest::Made) {
            NoteOutcome(request);
        }
    }
}

/** Without memory nothing is noted, and the character is asked for and traced again. */
void GlyphSource::NoteOutcome(GlyphRequest const& request) {
    Note* const pNote = GetNote(request.m_nCodePoint);
    Note note = pNote ? *pNote : Note();
    note.m_fRefused =
        request.m_outcome == GlyphRequest::Lacking || request.m_outcome == GlyphRequest::Unusable;
    note.m_fNoRoom = request.m_outcome == GlyphRequest::NoRoom;
    TraceMissing(note, request);
    if (pNote) {
        *pNote = note;
    }
}

void GlyphSource::TraceMissing(Note& note, GlyphRequest const& request) const {
    if (note.m_fTraced ||
        (request.m_outcome == GlyphRequest::Lacking && HasDouble(*m_pFont, request.m_nCodePoint))) {
        return;
    }
    note.m_fTraced = true;
    char16_t const* const pName = m_sName.GetData();
    if (request.m_outcome == GlyphRequest::Lacking) {
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] font %s has no glyph for U+%04X", pName,
                           request.m_nCodePoint);
    } else if (request.m_outcome == GlyphRequest::NoRoom) {
        Debug::TraceFormat(TraceLevel::Error,
                           u"[kelvo] font %s has no room for the glyph of U+%04X: %u of %u bytes are used",
                           pName, request.m_nCodePoint, m_nMemoryUsed, m_nMemoryLimit);
    } else {
        bool const fShort = request.m_fault.IsEmpty();
        String16 const sWhy(fShort ? String8("memory is short") : String8(request.m_fault.GetText().c_str()));
        Debug::TraceFormat(TraceLevel::Error, u"[kelvo] font %s cannot make the glyph of U+%04X: %s", pName,
                           request.m_nCodePoint, sWhy.GetData());
    }
}

void GlyphSource::SetMemoryLimit(unsigned int nBytes) {
    if (nBytes > m_nMemoryLimit) {
        for (Note& note : m_notes) {
            note.m_fNoRoom = false;
        }
    }
    m_nMemoryLimit = nBytes;
}

bool GlyphSource::TakeMemory(unsigned int nBytes) {
    if (m_nMemoryUsed > m_nMemoryLimit || nBytes > m_nMemoryLimit - m_nMemoryUsed) {
        return false;
    }
    m_nMemoryUsed += nBytes;
    return true;
}

void GlyphSource::NoteLacking(unsigned int nCodePoint) {
    if (Note* const pNote = GetNote(nCodePoint)) {
        pNote->m_fRefused = true;
    }
}

/** Where the character's note is, or would have to be inserted. */
unsigned int GlyphSource::FindNote(unsigned int nCodePoint) const {
    Note const* const pPlace =
        std::lower_bound(m_notes.begin(), m_notes.end(), nCodePoint,
                         [](Note const& note, unsigned int nWanted) { return note.m_nCodePoint < nWanted; });
    return static_cast<unsigned int>(pPlace - m_notes.begin());
}

/** The character's note, a new one where there was none; null without memory. */
GlyphSource::Note* GlyphSource::GetNote(unsigned int nCodePoint) {
    unsigned int const nNote = FindNote(nCodePoint);
    bool const fThere = nNote < m_notes.GetCount() && m_notes[nNote].m_nCodePoint == nCodePoint;
    bool const fMade = fThere || m_notes.Insert(nNote, Note{nCodePoint, false, false, false});
    return fMade ? &m_notes[nNote] : nullptr;
}

} // namespace trevik::kelvo
