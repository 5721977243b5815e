#pragma once

namespace trevik::kelvo {

/** What a character does in a line of text. */
enum class CharacterClass : unsigned char {
    Letter,       ///< shows and forms words: everything that is nothing below
    Space,        ///< parts words, has no width at the end of a line
    NoBreakSpace, ///< a space within a word
    Tab,          ///< moves the pen to a tab stop, otherwise like a space
    LineEnd,      ///< line feed, line separator and paragraph separator
    BreakMark,    ///< shows nothing, and the line may end after it: the zero-width space
    Joiner,       ///< shows nothing, and the line may not end beside it
    Ignored,      ///< shows nothing and is of no account: control characters and invisible marks
    Hyphen,       ///< hyphens and dashes
    Ideograph,    ///< a word by itself: Chinese characters, kana and their like
    Opening,      ///< brackets and quotes that stay with the ideograph after them
    Closing       ///< the same, full stops and the like that stay with the ideograph before them
};

/** GetCharacterClass for the code points that it does not know at once. */
CharacterClass FindCharacterClass(unsigned int nCodePoint);

inline CharacterClass GetCharacterClass(unsigned int nCodePoint) {
    // Most characters of most texts are told here, without a search.
    bool const fLetter = (nCodePoint > ' ' && nCodePoint < 0x7f && nCodePoint != '-') ||
                         (nCodePoint > 0xad && nCodePoint < 0x34f);
    return fLetter ? CharacterClass::Letter : FindCharacterClass(nCodePoint);
}

/** Whether the character has a glyph that a line has to have room for. */
inline bool IsVisible(CharacterClass characterClass) {
    return characterClass == CharacterClass::Letter || characterClass == CharacterClass::NoBreakSpace ||
           characterClass >= CharacterClass::Hyphen;
}

/** Goes over the characters of a text and tells where lines may end. */
class LineBreaker {
public:
    /** Takes the next character; returns whether a line may end before it. */
    bool Next(CharacterClass next) {
        if (next == CharacterClass::Letter && m_last == CharacterClass::Letter) { // within a word, as mostly
            m_fLeading = false;
            return false;
        }
        return TakeNext(next);
    }

private:
    bool TakeNext(CharacterClass next);
    bool IsBreakBefore(CharacterClass next) const;

    CharacterClass m_last = CharacterClass::LineEnd;
    bool m_fLeading = false; ///< the last character is one of the hyphens that a word begins with
};

} // namespace trevik::kelvo
